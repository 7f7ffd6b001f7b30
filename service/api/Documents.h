// Responses that many resources share.
#pragma once

#include <functional>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "console/base/Failure.h"
#include "service/api/ApiContext.h"

namespace Service {

inline constexpr const char* kJsonType = "application/json";

using Arguments = std::vector<std::string>;  // of a console command

// Returns a document on one line. Bytes that are not UTF-8 are replaced.
template <class Json>
std::string JsonText(const Json& document) {
  return document.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n";
}

Http::Response MakeJson(unsigned status, const nlohmann::ordered_json& document);

// Returns the response of `answer`, or a problem for the exception that it throws. For a
// `Console::Failure`, the exit code determines the status.
Http::Response ResponseOf(const std::function<Http::Response()>& answer);
// Likewise for a reply, which may be sent later.
Http::Reply ReplyOf(const std::function<Http::Reply()>& answer);

// Returns a 503 problem that states why the plug-in is not running.
Http::Response MakePluginDownProblem(const PluginState& plugin);

// Returns a 503 problem: too many requests are waiting for `what`.
Http::Response MakeBusyProblem(const char* what);

// Passes a responder to `queue`, which arranges for the response to be sent later. Returns
// `MakeBusyProblem(what)` if `queue` returns false.
using QueueResponder = std::function<bool(std::shared_ptr<Http::Responder>)>;
Http::Reply DeferReply(const QueueResponder& queue, const char* what);

// Like `DeferReply`, for a response that needs the database. If it is not ready within the
// context's `m_DatabaseTimeout`, the client gets a 504 problem with `hint`.
Http::Reply DeferToDatabase(const ApiContext& api, const QueueResponder& queue, const char* hint);

// Returns advice for a failure of this service's database.
std::vector<std::string> ServedDatabaseAdvice();

// Returns a 500 problem: the database cannot be used.
Http::Response MakeDatabaseProblem(const std::string& reason);

// Runs a console command on the snapshot instead of the plug-in, with the events of `events`, or of
// the database if it is null. Returns a response with the command's output, which has the content
// type `type`, or a problem if the command fails.
Http::Response RespondFromSnapshot(const ApiContext& api, const SnapshotPtr& snapshot,
                                   const Arguments& arguments, const char* type = kJsonType,
                                   Console::EventSource* events = nullptr);

// Runs a console command with a session that reads and changes the cards, and returns its output.
// Blocks. Throws what the command throws.
std::string RunPluginCommand(const ApiContext& api, const Arguments& arguments);

// Calls `answer` on the state thread, and sends its response. Returns a 503 if too many requests
// are waiting for that thread. `answer` is not called if the client has disconnected or the request
// has timed out.
Http::Reply AnswerFromDatabase(const ApiContext& api,
                               std::function<Http::Response(StateStore&)> answer);
Http::Reply AnswerFromDatabase(const ApiContext& api, std::function<Http::Response()> answer);

// Returns the console's name for the card with that serial number, such as "a0". Throws
// `Console::Failure` if the card is unknown or nothing has been read yet.
std::string CardName(const Snapshot& snapshot, const std::string& serial);

// Likewise for a drive of the card, such as "a0/d0". `drive` is its number. Throws `Failure` if the
// card has no such drive; nothing is known about the drives of a card that the plug-in does not
// report.
std::string DriveName(const Snapshot& snapshot, const std::string& serial,
                      const std::string& drive);

// Blocks until the cards have been read again. Returns a problem if this fails or takes too long.
std::optional<Http::Response> Refresh(const ApiContext& api);

// Calls `answer` on a thread that may block, and sends what `ResponseOf` returns. Returns a 503 if
// too many calls are waiting.
Http::Reply AnswerLater(const ApiContext& api, std::function<Http::Response()> answer);

}  // namespace Service
