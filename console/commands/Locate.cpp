// locate: the locate LED of a card.
#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <boost/algorithm/string/predicate.hpp>
#include <boost/algorithm/string/replace.hpp>
#include <cctype>
#include <cstring>
#include <optional>

#include "console/base/Deadline.h"
#include "console/base/Duration.h"
#include "console/base/StopSignals.h"
#include "console/change/CardFailure.h"
#include "console/change/OperationRunner.h"
#include "console/cli/CommandTable.h"
#include "console/model/Selectors.h"
#include "console/plugin/UnreadableRecords.h"

namespace Console {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

void RequireLocateLed(const Object& adapter) {
  RequireReported(adapter, adapter.m_Selector);
  if (adapter.SupportsOperation(PI::OP_LOCATE_DEVICE)) return;
  throw Failure(ExitCode::Refused, "NO_LIGHT", fmt::format("locate {}", adapter.m_Selector),
                "no locate LED", {"Nothing was changed."});
}

bool IsOnOff(const std::string& text) {
  return boost::iequals(text, "on") || boost::iequals(text, "off");
}

// Parses the last argument. The advice corrects the order of the arguments.
bool ParseOnOff(const std::vector<std::string>& arguments) {
  const std::string& text = arguments.back();
  if (IsOnOff(text)) return boost::iequals(text, "on");
  std::string corrected = "a0 on --for 5m";
  if (IsOnOff(arguments.front())) {
    corrected = fmt::format("{} {}", fmt::join(arguments.begin() + 1, arguments.end(), " "),
                            arguments.front());
  }
  throw UsageFailure(fmt::format("'{}' is not on or off", text),
                     {fmt::format("For example: corvane-host locate {}", corrected)});
}

// Quotes a word for a shell if it needs quotes.
std::string ShellWord(const std::string& word) {
  const bool isPlain = std::all_of(word.begin(), word.end(), [](unsigned char c) {
    return std::isalnum(c) != 0 || c > 0x7F || std::strchr("_./:=,-", c) != nullptr;
  });
  if (isPlain) return word;
  return "'" + boost::replace_all_copy(word, "'", "'\\''") + "'";
}

// Returns the command that switches this LED on, with the options that select the plug-in and the
// duration, so that it can be pasted.
std::string CommandText(const Options& options, const Object& adapter) {
  const std::pair<const char*, const std::string&> values[] = {{"--for", options.m_For},
                                                               {"--socket", options.m_Socket},
                                                               {"--plugin", options.m_Plugin},
                                                               {"--database", options.m_Database}};
  std::string text = fmt::format("corvane-host locate {} on", adapter.m_Selector);
  for (const auto& [name, value] : values) {
    if (!value.empty()) text += fmt::format(" {} {}", name, ShellWord(value));
  }
  if (options.m_Given.count("--direct") > 0) text += " --direct";
  if (!options.m_Simulate) return text;
  const std::string& file = *options.m_Simulate;
  return text + " --simulate" + (file.empty() ? "" : "=" + ShellWord(file));
}

// Without a service, each command loads the plug-in, which switches all LEDs off when it starts.
constexpr const char* kOneCommandText =
    "every other corvane-host command switches it off, even list";

std::string ServiceAdvice(const Options& options) {
  return fmt::format(
      "To keep it on while you run other commands, start a service: corvane-host serve{}",
      options.m_Simulate ? " --simulate --socket ./corvane.sock" : "");
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

// An LED that is on for a limited time.
class TimedLed {
 public:
  TimedLed(Context& context, const Object& adapter) : m_Context(context), m_Adapter(adapter) {}

  // Throws `Failure` if another program has switched the LED off, or the card has been removed.
  void RequireOn() const {
    PI::COperation on;
    on.m_OperationID = PI::OP_LOCATE_DEVICE;
    Session& session = m_Context.Open();
    const std::uint32_t error = session.CheckOperation(m_Adapter.m_ID, on);
    if (error == PI::ERR_LOCATE_IN_PROGRESS) return;
    if (error == PI::SUCCESS) throw SwitchedOffFailure();
    if (IsRemoved(session, error)) throw RemovedFailure();
    throw CommandFailure(session, What(), error);
  }
  milliseconds Elapsed() const {
    return std::chrono::duration_cast<milliseconds>(steady_clock::now() - m_Start);
  }

 private:
  std::string What() const { return fmt::format("locate {}", m_Adapter.m_Selector); }

  // The plug-in drops a removed card only in its next scan. Until then, the card library does not
  // find the card.
  static bool IsRemoved(const Session& session, std::uint32_t error) {
    if (error == PI::ERR_INVALID_OBJECT_ID) return true;
    const std::optional<CardError> cause = session.LastCardError();
    return cause && CauseOf(*cause) == CardCause::NotFound;
  }

  Failure SwitchedOffFailure() const {
    std::vector<std::string> advice = {"Switch it on again: " +
                                       CommandText(m_Context.m_Options, m_Adapter)};
    if (!m_Context.Open().IsShared()) {
      advice.push_back(fmt::format("Without a service, {}.", kOneCommandText));
      advice.push_back(ServiceAdvice(m_Context.m_Options));
    }
    return Failure(
        ExitCode::Failed, "LIGHT_SWITCHED_OFF", What(),
        fmt::format("another program switched the LED off after {}", ElapsedText(Elapsed())),
        advice);
  }

  Failure RemovedFailure() const {
    return Failure(ExitCode::NoObject, "CARD_REMOVED", What(),
                   fmt::format("the card was removed after {}", ElapsedText(Elapsed())),
                   {"List the cards that are present: corvane-host list"});
  }

  Context& m_Context;
  const Object& m_Adapter;
  const steady_clock::time_point m_Start = steady_clock::now();
};

// Waits for `duration` with the LED on, then switches it off, also after a stop signal.
CommandResult SwitchOffAfter(Context& context, const Model& model, const Object& adapter,
                             milliseconds duration) {
  constexpr milliseconds kCheckInterval{500};
  std::vector<std::string> advice;
  if (!context.Open().IsShared()) {
    advice = {fmt::format("Without a service, {}.", kOneCommandText),
              ServiceAdvice(context.m_Options)};
  }
  context.m_Diagnostics.Note(
      "LIGHT_ON",
      fmt::format("locate LED of {} is on for {}; press Ctrl-C to switch it off now",
                  adapter.m_Selector, ElapsedText(duration)),
      advice);
  const TimedLed led(context, adapter);
  const Deadline deadline(steady_clock::now() + duration);
  try {
    while (!IsStopRequested() && !deadline.HasPassed()) {
      if (!WaitForStop(deadline.Remaining(kCheckInterval))) led.RequireOn();
    }
  } catch (const Stopped&) {
    // A stop signal has interrupted a read.
  }
  Change change = SwitchOff(context, model, adapter);
  change.m_Elapsed = led.Elapsed();
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

void NoteStaysOn(Context& context) {
  if (context.Open().IsShared()) return;
  context.m_Diagnostics.Note("LED_STAYS_ON", fmt::format("without a service, {}", kOneCommandText),
                             {ServiceAdvice(context.m_Options)});
}

// Switches one LED on or off.
CommandResult Switch(Context& context, const Model& model, const Object& adapter, bool on,
                     const std::optional<milliseconds>& duration) {
  const OperationRow& row = *FindOperation(on ? PI::OP_LOCATE_DEVICE : PI::OP_STOP_LOCATE_DEVICE);
  RequireLocateLed(adapter);
  if (!on || context.m_Options.m_DryRun) {
    return ChangeResult(context, adapter, row.m_Number,
                        PerformOperation(context, model, adapter, row, true));
  }
  const Change change = SwitchOn(context, model, adapter, duration.has_value());
  if (duration) return SwitchOffAfter(context, model, adapter, *duration);
  NoteStaysOn(context);
  return ChangeResult(context, adapter, row.m_Number, change);
}

CommandResult Run(Context& context) {
  const Options& options = context.m_Options;
  const bool on = ParseOnOff(context.m_Arguments);
  const auto duration = ParseDuration("--for", options.m_For);
  if (duration && !on) throw UsageFailure("--for applies to locate on only");
  const Model model = context.Objects();
  const std::vector<std::string> names(context.m_Arguments.begin(), context.m_Arguments.end() - 1);
  RequireNoPosition(context.m_Arguments, context.m_Diagnostics);
  const ObjectSelection selection =
      SelectForOperation(model, names, *FindOperation(PI::OP_LOCATE_DEVICE));
  if (duration && selection.m_IsSeveral) {
    throw UsageFailure("--for applies to one object only",
                       {"Switch the LEDs on, and later off: corvane-host locate all off"});
  }
  return RunForEach(context, selection, [&](const Object& adapter) {
    return Switch(context, model, adapter, on, duration);
  });
}

}  // namespace

Command LocateCommand() {
  Command command;
  command.m_Group = Group::Change;
  command.m_Name = "locate";
  command.m_Arguments = "OBJ... on|off";
  command.m_MinArguments = 2;
  command.m_MaxArguments = kAnyNumber;
  command.m_Summary = "switch a card's locate LED on or off";
  command.m_OutputFormats = {"table", "tsv", "json"};
  command.m_Options = {"--for", "--dry-run"};
  command.m_TimeoutScope = TimeoutScope::Call;
  command.m_Run = Run;
  command.m_Description =
      "Switches the locate LEDs of cards. With --for, the LED is switched off after that time, and "
      "the command fails if the card is removed or another program switches the LED off before. "
      "OBJ may also be all, which selects all adapters.";
  command.m_Exits = {{1, "with --for, another program has switched the LED off"},
                     {3, "no such card, or it was removed during --for"},
                     {4, "the card has no locate LED"}};
  command.m_Examples = {
      {"locate a1 on --for 5m", "blink the locate LED to find a card in the machine", true},
      {"locate all off", "switch all locate LEDs off"}};
  return command;
}

}  // namespace Console
