#include "console/change/OperationRunner.h"

#include <fmt/format.h>

#include <algorithm>
#include <boost/algorithm/string/case_conv.hpp>
#include <boost/algorithm/string/replace.hpp>
#include <cctype>

#include "base/Printable.h"
#include "console/base/Duration.h"
#include "console/base/StopSignals.h"
#include "console/change/CardFailure.h"
#include "console/change/Confirmation.h"
#include "console/change/Progress.h"
#include "console/model/Selectors.h"
#include "console/model/StaleValues.h"
#include "console/plugin/UnreadableRecords.h"
#include "console/report/SeveralObjects.h"
#include "hostkit/Texts.h"

namespace Console {
namespace {

using std::chrono::milliseconds;

PI::COperation ToOperation(const OperationRow& row) {
  PI::COperation operation;
  operation.m_OperationID = row.m_Number;
  operation.m_NameID = row.m_Number;
  return operation;
}

// Returns false if `allowNoOp` and the object is already in the target state. The reported state of
// a card that cannot be read is an old one, so it is neither an error's cause nor a success.
bool RequireAllowed(Session& session, const Model& model, const Object& object,
                    const OperationRow& row, bool allowNoOp) {
  PI::COperation operation = ToOperation(row);
  const std::uint32_t error = session.CheckOperation(object.m_ID, operation);
  if (error != PI::SUCCESS) {
    const Object* const unreadable = UnreadableCardOf(model, object);
    if (unreadable != nullptr) throw UnreadableFailure(ActionText(row, object), *unreadable);
    if (error == PI::ERR_ADAPTER_BUSY)
      throw OtherCardFailure(session, model, ActionText(row, object));
    const std::string state = StateOf(session, object.m_ID, row.m_Aspect);
    if (allowNoOp && state == row.m_Goal) return false;
    throw CheckFailure(session, ActionText(row, object), &row, state, error);
  }
  if (row.m_MakesUnavailable) RequireNotInUse(model, object, ActionText(row, object));
  return true;
}

std::string Question(const Model& model, const Object& object, const OperationRow& row) {
  const std::string force = row.m_Number == PI::OP_FORCE_DETACH ? "Forced: " : "";
  return fmt::format("{}\n{}{}", Base::Printable(DescribeObject(model, object)), force,
                     HostKit::HostText(row.m_Question));
}

// Whether the event for a failed job has arrived. All pending events are moved to the event log.
bool HasFailed(Session& session, const Object& object, std::uint32_t event) {
  const std::vector<LoggedEvent> events = session.CollectEvents();
  return std::any_of(events.begin(), events.end(), [&](const LoggedEvent& each) {
    return each.m_EventID == event && each.m_ObjectID == object.m_ID;
  });
}

// Returns the advice for a card that is in use, or may be.
std::vector<std::string> ForceAdvice(const OperationRow& row, const Object& object) {
  if (row.m_Number != PI::OP_DETACH) return {};
  return {fmt::format("To detach a busy card: corvane-host detach {} --force", object.m_Selector)};
}

// Returns the card library's error for a failed job, or empty. The reply to a check contains it.
std::optional<CardError> JobErrorOf(Session& session, const OperationRow& row,
                                    const Object& object) {
  PI::COperation operation = ToOperation(row);
  session.CheckOperation(object.m_ID, operation);
  return session.LastCardError();
}

Failure JobFailure(Session& session, const OperationRow& row, const Object& object) {
  const std::string id = HostKit::NameOf(HostKit::Family::Event, row.m_FailedEvent);
  const std::string what = ActionText(row, object);
  const std::optional<CardError> error = JobErrorOf(session, row, object);
  const bool mayBeInUse = !error || CauseOf(*error) == CardCause::InUse;
  std::vector<std::string> advice;
  if (mayBeInUse) advice = ForceAdvice(row, object);
  if (error) return CardFailure(id, what, *error, advice);
  advice.insert(advice.begin(),
                "Run the command again with --trace 2,16 to see the card library's message.");
  return Failure(ExitCode::Failed, id, what, "the card rejected the command", advice);
}

// The plug-in reports success even if it could not start a thread for the job.
Failure NoThreadFailure(const OperationRow& row, const Object& object) {
  return Failure(ExitCode::Failed, "NO_THREAD", ActionText(row, object),
                 "the plug-in could not start a thread",
                 {"Allow this user more processes and threads (ulimit -u), or free memory.",
                  "Nothing was changed."});
}

Failure TimeoutFailure(const OperationRow& row, const Object& object, milliseconds timeout) {
  const double seconds = static_cast<double>(timeout.count()) / 1000;
  return Failure(ExitCode::TimedOut, "TIMED_OUT", ActionText(row, object),
                 fmt::format("not {} within {} s", row.m_Goal, seconds),
                 {"The card may still be working; nothing was rolled back.",
                  fmt::format("Check its state: corvane-host show {}", object.m_Selector)});
}

// Returns the state as the member that the operation changes; an operation that this host does not
// know changes no known member.
Json StateJson(const OperationRow* row, const std::string& state) {
  if (row == nullptr) return Json::object();
  const std::string name = boost::replace_all_copy(boost::to_upper_copy(state), " ", "_");
  return {{AspectName(row->m_Aspect), state.empty() ? Json() : Json(name)}};
}

std::string StateText(const std::string& state) {
  return state.empty() ? "unknown" : state;
}

std::string ChangeText(const std::string& subject, const Change& change, bool dryRun) {
  std::string text =
      fmt::format("{}: {} -> {}", subject, StateText(change.m_Before), StateText(change.m_After));
  if (change.m_Before == change.m_After) {
    text = fmt::format("{}: already {}", subject, StateText(change.m_After));
  }
  if (change.m_Elapsed >= std::chrono::seconds(1)) text += ", in " + ElapsedText(change.m_Elapsed);
  return text + (dryRun ? "\nNothing was changed.\n" : "\n");
}

Table ChangeTable(const Object& object, const std::string& operation, const Change& change) {
  Table table;
  table.m_Columns = {{"OBJECT", "object", false},
                     {"OPERATION", "operation", false},
                     {"BEFORE", "before", false},
                     {"AFTER", "after", false}};
  const auto cell = [](const std::string& state) { return TextCell(state.empty() ? "-" : state); };
  table.m_Rows = {{{TextCell(object.m_Selector), TextCell(operation), cell(change.m_Before),
                    cell(change.m_After)},
                   std::nullopt}};
  return table;
}

enum class JobEnd { Done, Failed, TimedOut, Stopped };

// The plug-in does not report the end of a job: the new state is visible after its next poll of the
// card, and only a failure has an event.
JobEnd WatchJob(Context& context, const Object& object, const OperationRow& row,
                milliseconds timeout) {
  constexpr milliseconds kCheckInterval{250};
  Session& session = context.Open();
  Progress progress(context, Headline(row, object),
                    {{"object", object.m_Selector}, {"operation", OperationName(row.m_Number)}});
  try {
    while (!IsStopRequested()) {
      if (HasFailed(session, object, row.m_FailedEvent)) return JobEnd::Failed;
      if (StateOf(session, object.m_ID, row.m_Aspect) == row.m_Goal) return JobEnd::Done;
      const milliseconds left = timeout - progress.Elapsed();
      if (left <= milliseconds(0)) return JobEnd::TimedOut;
      session.WaitForNotification(std::min(left + milliseconds(1), kCheckInterval));
      progress.Tick();
    }
  } catch (const Stopped&) {
    // A stop signal has interrupted a read.
  }
  return JobEnd::Stopped;
}

// Notes that the job continues. Unless the plug-in is shared, the program waits for the job, up to
// a limit, before it exits.
void NoteContinues(Context& context, const OperationRow& row, const Object& object,
                   const char* sooner) {
  std::vector<std::string> advice;
  if (!context.Open().IsShared()) {
    advice.push_back(
        fmt::format("The program exits when the card is done, after at most 25 s{}.", sooner));
  }
  context.m_Diagnostics.Note(
      "JOB_GOES_ON",
      fmt::format("{} is in progress and will not be rolled back", ActionText(row, object)),
      advice);
}

void AwaitJob(Context& context, const Object& object, const OperationRow& row,
              milliseconds timeout) {
  switch (WatchJob(context, object, row, timeout)) {
    case JobEnd::Done:
      return;
    case JobEnd::Failed:
      throw JobFailure(context.Open(), row, object);
    case JobEnd::TimedOut:
      NoteContinues(context, row, object, ", or immediately on Ctrl-C");
      throw TimeoutFailure(row, object, timeout);
    case JobEnd::Stopped:
      NoteContinues(context, row, object, ", or immediately on a second Ctrl-C");
      throw Stopped();
  }
}

}  // namespace

std::string ActionText(const OperationRow& row, const Object& object) {
  return fmt::format("{} {}", row.m_Verb, object.m_Selector);
}

std::string Headline(const OperationRow& row, const Object& object) {
  const char* how = row.m_Number == PI::OP_FORCE_DETACH ? " by force" : "";
  std::string text = fmt::format("{} {}{}", row.m_Doing, object.m_Selector, how);
  text[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(text[0])));
  return text;
}

const Object& SelectForOperation(const Model& model, const std::string& selector,
                                 const OperationRow& row) {
  const Object& object = RequireReported(SelectKind(model, selector, row.m_Kind), selector);
  if (object.m_Kind == row.m_Kind) return object;
  const Object* const adapter = AdapterOf(model, object);
  const bool meansAdapter = row.m_Kind == Kind::Adapter && row.m_Risk == Risk::Low;
  if (meansAdapter && adapter != nullptr) return *adapter;
  std::vector<std::string> advice;
  for (const Object& other : model.Objects()) {
    const bool above = AdapterOf(model, object) == &other;
    const bool below = AdapterOf(model, other) == &object && &object != &other;
    if (other.m_Kind == row.m_Kind && (above || below)) {
      advice.push_back(fmt::format("Did you mean '{}'?", other.m_Selector));
    }
  }
  advice.emplace_back("Nothing was changed.");
  throw Failure(ExitCode::Usage, "WRONG_KIND", ActionText(row, object),
                fmt::format("{} is not {} {}", object.m_Selector,
                            row.m_Kind == Kind::Adapter ? "an" : "a", KindName(row.m_Kind)),
                advice);
}

ObjectSelection SelectForOperation(const Model& model, const std::vector<std::string>& names,
                                   const OperationRow& row) {
  return SelectSeveral(model, names, row.m_Kind, [&](const std::string& name) -> const Object& {
    return SelectForOperation(model, name, row);
  });
}

milliseconds TimeoutOf(const Options& options) {
  constexpr milliseconds kDefault = std::chrono::minutes(2);
  return ParseDuration("--timeout", options.m_Timeout).value_or(kDefault);
}

// Repeats the check after a prompt, because the state may have changed before the user answered.
Change PerformOperation(Context& context, const Model& model, const Object& object,
                        const OperationRow& row, bool allowNoOp) {
  const milliseconds timeout = TimeoutOf(context.m_Options);
  Session& session = context.Open();
  Change change;
  change.m_Before = StateOf(session, object.m_ID, row.m_Aspect);
  change.m_After = row.m_Goal;
  const std::string what = ActionText(row, object);
  const bool isConfirmed = HasConfirmed(context, what, ConfirmationText(model, object));
  if (!RequireAllowed(session, model, object, row, allowNoOp)) return change;
  if (context.m_Options.m_DryRun) return change;
  if (row.m_Risk != Risk::Low) {
    if (!isConfirmed) RequireConfirmation(context, what, Question(model, object, row));
    if (!RequireAllowed(session, model, object, row, allowNoOp)) return change;
  }
  PI::COperation operation = ToOperation(row);
  const auto start = std::chrono::steady_clock::now();
  const std::size_t failed = session.FailedThreads();
  const std::uint32_t result = session.ExecuteOperation(object.m_ID, operation);
  if (result != PI::SUCCESS) throw CommandFailure(session, what, result);
  if (session.FailedThreads() > failed) throw NoThreadFailure(row, object);
  if (row.m_FailedEvent != 0) {
    session.SetDeadline(Deadline(start + timeout));
    AwaitJob(context, object, row, timeout);
    change.m_Elapsed =
        std::chrono::duration_cast<milliseconds>(std::chrono::steady_clock::now() - start);
  }
  change.m_After = StateOf(session, object.m_ID, row.m_Aspect);
  return change;
}

CommandResult ChangeResult(const Context& context, const Object& object, std::uint32_t operation,
                           const Change& change) {
  const bool dryRun = context.m_Options.m_DryRun;
  const OperationRow* row = FindOperation(operation);
  const bool locateLed = row != nullptr && row->m_Aspect == Aspect::LocateLed;
  const double seconds = static_cast<double>(change.m_Elapsed.count()) / 1000;
  const bool differs = change.m_Before != change.m_After;
  CommandResult result;
  result.m_Changed = !dryRun && differs;
  result.m_Json = {{"object", object.m_Selector},
                   {"operation", OperationName(operation)},
                   {"number", operation},
                   {"before", StateJson(row, change.m_Before)},
                   {"after", StateJson(row, change.m_After)},
                   {"changed", *result.m_Changed},
                   {"dry_run", dryRun},
                   {"would_change", WouldChangeJson(dryRun, differs)},
                   {"elapsed_seconds", seconds}};
  result.m_Text = ChangeText(object.m_Selector + (locateLed ? " locate LED" : ""), change, dryRun);
  result.m_Table = ChangeTable(object, OperationName(operation), change);
  return result;
}

CommandResult RunOperationCommand(Context& context, std::uint32_t number) {
  const OperationRow& row = *FindOperation(number);
  TimeoutOf(context.m_Options);
  const Model model = context.Objects();
  RequireNoPosition(context.m_Arguments, context.m_Diagnostics);
  const ObjectSelection selection = SelectForOperation(model, context.m_Arguments, row);
  // Before the first change, because --confirm must name each card.
  for (const Object* object : selection.m_Objects) {
    HasConfirmed(context, ActionText(row, *object), ConfirmationText(model, *object));
  }
  return RunForEach(context, selection, [&](const Object& object) {
    return ChangeResult(context, object, number,
                        PerformOperation(context, model, object, row, true));
  });
}

}  // namespace Console
