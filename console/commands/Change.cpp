// locate, attach, detach, online and offline: what is done to a card and can be undone.
#include <fmt/format.h>

#include <algorithm>
#include <optional>

#include "console/base/Deadline.h"
#include "console/base/Duration.h"
#include "console/base/StopSignals.h"
#include "console/change/OperationRunner.h"
#include "console/commands/All.h"
#include "hostkit/Texts.h"

namespace Console {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

CommandResult RunVerb(Context& context, std::uint32_t number) {
  const OperationRow& row = *FindOperation(number);
  TimeoutOf(context.m_Options);
  const Model model = context.Objects();
  const Object& object = SelectFor(model, context.m_Arguments[0], row);
  return ChangeResult(context, object, number, PerformOperation(context, model, object, row, true));
}

void RequireLocateLed(const Object& adapter) {
  if (adapter.Lists(PI::OP_LOCATE_DEVICE)) return;
  throw Failure(ExitCode::Refused, "NO_LIGHT", fmt::format("locating {}", adapter.m_Selector),
                "it has no light that can be switched", {"Nothing was changed."});
}

bool ParseOn(const std::string& text) {
  if (text == "on" || text == "off") return text == "on";
  throw UsageFailure(fmt::format("'{}' is neither on nor off", text),
                     {"For example: corvane-host locate a0 on --for 5m"});
}

// Waits with the light on, and switches it off whichever way the wait ends.
CommandResult Blink(Context& context, const Model& model, const Object& adapter,
                    milliseconds duration) {
  context.m_Diagnostics.Note("LIGHT_ON",
                             fmt::format("the light of {} is on for {}; Ctrl-C ends it sooner",
                                         adapter.m_Selector, ElapsedText(duration)));
  const auto start = steady_clock::now();
  const Deadline deadline(start + duration);
  while (!StopRequested() && !deadline.IsOver()) WaitForStop(deadline.Left());
  const OperationRow& off = *FindOperation(PI::OP_STOP_LOCATE_DEVICE);
  Change change = PerformOperation(context, model, adapter, off, true);
  if (StopRequested()) {
    context.m_Diagnostics.Note("LIGHT_OFF",
                               fmt::format("the light of {} is off", adapter.m_Selector));
  }
  CheckStop();
  change.m_Elapsed = std::chrono::duration_cast<milliseconds>(steady_clock::now() - start);
  return ChangeResult(context, adapter, off.m_Number, change);
}

}  // namespace

CommandResult RunLocate(Context& context) {
  const Options& options = context.m_Options;
  const bool on = ParseOn(context.m_Arguments[1]);
  std::optional<milliseconds> duration;
  if (!options.m_For.empty()) duration = ParseDuration("--for", options.m_For);
  if (duration && !on) throw UsageFailure("--for goes with on alone");
  const OperationRow& row = *FindOperation(on ? PI::OP_LOCATE_DEVICE : PI::OP_STOP_LOCATE_DEVICE);
  const Model model = context.Objects();
  const Object& adapter = SelectFor(model, context.m_Arguments[0], row);
  RequireLocateLed(adapter);
  const Change change = PerformOperation(context, model, adapter, row, true);
  if (on && !options.m_DryRun) {
    if (duration) return Blink(context, model, adapter, *duration);
    context.m_Diagnostics.Note(
        "LIGHT_STAYS_ON",
        "the light stays on only until a plug-in starts again, which every run of "
        "this program does",
        {fmt::format("To keep it on: corvane-host locate {} on --for 5m", adapter.m_Selector)});
  }
  return ChangeResult(context, adapter, row.m_Number, change);
}

CommandResult RunAttach(Context& context) {
  return RunVerb(context, PI::OP_ATTACH);
}

CommandResult RunDetach(Context& context) {
  return RunVerb(context, context.m_Options.m_Force ? PI::OP_FORCE_DETACH : PI::OP_DETACH);
}

CommandResult RunOnline(Context& context) {
  return RunVerb(context, PI::OP_MAKE_ONLINE);
}

CommandResult RunOffline(Context& context) {
  return RunVerb(context, PI::OP_MAKE_OFFLINE);
}

}  // namespace Console
