#include "console/cli/CommandTimeLimits.h"

#include "console/base/Duration.h"

namespace Console {
namespace {

using std::chrono::milliseconds;

// Below the minute after which most programs that call this one give up by themselves.
constexpr milliseconds kUsual = std::chrono::seconds(30);

// Somebody waits for it in the middle of a line.
constexpr milliseconds kCompletion = std::chrono::seconds(5);

// Whether it reads once and ends.
bool IsOneReading(const Command& command, const Options& options) {
  return command.m_TimeoutScope == TimeoutScope::Reading && !options.m_Follow &&
         options.m_For.empty();
}

}  // namespace

TimeLimits LimitsOf(const Command& command, const Options& options) {
  std::optional<milliseconds> told;
  if (!options.m_Timeout.empty()) told = ParseDuration("--timeout", options.m_Timeout);
  TimeLimits limits;
  const milliseconds usual = command.m_Group == Group::Hidden ? kCompletion : kUsual;
  const bool waits = command.m_TimeoutScope == TimeoutScope::Wait;
  limits.m_Call = waits ? usual : told.value_or(usual);
  if (IsOneReading(command, options)) limits.m_Total = Deadline(limits.m_Call);
  if (!waits) limits.m_Format = told;
  return limits;
}

}  // namespace Console
