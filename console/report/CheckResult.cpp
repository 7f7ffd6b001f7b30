#include "console/report/CheckResult.h"

#include <fmt/format.h>

#include <algorithm>
#include <boost/algorithm/string/replace.hpp>
#include <cstring>
#include <map>

#include "base/Printable.h"
#include "console/model/CardName.h"
#include "console/model/FieldTable.h"
#include "console/render/HealthCells.h"

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
};

// Statuses of adapters and drives; any other is UNKNOWN.
constexpr StatusStateRow kStatuses[] = {
    {"OK", CheckState::Ok},           {"AVAILABLE", CheckState::Ok},
    {"WARNING", CheckState::Warning}, {"AVAILABLE_SMART", CheckState::Warning},
    {"FAILED", CheckState::Critical},
};

enum class Limit { Above, Below };

// The output format has no units for temperature and power, so these units are in the labels.
struct ReadingRow {
  const char* m_Label;
  const char* m_Field;
  const char* m_Unit;
  double m_Scale;
  const char* m_Warning;   // a field, or null
  const char* m_Critical;  // a field, or null
  Limit m_Limit;
  const char* m_Minimum;
  const char* m_Maximum;       // a number
  const char* m_MaximumField;  // instead of the number, or null
};

// clang-format off
constexpr ReadingRow kReadings[] = {
    // label                field                  unit scale  warning                      critical                        limit         min  max    max field
    {"temperature_celsius", "temperature_celsius",  "",    1, "temperature_warning_celsius", "temperature_critical_celsius", Limit::Above, "",  "",    nullptr},
    {"reserve_space",       "reserve_space_ratio",  "%", 100, "reserve_space_warning_ratio", nullptr,                        Limit::Below, "0", "100", nullptr},
    {"endurance_used",      "endurance_used_ratio", "%", 100, nullptr,                       nullptr,                        Limit::Above, "0", "",    nullptr},
    {"slot_power_watts",    "slot_power_watts",     "",    1, nullptr,                       nullptr,                        Limit::Above, "0", "",    "power_limit_watts"},
    {"read_bytes",          "read_bytes",           "c",   1, nullptr,                       nullptr,                        Limit::Above, "",  "",    nullptr},
    {"written_bytes",       "written_bytes",        "c",   1, nullptr,                       nullptr,                        Limit::Above, "",  "",    nullptr},
};
// clang-format on

const StateRow& RowOf(CheckState state) {
  return *std::find_if(std::begin(kStates), std::end(kStates),
                       [&](const StateRow& row) { return row.m_State == state; });
}

CheckState StateOf(const Value& status) {
  const std::string text = BareText(status);
  for (const StatusStateRow& row : kStatuses) {
    if (text == row.m_Status) return row.m_State;
  }
  return CheckState::Unknown;
}

// Returns an empty string for an unknown value.
std::string NumberText(const Object& object, const char* field, double scale) {
  const Value value = field == nullptr ? Value{} : ReadField(object, field);
  if (const auto* count = std::get_if<std::uint64_t>(&value.m_Data)) {
    return fmt::format("{}", *count);
  }
  const auto* number = std::get_if<double>(&value.m_Data);
  return number == nullptr ? std::string() : fmt::format("{:.10g}", *number * scale);
}

std::string RangeText(const std::string& number, Limit limit) {
  return number.empty() || limit == Limit::Above ? number : number + ":";
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

void AddReadings(std::vector<CheckReading>& into, const Object& adapter, const std::string& name) {
  for (const ReadingRow& row : kReadings) {
    const std::string value = NumberText(adapter, row.m_Field, row.m_Scale);
    if (value.empty()) continue;
    into.push_back(
        {name + "_" + row.m_Label, value, row.m_Unit,
         RangeText(NumberText(adapter, row.m_Warning, row.m_Scale), row.m_Limit),
         RangeText(NumberText(adapter, row.m_Critical, row.m_Scale), row.m_Limit), row.m_Minimum,
         row.m_MaximumField == nullptr ? row.m_Maximum
                                       : NumberText(adapter, row.m_MaximumField, row.m_Scale)});
  }
}

// Omits trailing separators, as the output format allows.
std::string CheckReadingText(const CheckReading& r) {
  std::string text = fmt::format("{}={}{};{};{};{};{}", r.m_Label, r.m_Value, r.m_Unit, r.m_Warning,
                                 r.m_Critical, r.m_Minimum, r.m_Maximum);
  while (text.back() == ';') text.pop_back();
  return text;
}

// Replaces vertical bars, because a vertical bar starts the performance data.
std::string WithoutBars(const std::string& text) {
  return boost::replace_all_copy(text, "|", "/");
}

// Describes an object that is not OK. A drive has no reasons of its own; its card reports them.
std::string ProblemText(const Finding& finding, bool ascii) {
  std::string why;
  for (const Reason& reason : finding.m_Health.m_Reasons) {
    why += (why.empty() ? ": " : ", ") + ReasonText(reason, ascii);
  }
  if (why.empty() && finding.m_pObject->m_Kind == Kind::Adapter) {
    why = ": " + TextWithoutReason(finding.m_Health);
  }
  return finding.m_pObject->m_Selector + " " + StatusText(finding.m_Health.m_Shown) + why;
}

std::size_t CountOf(const CheckResult& check, Kind kind) {
  return static_cast<std::size_t>(
      std::count_if(check.m_Findings.begin(), check.m_Findings.end(),
                    [&](const Finding& finding) { return finding.m_pObject->m_Kind == kind; }));
}

std::string CountText(std::size_t count, const char* noun) {
  return fmt::format("{} {}{}", count, noun, count == 1 ? "" : "s");
}

// Lists the worst objects first, because a monitoring system may truncate the line.
std::string ListProblems(const CheckResult& check, bool ascii) {
  std::string text;
  for (const CheckState state : {CheckState::Critical, CheckState::Warning, CheckState::Unknown}) {
    for (const Finding& finding : check.m_Findings) {
      if (finding.m_State != state) continue;
      text += (text.empty() ? "" : "; ") + ProblemText(finding, ascii);
    }
  }
  return text;
}

std::string Identity(const Object& object) {
  std::string text = BareText(ReadField(object, "name"));
  const Value serial = ReadField(object, "serial_number");
  if (serial.Known()) text += ", serial " + BareText(serial);
  return text;
}

std::string FindingText(const Finding& finding, bool ascii) {
  std::string text =
      fmt::format("{} {}: {}\n", finding.m_pObject->m_Selector,
                  StatusText(finding.m_Health.m_Shown), Identity(*finding.m_pObject));
  for (const Reason& reason : finding.m_Health.m_Reasons) {
    text += fmt::format("  {}{}{}\n", ReasonText(reason, ascii),
                        reason.m_Advice.empty() ? "" : ". ", reason.m_Advice);
  }
  return text;
}

std::string FirstLine(CheckState state, const std::string& summary) {
  return fmt::format("CORVANE {} - {}", CheckStateName(state), summary);
}

}  // namespace

const char* CheckStateName(CheckState state) {
  return RowOf(state).m_Name;
}

ExitCode CheckStateCode(CheckState state) {
  return RowOf(state).m_Code;
}

CheckResult CheckObjects(const Model& model, const Object* top) {
  CheckResult check;
  const std::map<const Object*, std::string> names = CardNames(model, LabelText);
  for (const Object* object : ObjectsWithStatus(model, top)) {
    const Health health = HealthOf(model, *object);
    const CheckState state = StateOf(health.m_Status);
    check.m_State = check.m_Findings.empty() ? state : std::max(check.m_State, state);
    check.m_Findings.push_back({object, health, state});
    if (object->m_Kind == Kind::Adapter) {
      AddReadings(check.m_Readings, *object, names.at(object));
    }
  }
  return check;
}

std::string Summary(const CheckResult& check, bool ascii) {
  if (check.m_Findings.empty()) return "no supported adapter found in this machine";
  const std::string problems = ListProblems(check, ascii);
  if (!problems.empty()) return WithoutBars(problems);
  return fmt::format("{}, {}", CountText(CountOf(check, Kind::Adapter), "adapter"),
                     CountText(CountOf(check, Kind::Drive), "drive"));
}

std::string CheckText(const CheckResult& check, bool ascii) {
  std::string text = FirstLine(check.m_State, Summary(check, ascii));
  for (const CheckReading& reading : check.m_Readings) {
    text += (&reading == &check.m_Readings.front() ? " | " : " ") + CheckReadingText(reading);
  }
  text += "\n";
  for (const Finding& finding : check.m_Findings) {
    text += WithoutBars(FindingText(finding, ascii));
  }
  return text;
}

std::string CheckText(const Failure& failure) {
  std::string text =
      FirstLine(CheckState::Unknown, WithoutBars(Base::Printable(failure.m_Text))) + "\n";
  for (const std::string& line : failure.m_Advice)
    text += WithoutBars(Base::Printable(line)) + "\n";
  return text;
}

}  // namespace Console
