// wait: until an object is in a state.
#include <fmt/format.h>

#include <chrono>
#include <optional>

#include "console/base/Deadline.h"
#include "console/base/Duration.h"
#include "console/base/Printable.h"
#include "console/base/StopSignals.h"
#include "console/commands/All.h"
#include "console/model/Condition.h"
#include "console/model/Selectors.h"
#include "console/render/CommandResult.h"
#include "console/report/CommandContext.h"
#include "console/watch/LiveModel.h"

namespace Console {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

// The object that a name meant at the start: the names of places, such as a1, move up when a card
// goes, and a card that returns has a new id.
class Meant {
 public:
  explicit Meant(std::string name) : m_Name(std::move(name)) {}

  // Throws `Failure` while nothing has been meant yet and `required`; gives null without.
  const Object* Find(const Model& model, bool required) {
    if (!m_Id) {
      const Object* found = required ? &Select(model, m_Name) : FindObject(model, m_Name);
      if (found == nullptr) return nullptr;
      m_Id = found->m_ID;
      m_Selector = found->m_Selector;
      m_Serial = TermText(*found, "serial_number");
      return found;
    }
    const Object* same = model.Find(*m_Id);
    return same != nullptr || m_Serial.empty() ? same : FindObject(model, m_Serial);
  }

  // The selector at the start, or the name given.
  const std::string& Shown() const { return m_Selector.empty() ? m_Name : m_Selector; }

 private:
  const std::string m_Name;
  std::optional<std::uint64_t> m_Id;
  std::string m_Selector;
  std::string m_Serial;
};

Condition::Outcome Look(const Model& model, Meant& meant, const Condition& condition) {
  const Object* object = meant.Find(model, condition.Wants() == Presence::Required);
  const char* presence = object == nullptr ? "gone" : "present";
  if (condition.Wants() == Presence::Gone) return {object == nullptr, presence};
  if (condition.Wants() == Presence::Present) return {object != nullptr, presence};
  if (object == nullptr) return {false, presence};
  return condition.Check(*object);
}

std::string Seconds(milliseconds span) {
  return fmt::format("{:.1f} s", static_cast<double>(span.count()) / 1000);
}

Failure TooLate(const Meant& meant, const Condition& condition, const std::string& seen,
                milliseconds timeout) {
  return Failure(ExitCode::TimedOut, "TIMED_OUT",
                 fmt::format("waiting for {} {}", meant.Shown(), condition.Text()),
                 fmt::format("after {} it was {}", Seconds(timeout), seen));
}

Answer Reached(const Meant& meant, const Condition& condition, const std::string& seen,
               milliseconds elapsed) {
  Answer answer;
  answer.m_Result = {{"object", meant.Shown()},
                     {"condition", condition.Text()},
                     {"seen", seen},
                     {"elapsed_seconds", static_cast<double>(elapsed.count()) / 1000}};
  answer.m_Text = Printable(fmt::format("{} {}: {} after {}", meant.Shown(), condition.Text(), seen,
                                        Seconds(elapsed))) +
                  "\n";
  answer.m_Values = {seen};
  answer.m_Table.m_Columns = {
      {"OBJECT", "object", false}, {"CONDITION", "condition", false}, {"SEEN", "seen", false}};
  answer.m_Table.m_Rows = {
      {{TextCell(meant.Shown()), TextCell(condition.Text()), TextCell(seen)}, std::nullopt}};
  return answer;
}

// Says what was seen also when it is stopped. Nothing is written before the end, so that a reader
// who has gone is no reason to look.
void WaitOn(Context& context, Watched& watched, milliseconds atMost, const Meant& meant,
            const std::string& seen) {
  try {
    watched.Wait(atMost, Interest());
  } catch (const Stopped&) {
    context.m_Talk.Note("LAST_SEEN", fmt::format("{} was {}", meant.Shown(), seen));
    throw;
  }
}

}  // namespace

Answer RunWait(Context& context) {
  const Condition condition(context.m_Arguments[1]);
  std::optional<milliseconds> timeout;
  if (!context.m_Options.m_Timeout.empty()) {
    timeout = ParseSpan("--timeout", context.m_Options.m_Timeout);
  }
  Session& session = context.OpenToWait();
  const auto start = steady_clock::now();
  const Deadline deadline(timeout);
  session.AnswerBy(deadline);
  Watched watched(session);
  Meant meant(context.m_Arguments[0]);
  while (true) {
    const Condition::Outcome outcome = Look(watched.Objects(), meant, condition);
    const auto elapsed = std::chrono::duration_cast<milliseconds>(steady_clock::now() - start);
    if (outcome.m_Holds) return Reached(meant, condition, outcome.m_Seen, elapsed);
    if (deadline.IsOver()) throw TooLate(meant, condition, outcome.m_Seen, *timeout);
    WaitOn(context, watched, deadline.Left(), meant, outcome.m_Seen);
  }
}

}  // namespace Console
