#include "service/client/ServiceFailure.h"

#include <fmt/format.h>

#include <cerrno>
#include <cstring>
#include <nlohmann/json.hpp>
#include <utility>
#include <vector>

#include "base/Printable.h"
#include "base/SocketAddress.h"
#include "service/client/StatusTable.h"

namespace Service {
namespace {

using Console::ExitCode;
using Console::Failure;
using Json = nlohmann::json;
using Lines = std::vector<std::string>;

constexpr const char* kDirectAdvice =
    "Pass --direct to load the plug-in into this process instead.";
constexpr const char* kRestartAdvice =
    "If the service is being restarted, wait a moment and run the command again.";
constexpr const char* kMayHaveChanged = "The command may still take effect; check with show.";

std::string ServiceName(const std::filesystem::path& socket) {
  return fmt::format("the service at {}", socket.string());
}

// A card completes a change even if the service stops.
Lines ContinuationAdvice() {
  return {"The card continues a change that it has started, and nothing is rolled back.",
          "Check the result when the service is running again: corvane-host list"};
}

Lines AdviceFor(bool mayHaveChanged, const char* fallback) {
  return {mayHaveChanged ? kMayHaveChanged : fallback};
}

std::string TextOf(const Json& problem, const char* name) {
  const auto found = problem.find(name);
  return found != problem.end() && found->is_string() ? found->get<std::string>() : std::string();
}

}  // namespace

Failure CannotConnectFailure(const std::filesystem::path& socket) {
  // libcurl does not report why it could not connect. The probe succeeds if the service has started
  // since then.
  int error = Base::ProbeSocket(socket.string());
  if (error == 0) error = ECONNREFUSED;
  const bool denied = error == EACCES || error == EPERM;
  return Failure(denied ? ExitCode::Permission : ExitCode::Failed, kNoService,
                 fmt::format("cannot connect to {}", ServiceName(socket)), std::strerror(error),
                 {denied ? "Add the user to the group corvane, or run the command as root."
                         : "Start the service: corvane-host serve",
                  kDirectAdvice});
}

Failure ServiceEndedFailure(const std::filesystem::path& socket, bool mayHaveChanged) {
  return Failure(ExitCode::Failed, "SERVICE_ENDED",
                 fmt::format("{} closed the connection", ServiceName(socket)),
                 mayHaveChanged ? ContinuationAdvice() : Lines{kRestartAdvice});
}

Failure ServiceTimeoutFailure(const std::filesystem::path& socket, bool mayHaveChanged) {
  return Failure(
      ExitCode::TimedOut, "TIMED_OUT", fmt::format("{} is not responding", ServiceName(socket)),
      AdviceFor(mayHaveChanged, "If the service is only slow, pass a longer --timeout."));
}

Failure InvalidReplyFailure(const std::filesystem::path& socket, const std::string& why) {
  return Failure(
      ExitCode::Failed, "SERVICE_REPLY_INVALID",
      fmt::format("{} sent an unusable reply", ServiceName(socket)), Base::Printable(why),
      {"The socket may belong to another program or to a different version; restart the service.",
       kDirectAdvice});
}

std::string ProblemId(const HttpReply& reply) {
  if (reply.m_Status < 400) return {};
  const Json problem = Json::parse(reply.m_Body, nullptr, false);
  return problem.is_object() ? TextOf(problem, "id") : std::string();
}

Failure StoppedFailure(const Failure& failure) {
  return Failure(failure.m_Code, failure.m_Id, failure.m_Text, ContinuationAdvice());
}

Failure ProblemFailure(const HttpReply& reply, const std::filesystem::path& socket) {
  const std::string id = ProblemId(reply);
  const auto code = ExitCodeOf(reply.m_Status, id);
  if (id.empty() || !code)
    return InvalidReplyFailure(socket, fmt::format("status {}", reply.m_Status));
  const Json problem = Json::parse(reply.m_Body);
  const std::string hint = TextOf(problem, "hint");
  return Failure(*code, id, Base::Printable(TextOf(problem, "detail")),
                 hint.empty() ? Lines() : Lines{Base::Printable(hint)});
}

}  // namespace Service
