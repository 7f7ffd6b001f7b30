#include "console/cli/CommandTimeLimits.h"

#include <algorithm>

#include "console/base/Duration.h"

namespace Console {
namespace {

using std::chrono::milliseconds;

// Shorter than one minute, after which most callers of this program give up.
constexpr milliseconds kDefault = std::chrono::seconds(30);

// Short, because the user is waiting at the shell prompt.
constexpr milliseconds kCompletion = std::chrono::seconds(5);

// Minimum time limit for each call of a command that waits for a card, so that it can start the
// plug-in even with --timeout 0s.
constexpr milliseconds kStart = std::chrono::seconds(10);

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
  limits.m_Call = given.value_or(defaultLimit);
  if (waits)
    limits.m_Call = std::clamp(*limits.m_Call, std::min(kStart, defaultLimit), defaultLimit);
  if (ReadsOnce(command, options)) limits.m_Total = Deadline(limits.m_Call);
  if (!waits) limits.m_Format = given;
  return limits;
}

}  // namespace Console
