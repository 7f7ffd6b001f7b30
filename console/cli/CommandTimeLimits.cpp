#include "console/cli/CommandTimeLimits.h"

#include "console/base/Duration.h"

namespace Console {
namespace {

using std::chrono::milliseconds;

// Shorter than one minute, after which most callers of this program give up.
constexpr milliseconds kDefault = std::chrono::seconds(30);

// Short, because the user is waiting at the shell prompt.
constexpr milliseconds kCompletion = std::chrono::seconds(5);

// Whether the command reads once and exits, so that the limit applies to the complete command.
bool ReadsOnce(const Command& command, const Options& options) {
  return command.m_TimeoutScope == TimeoutScope::Reading && !options.m_Follow &&
         options.m_For.empty();
}

}  // namespace

TimeLimits LimitsOf(const Command& command, const Options& options) {
  const auto given = ParseDuration("--timeout", options.m_Timeout);
  TimeLimits limits;
  const milliseconds defaultLimit = command.m_Group == Group::Hidden ? kCompletion : kDefault;
  const bool waits = command.m_TimeoutScope == TimeoutScope::Wait;
  limits.m_Call = waits ? defaultLimit : given.value_or(defaultLimit);
  if (ReadsOnce(command, options)) limits.m_Total = Deadline(limits.m_Call);
  if (!waits) limits.m_Format = given;
  return limits;
}

}  // namespace Console
