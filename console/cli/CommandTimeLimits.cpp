#include "console/cli/CommandTimeLimits.h"

#include <algorithm>
#include <string>

#include "console/base/Duration.h"

namespace Console {
namespace {

using std::chrono::milliseconds;

// Below the minute after which most programs that call this one give up by themselves.
constexpr milliseconds kUsual = std::chrono::seconds(30);

// Somebody waits for it in the middle of a line.
constexpr milliseconds kCompletion = std::chrono::seconds(5);

// Their --timeout is for what they wait for, not for the calls that look for it.
constexpr const char* kWaiters[] = {"wait", "attach", "detach", "op"};

bool Waits(const std::string& command) {
  return std::find(std::begin(kWaiters), std::end(kWaiters), command) != std::end(kWaiters);
}

// Whether it reads once and ends.
bool IsOneReading(const Command& command, const Options& options) {
  if (command.m_Group == Group::Do || Waits(command.m_Name)) return false;
  return std::string(command.m_Name) != "watch" && !options.m_Follow && options.m_For.empty();
}

}  // namespace

TimeLimits LimitsOf(const Command& command, const Options& options) {
  std::optional<milliseconds> told;
  if (!options.m_Timeout.empty()) told = ParseDuration("--timeout", options.m_Timeout);
  TimeLimits limits;
  const milliseconds usual = command.m_Group == Group::None ? kCompletion : kUsual;
  limits.m_Call = Waits(command.m_Name) ? usual : told.value_or(usual);
  if (IsOneReading(command, options)) limits.m_Total = Deadline(limits.m_Call);
  if (!Waits(command.m_Name)) limits.m_Format = told;
  return limits;
}

}  // namespace Console
