// Responses that many resources give.
#pragma once

#include <functional>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "console/base/Failure.h"
#include "service/api/ApiContext.h"

namespace Service {

inline constexpr const char* kJsonType = "application/json";

using Words = std::vector<std::string>;

// A document on one line. Bytes that are not UTF-8 are replaced.
template <class Json>
std::string JsonText(const Json& document) {
  return document.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n";
}

Http::Response MakeJson(unsigned status, const nlohmann::ordered_json& document);

// The response of `answer`, or a problem for what it throws: for `Console::Failure` with the status
// for its exit code.
Http::Response Answered(const std::function<Http::Response()>& answer);

// A 503 that says why there is no plug-in.
Http::Response MakeDownProblem(const PluginState& plugin);

// What a command of the console prints for the snapshot; a problem if it fails.
Http::Response DocumentOf(const ApiContext& api, const SnapshotPtr& snapshot, const Words& words,
                          const char* type = kJsonType);

// What a command of the console prints with a session that reads and changes the cards. For a
// thread that may wait. Throws as the command does.
std::string RunOnPlugin(const ApiContext& api, const Words& words);

// Sends what `answer` returns, from the thread that reads the database. A 503 if too many requests
// are waiting for it.
Http::Reply AnswerFromDatabase(const ApiContext& api, std::function<Http::Response()> answer);

// The console's name of the card with that serial number: "a0". Throws `Console::Failure` if no
// card has it, or nothing has been read yet.
std::string CardName(const Snapshot& snapshot, const std::string& serial);

// Reads the cards again. A problem if they cannot be read, or not in time. For a thread that may
// wait.
std::optional<Http::Response> Refresh(const ApiContext& api);

// Sends what `Answered` returns, from a thread that may wait. A 503 if too many calls are waiting.
Http::Reply AnswerLater(const ApiContext& api, std::function<Http::Response()> answer);

}  // namespace Service
