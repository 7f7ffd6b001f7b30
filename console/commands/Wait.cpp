// wait: wait until an object meets a condition.
#include <fmt/format.h>

#include <chrono>
#include <optional>

#include "base/Printable.h"
#include "console/base/Deadline.h"
#include "console/base/Duration.h"
#include "console/base/StopSignals.h"
#include "console/cli/CommandTable.h"
#include "console/model/Condition.h"
#include "console/model/EffectiveState.h"
#include "console/model/Selectors.h"
#include "console/model/StaleValues.h"
#include "console/render/CommandResult.h"
#include "console/report/CommandContext.h"
#include "console/watch/LiveModel.h"

namespace Console {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

// The object that a name referred to when it was first found. Afterwards it is found by id or
// serial number, because the name of a card without a serial number can change, and a card that is
// inserted again has a new id.
class ObjectRef {
 public:
  explicit ObjectRef(std::string name) : m_Name(std::move(name)) {}

  // Returns the object, or null if it is no longer present. Throws `Failure` if no object has had
  // the name so far: a wait for a mistyped name would otherwise end at once or never.
  const Object* Find(const Model& model) {
    if (!m_Id) {
      const Object& found = Select(model, m_Name);
      m_Id = found.m_ID;
      m_Selector = found.m_Selector;
      m_Serial = FieldText(found, "serial_number");
      return &found;
    }
    const Object* same = model.Find(*m_Id);
    return same != nullptr || m_Serial.empty() ? same : FindObject(model, m_Serial);
  }

  // Returns the selector of the object when it was first found, or else the given name.
  const std::string& Label() const { return m_Selector.empty() ? m_Name : m_Selector; }

 private:
  const std::string m_Name;
  std::optional<std::uint64_t> m_Id;
  std::string m_Selector;
  std::string m_Serial;
};

// A card that is no longer in this machine is still in the model, as missing.
bool IsPresent(const Object* object) {
  return object != nullptr && object->m_Access != Access::Missing;
}

Condition::Outcome Evaluate(const Model& model, ObjectRef& ref, const Condition& condition,
                            bool ascii) {
  const Object* object = ref.Find(model);
  const bool isPresent = IsPresent(object);
  const char* presence = isPresent ? "present" : "gone";
  const char* meaning = object != nullptr && !isPresent ? kMissing : presence;
  if (condition.RequiredPresence() == Presence::Gone) return {!isPresent, presence, presence};
  if (condition.RequiredPresence() == Presence::Present) return {isPresent, presence, meaning};
  if (object == nullptr) return {false, presence, presence};
  const Condition::Outcome outcome = condition.Check(*object, ascii);
  if (!IsStale(model, *object, condition.Property())) return outcome;
  return {false, FieldText(*object, "status"), UnreadableText(*UnreadableCardOf(model, *object))};
}

std::string Seconds(milliseconds duration) {
  return fmt::format("{:.1f} s", static_cast<double>(duration.count()) / 1000);
}

Failure TimeoutFailure(const ObjectRef& ref, const Condition& condition, const std::string& seen,
                       milliseconds timeout) {
  return Failure(ExitCode::TimedOut, "TIMED_OUT",
                 fmt::format("wait {} {}", ref.Label(), condition.Text()),
                 fmt::format("timed out after {}, now {}", Seconds(timeout), seen));
}

CommandResult SuccessResult(const ObjectRef& ref, const Condition& condition,
                            const Condition::Outcome& outcome, milliseconds elapsed) {
  const std::string& seen = outcome.m_Seen;
  CommandResult result;
  result.m_Json = {{"object", ref.Label()},
                   {"condition", condition.Text()},
                   {"seen", seen},
                   {"elapsed_seconds", static_cast<double>(elapsed.count()) / 1000}};
  result.m_Text = Base::Printable(fmt::format("{} {}: {} after {}", ref.Label(), condition.Text(),
                                              outcome.m_Meaning, Seconds(elapsed))) +
                  "\n";
  result.m_Values = {seen};
  result.m_Table.m_Columns = {
      {"OBJECT", "object", false}, {"CONDITION", "condition", false}, {"SEEN", "seen", false}};
  result.m_Table.m_Rows = {
      {{TextCell(ref.Label()), TextCell(condition.Text()), TextCell(seen)}, std::nullopt}};
  return result;
}

// Waits for a change. On a stop signal, reports the last value seen. The wait does not end when the
// reader closes the output, because nothing is written until the wait is over.
void WaitForChange(Context& context, LiveModel& live, milliseconds timeout, const ObjectRef& ref,
                   const std::string& seen) {
  try {
    live.Wait(timeout, WaitSet());
  } catch (const Stopped&) {
    context.m_Diagnostics.Note("LAST_SEEN", fmt::format("{} was {}", ref.Label(), seen));
    throw;
  }
}

CommandResult Run(Context& context) {
  const Condition condition(context.m_Arguments[1]);
  const auto timeout = ParseDuration("--timeout", context.m_Options.m_Timeout);
  Session& session = context.OpenToFollow();
  const auto start = steady_clock::now();
  const Deadline deadline(timeout);
  session.SetDeadline(deadline);
  LiveModel live(session);
  ObjectRef ref(context.m_Arguments[0]);
  while (true) {
    const Condition::Outcome outcome =
        Evaluate(live.CurrentModel(), ref, condition, context.m_Style.m_Ascii);
    const auto elapsed = std::chrono::duration_cast<milliseconds>(steady_clock::now() - start);
    if (outcome.m_IsMet) return SuccessResult(ref, condition, outcome, elapsed);
    if (deadline.HasPassed()) throw TimeoutFailure(ref, condition, outcome.m_Meaning, *timeout);
    WaitForChange(context, live, deadline.Remaining(), ref, outcome.m_Meaning);
  }
}

}  // namespace

Command WaitCommand() {
  Command command;
  command.m_Group = Group::Inspect;
  command.m_Name = "wait";
  command.m_Arguments = "OBJ COND";
  command.m_MinArguments = 2;
  command.m_MaxArguments = 2;
  command.m_Summary = "wait until an object meets a condition, such as ok or PROP=VALUE";
  command.m_OutputFormats = {"table", "tsv", "json", "value"};
  command.m_TimeoutScope = TimeoutScope::Wait;
  command.m_NeedsPlugin = true;
  command.m_Run = Run;
  command.m_Description =
      "Returns as soon as the condition is met. --timeout limits the wait (default: no "
      "limit). Old values of a card that cannot be read do not meet a condition; unreadable and "
      "missing wait for such a card.";
  command.m_Exits = {{3, "no object with this name has been seen on this machine"},
                     {7, "the condition was not met within --timeout"}};
  command.m_Examples = {{"wait a1 ok --timeout 10m", "wait until a card is healthy again", true},
                        {"wait a0 'temperature_celsius<70'", "wait until a card has cooled down"}};
  return command;
}

}  // namespace Console
