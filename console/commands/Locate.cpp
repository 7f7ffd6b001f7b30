// locate: the locate LED of a card.
#include <fmt/format.h>

#include <algorithm>
#include <optional>

#include "console/base/Deadline.h"
#include "console/base/Duration.h"
#include "console/base/StopSignals.h"
#include "console/change/OperationRunner.h"
#include "console/cli/CommandTable.h"
#include "hostkit/Texts.h"

namespace Console {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

void RequireLocateLed(const Object& adapter) {
  if (adapter.SupportsOperation(PI::OP_LOCATE_DEVICE)) return;
  throw Failure(ExitCode::Refused, "NO_LIGHT", fmt::format("locate {}", adapter.m_Selector),
                "no locate LED", {"Nothing was changed."});
}

bool ParseOnOff(const std::string& text) {
  if (text == "on" || text == "off") return text == "on";
  throw UsageFailure(fmt::format("'{}' is not on or off", text),
                     {"For example: corvane-host locate a0 on --for 5m"});
}

// Switches the LED off, even after a stop signal, which would otherwise interrupt calls to a
// service.
Change SwitchOff(Context& context, const Model& model, const Object& adapter) {
  const bool isStopped = IsStopRequested();
  ClearStopRequest();
  const OperationRow& off = *FindOperation(PI::OP_STOP_LOCATE_DEVICE);
  const Change change = PerformOperation(context, model, adapter, off, true);
  if (!isStopped) return change;
  context.m_Diagnostics.Note("LIGHT_OFF",
                             fmt::format("locate LED of {} is off", adapter.m_Selector));
  throw Stopped();
}

// Waits for `duration` with the LED on, then switches it off, also after a stop signal.
CommandResult SwitchOffAfter(Context& context, const Model& model, const Object& adapter,
                             milliseconds duration) {
  context.m_Diagnostics.Note(
      "LIGHT_ON", fmt::format("locate LED of {} is on for {}; press Ctrl-C to switch it off now",
                              adapter.m_Selector, ElapsedText(duration)));
  const auto start = steady_clock::now();
  const Deadline deadline(start + duration);
  while (!IsStopRequested() && !deadline.HasPassed()) WaitForStop(deadline.Remaining());
  Change change = SwitchOff(context, model, adapter);
  change.m_Elapsed = std::chrono::duration_cast<milliseconds>(steady_clock::now() - start);
  return ChangeResult(context, adapter, PI::OP_STOP_LOCATE_DEVICE, change);
}

// Switches the LED on. With `isLimited`, a stop signal switches it off again.
Change SwitchOn(Context& context, const Model& model, const Object& adapter, bool isLimited) {
  const OperationRow& on = *FindOperation(PI::OP_LOCATE_DEVICE);
  try {
    return PerformOperation(context, model, adapter, on, true);
  } catch (const Stopped&) {
    if (isLimited) SwitchOff(context, model, adapter);
    throw;
  }
}

CommandResult Run(Context& context) {
  const Options& options = context.m_Options;
  const bool on = ParseOnOff(context.m_Arguments[1]);
  const auto duration = ParseDuration("--for", options.m_For);
  if (duration && !on) throw UsageFailure("--for applies to locate on only");
  const OperationRow& row = *FindOperation(on ? PI::OP_LOCATE_DEVICE : PI::OP_STOP_LOCATE_DEVICE);
  const Model model = context.Objects();
  const Object& adapter = SelectForOperation(model, context.m_Arguments[0], row);
  RequireLocateLed(adapter);
  const Change change = on ? SwitchOn(context, model, adapter, duration && !options.m_DryRun)
                           : PerformOperation(context, model, adapter, row, true);
  if (on && !options.m_DryRun) {
    if (duration) return SwitchOffAfter(context, model, adapter, *duration);
    if (context.Open().IsShared()) return ChangeResult(context, adapter, row.m_Number, change);
    context.m_Diagnostics.Note(
        "LIGHT_STAYS_ON",
        "every run of this program starts the plug-in, which switches the locate LED off",
        {fmt::format("To keep the LED on: corvane-host locate {} on --for 5m",
                     adapter.m_Selector)});
  }
  return ChangeResult(context, adapter, row.m_Number, change);
}

}  // namespace

Command LocateCommand() {
  Command command;
  command.m_Group = Group::Change;
  command.m_Name = "locate";
  command.m_Arguments = "OBJ on|off";
  command.m_MinArguments = 2;
  command.m_MaxArguments = 2;
  command.m_Summary = "switch a card's locate LED on or off";
  command.m_OutputFormats = {"table", "tsv", "json"};
  command.m_Options = {"--for", "--dry-run"};
  command.m_TimeoutScope = TimeoutScope::Call;
  command.m_Run = Run;
  command.m_Description =
      "Switches the locate LED of a card. With --for, the LED is switched off after that "
      "time.";
  command.m_Exits = {{4, "the card has no locate LED"}};
  command.m_Examples = {
      {"locate a1 on --for 5m", "blink the locate LED to find a card in the machine", true},
      {"locate a1 off", "switch the locate LED off"}};
  return command;
}

}  // namespace Console
