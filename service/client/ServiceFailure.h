// Failures in the communication with the service.
#pragma once

#include <filesystem>
#include <string>

#include "console/base/Failure.h"
#include "service/client/HttpClient.h"

namespace Service {

// The message id of `NoServiceFailure`.
constexpr const char* kNoService = "NO_SERVICE";

// No service listens on the socket, or the user may not connect. Probes the socket again to
// determine the reason.
Console::Failure NoServiceFailure(const std::filesystem::path& socket);
// The service closed the connection, or stopped accepting connections. `mayHaveChanged`: a change
// was sent.
Console::Failure ServiceEndedFailure(const std::filesystem::path& socket, bool mayHaveChanged);
// The service did not reply in time.
Console::Failure ServiceTimeoutFailure(const std::filesystem::path& socket, bool mayHaveChanged);
// The reply is not one that this version of the service sends.
Console::Failure InvalidReplyFailure(const std::filesystem::path& socket, const std::string& why);

// Returns the id of the problem in a reply, or empty if the reply is not a problem.
std::string ProblemId(const HttpReply& reply);

// Converts a reply with a status other than 200 to a failure with the id of its problem document.
// Returns an `InvalidReplyFailure` if the reply is not a problem document, or if its status means
// that the request itself was invalid.
Console::Failure ProblemFailure(const HttpReply& reply, const std::filesystem::path& socket);

}  // namespace Service
