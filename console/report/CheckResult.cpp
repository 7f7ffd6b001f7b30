#include "console/report/CheckResult.h"

#include <fmt/format.h>

#include <algorithm>
#include <boost/algorithm/string/replace.hpp>
#include <cstring>
#include <map>

#include "base/Printable.h"
#include "console/model/CardLimits.h"
#include "console/model/CardName.h"
#include "console/model/EffectiveState.h"
#include "console/model/FieldTable.h"
#include "hostkit/Texts.h"

namespace Console {
namespace {

struct StateRow {
  CheckState m_State;
  const char* m_Name;
  ExitCode m_Code;
};

constexpr StateRow kStates[] = {
    {CheckState::Ok, "OK", ExitCode::Done},
    {CheckState::Unknown, "UNKNOWN", ExitCode::Unknown},
    {CheckState::Warning, "WARNING", ExitCode::Warning},
    {CheckState::Critical, "CRITICAL", ExitCode::Critical},
};

struct StatusStateRow {
  const char* m_Status;
  CheckState m_State;
  bool m_IsReason;  // whether the status can be acknowledged by its name
};

// Statuses of adapters and drives; any other is UNKNOWN.
constexpr StatusStateRow kStatuses[] = {
    {"OK", CheckState::Ok, false},           {"AVAILABLE", CheckState::Ok, false},
    {"WARNING", CheckState::Warning, false}, {"AVAILABLE_SMART", CheckState::Warning, false},
    {"DETACHED", CheckState::Warning, true}, {"FORMATTING", CheckState::Warning, false},
    {"FAILED", CheckState::Critical, false}, {"UNREADABLE", CheckState::Critical, true},
    {"MISSING", CheckState::Critical, true},
};

const StateRow& RowOf(CheckState state) {
  return *std::find_if(std::begin(kStates), std::end(kStates),
                       [&](const StateRow& row) { return row.m_State == state; });
}

StatusStateRow RowOf(const Value& status) {
  const std::string text = BareText(status);
  for (const StatusStateRow& row : kStatuses) {
    if (text == row.m_Status) return row;
  }
  return {"", CheckState::Unknown, false};
}

// Replaces characters that would end a label or require quotes.
std::string LabelText(const std::string& text) {
  std::string label;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    const bool plain = byte > 0x20 && byte != 0x7F && std::strchr("'\"=;|\\", c) == nullptr;
    label += plain ? c : '_';
  }
  return boost::replace_all_copy(Base::Printable(label), "\\", "_");
}

std::optional<std::size_t> AcknowledgmentOf(const CheckInput& input, const std::string& serial,
                                            const std::string& reason) {
  const auto& all = input.m_Acknowledged;
  const auto found = std::find_if(all.begin(), all.end(), [&](const AcknowledgedReason& each) {
    return each.m_SerialNumber == serial && each.m_Reason == reason;
  });
  if (serial.empty() || found == all.end()) return std::nullopt;
  return static_cast<std::size_t>(found - all.begin());
}

// Returns the measured value of a reason with its limit, preceded by the name of the reason if the
// unit does not imply the quantity. Empty without a measured value, and if the value is within its
// limits, because it would then seem to contradict the reason.
std::string FiguresOf(const Object& object, const Reason& reason, bool ascii) {
  const Field* const field = reason.m_Measured.m_Field;
  if (field == nullptr) return {};
  const bool hasLimit = reason.m_Limit.m_Field != nullptr;
  if (hasLimit && LimitSeverity(object, field->m_Name) == Severity::Neutral) return {};
  const bool isClear = field->m_Kind == ValueKind::Celsius || field->m_Kind == ValueKind::Watts;
  return (isClear ? "" : reason.m_Name + " ") + ReadingText(reason, ascii);
}

// Finds the problems of one object.
class ProblemFinder {
 public:
  ProblemFinder(const Object& object, const Health& health, const CheckInput& input)
      : m_Object(object),
        m_Health(health),
        m_Input(input),
        m_Serial(FieldText(object, "serial_number")) {}

  std::vector<Problem> Find() {
    for (const Reason& reason : m_Health.m_Reasons) AddReason(reason);
    AddStatus();
    if (m_Object.m_Kind == Kind::Adapter && IsReadable()) AddBreaches();
    std::stable_sort(m_Problems.begin(), m_Problems.end(),
                     [](const Problem& a, const Problem& b) { return a.m_State > b.m_State; });
    return m_Problems;
  }

 private:
  bool IsReadable() const { return m_Object.m_Access == Access::Readable; }

  CheckState WorstState() const {
    CheckState worst = CheckState::Ok;
    for (const Problem& problem : m_Problems) worst = std::max(worst, problem.m_State);
    return worst;
  }

  void AddReason(const Reason& reason) {
    const PI::_VALUE_ID status = HostKit::StatusOf(reason.m_Number);
    const StatusStateRow named = RowOf({ValueKind::Text, reason.m_Name, Severity::Neutral});
    CheckState state = named.m_IsReason ? named.m_State : CheckState::Ok;
    if (status == PI::Value::WARNING) state = std::max(state, CheckState::Warning);
    if (status == PI::Value::FAILED) state = CheckState::Critical;
    const char* field =
        reason.m_Measured.m_Field == nullptr ? "" : reason.m_Measured.m_Field->m_Name;
    // The status already names the state, so only the detail is added.
    const bool isStatus = reason.m_Name == BareText(m_Health.m_Status);
    const std::string text = isStatus && !reason.m_Detail.empty()
                                 ? Base::Printable(reason.m_Detail)
                                 : ReasonText(reason, m_Input.m_Ascii);
    const std::string figures = isStatus ? Base::Printable(FieldText(m_Object, "unreadable_reason"))
                                         : FiguresOf(m_Object, reason, m_Input.m_Ascii);
    m_Problems.push_back({state, reason.m_Name, text, figures, reason.m_Advice, field, false,
                          AcknowledgmentOf(m_Input, m_Serial, reason.m_Name)});
  }

  // The reasons may not explain the status.
  void AddStatus() {
    const StatusStateRow row = RowOf(m_Health.m_Status);
    if (row.m_State <= WorstState()) return;
    const std::string name = row.m_IsReason ? row.m_Status : "";
    const bool explains = m_Object.m_Kind == Kind::Adapter && !row.m_IsReason;
    const std::string text = explains ? TextWithoutReason(m_Health) : "";
    m_Problems.push_back(
        {row.m_State, name, text, "", "", "", false, AcknowledgmentOf(m_Input, m_Serial, name)});
  }

  void AddBreaches() {
    for (const Breach& breach : BreachesOf(m_Object, m_Input.m_Ranges, m_Input.m_Ascii)) {
      const bool isReported =
          std::any_of(m_Problems.begin(), m_Problems.end(), [&](const Problem& problem) {
            return std::strcmp(problem.m_Field, breach.m_Field) == 0 &&
                   problem.m_State >= breach.m_State;
          });
      if (isReported) continue;
      const std::string reason = breach.m_Reason == nullptr ? "" : breach.m_Reason;
      m_Problems.push_back({breach.m_State, breach.m_Field, breach.m_Text, breach.m_Text, "",
                            breach.m_Field, true, AcknowledgmentOf(m_Input, m_Serial, reason)});
    }
  }

  const Object& m_Object;
  const Health& m_Health;
  const CheckInput& m_Input;
  const std::string m_Serial;
  std::vector<Problem> m_Problems;
};

CheckState WorstOf(const std::vector<Problem>& problems, bool withAcknowledged) {
  CheckState worst = CheckState::Ok;
  for (const Problem& problem : problems) {
    if (problem.m_Acknowledgment && !withAcknowledged) continue;
    worst = std::max(worst, problem.m_State);
  }
  return worst;
}

Finding FindingOf(const Object& object, const CheckInput& input) {
  Finding finding{&object, HealthOf(object), CheckState::Ok, {}};
  finding.m_Problems = ProblemFinder(object, finding.m_Health, input).Find();
  finding.m_State = WorstOf(finding.m_Problems, false);
  return finding;
}

// A drive has no reasons of its own; its card reports them. A problem that the card explains is
// acknowledged with the card's.
Finding DriveFinding(const Model& model, const Object& drive, const CheckInput& input) {
  Finding finding = FindingOf(drive, input);
  const Object* adapter = AdapterOf(model, drive);
  if (adapter == nullptr) return finding;
  const Finding card = FindingOf(*adapter, input);
  if (finding.m_State <= WorstOf(card.m_Problems, true)) {
    finding.m_State = std::min(finding.m_State, card.m_State);
  }
  return finding;
}

CheckState StateOfCount(std::size_t cards, std::size_t expected) {
  if (cards < expected) return CheckState::Critical;
  return cards > expected ? CheckState::Warning : CheckState::Ok;
}

// Puts the worst cards first, each followed by its drives.
void SortByCard(const Model& model, std::vector<Finding>& findings) {
  std::map<const Object*, CheckState> worst;
  const auto cardOf = [&model](const Finding& finding) {
    const Object* adapter = AdapterOf(model, *finding.m_pObject);
    return adapter == nullptr ? finding.m_pObject : adapter;
  };
  for (const Finding& finding : findings) {
    CheckState& state = worst[cardOf(finding)];
    state = std::max(state, finding.m_State);
  }
  std::stable_sort(findings.begin(), findings.end(), [&](const Finding& a, const Finding& b) {
    return worst[cardOf(a)] > worst[cardOf(b)];
  });
}

}  // namespace

const char* CheckStateName(CheckState state) {
  return RowOf(state).m_Name;
}

CheckState StateOf(const Value& status) {
  return RowOf(status).m_State;
}

ExitCode CheckStateCode(CheckState state) {
  return RowOf(state).m_Code;
}

CheckResult CheckObjects(const Model& model, const CheckInput& input) {
  CheckResult check;
  const std::map<const Object*, std::string> names = CardNames(model, LabelText);
  for (const Object* object : ObjectsWithStatus(model, input.m_Objects)) {
    const bool isAdapter = object->m_Kind == Kind::Adapter;
    check.m_Findings.push_back(isAdapter ? FindingOf(*object, input)
                                         : DriveFinding(model, *object, input));
    if (!isAdapter || object->m_Access == Access::Missing) continue;
    ++check.m_Cards;
    const auto readings = ReadingsOf(*object, names.at(object), input.m_Ranges);
    check.m_Readings.insert(check.m_Readings.end(), readings.begin(), readings.end());
  }
  SortByCard(model, check.m_Findings);
  const bool isEmpty = check.m_Findings.empty();
  check.m_State = isEmpty && !input.m_ExpectedCards ? CheckState::Unknown : CheckState::Ok;
  for (const Finding& finding : check.m_Findings) {
    check.m_State = std::max(check.m_State, finding.m_State);
  }
  check.m_NotFound = input.m_NotFound;
  if (!check.m_NotFound.empty()) check.m_State = std::max(check.m_State, CheckState::Unknown);
  check.m_ExpectedCards = input.m_ExpectedCards;
  if (input.m_ExpectedCards) {
    check.m_ExpectationState = StateOfCount(check.m_Cards, *input.m_ExpectedCards);
    check.m_State = std::max(check.m_State, check.m_ExpectationState);
  }
  check.m_Unknown = input.m_Unknown;
  if (!check.m_Unknown.empty() && check.m_State != CheckState::Critical) {
    check.m_State = CheckState::Unknown;
  }
  return check;
}

}  // namespace Console
