// What goes wrong between the console and the service, as failures of the console.
#pragma once

#include <filesystem>
#include <string>

#include "console/base/Failure.h"
#include "service/client/HttpClient.h"

namespace Service {

// The ids that callers compare.
constexpr const char* kNoService = "NO_SERVICE";

// Nothing listens at the socket, or the user may not connect; errno says which.
Console::Failure NoServiceFailure(const std::filesystem::path& socket);
// It answered before, or has closed the connection. `mayHaveChanged`: a change was sent.
Console::Failure ServiceEndedFailure(const std::filesystem::path& socket, bool mayHaveChanged);
// It has not answered in time.
Console::Failure ServiceTimeoutFailure(const std::filesystem::path& socket, bool mayHaveChanged);
// It answers, but not as the service of this version does.
Console::Failure AnswerFailure(const std::filesystem::path& socket, const std::string& why);

// The failure that a reply other than 200 describes: a problem document, with its id.
Console::Failure ProblemFailure(const HttpReply& reply, const std::filesystem::path& socket);

}  // namespace Service
