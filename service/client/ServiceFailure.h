// Failures in the communication with the service.
#pragma once

#include <filesystem>
#include <string>

#include "console/base/Failure.h"
#include "service/client/HttpClient.h"

namespace Service {

// The message id of `CannotConnectFailure`.
constexpr const char* kNoService = "NO_SERVICE";

// No service listens on the socket, or the user is not allowed to connect. Probes the socket again
// to determine the reason.
Console::Failure CannotConnectFailure(const std::filesystem::path& socket);
// The service closed the connection, or stopped accepting connections. `mayHaveChanged`: a change
// was sent.
Console::Failure ServiceEndedFailure(const std::filesystem::path& socket, bool mayHaveChanged);
// Returns `failure`, which means that the service has stopped, with advice about the change that is
// in progress.
Console::Failure StoppedFailure(const Console::Failure& failure);
// The service did not reply in time.
Console::Failure ServiceTimeoutFailure(const std::filesystem::path& socket, bool mayHaveChanged);
// The reply is not in the form that this client expects.
Console::Failure InvalidReplyFailure(const std::filesystem::path& socket, const std::string& why);

// Returns the id of the problem document in a reply, or empty if the reply is not one.
std::string ProblemId(const HttpReply& reply);

// Converts a reply with a status other than 200 to a failure with the id of its problem document.
// Returns an `InvalidReplyFailure` if the reply is not a problem document. Likewise if its status
// means that the request itself was invalid: a service of the same version accepts all requests of
// this client.
Console::Failure ProblemFailure(const HttpReply& reply, const std::filesystem::path& socket);

}  // namespace Service
