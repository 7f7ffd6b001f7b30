#include "console/report/CheckReadings.h"

#include <fmt/format.h>

#include <cmath>

namespace Console {

// The output format has no units for temperature and power, so these units are in the labels.
struct ReadingRow {
  const char* m_Label;
  const char* m_Field;
  const char* m_Unit;
  double m_Scale;
  LimitKind m_Kind;
  std::optional<double> m_Minimum;
  std::optional<double> m_Maximum;
  const char* m_MaximumField;  // instead of the maximum, or null
};

namespace {

// clang-format off
constexpr ReadingRow kReadings[] = {
    // label                field                  unit scale  a number is         min           max           max field
    {"temperature_celsius", "temperature_celsius",  "",    1, LimitKind::Highest, std::nullopt, std::nullopt, nullptr},
    {"reserve_space",       "reserve_space_ratio",  "%", 100, LimitKind::Lowest,  0,            100,          nullptr},
    {"endurance_used",      "endurance_used_ratio", "%", 100, LimitKind::Highest, 0,            std::nullopt, nullptr},
    {"slot_power_watts",    "slot_power_watts",     "",    1, LimitKind::Highest, 0,            std::nullopt, "power_limit_watts"},
    {"read_bytes",          "read_bytes",           "c",   1, LimitKind::Highest, std::nullopt, std::nullopt, nullptr},
    {"written_bytes",       "written_bytes",        "c",   1, LimitKind::Highest, std::nullopt, std::nullopt, nullptr},
};
// clang-format on

// A threshold that the user can set. Rows of a field are ordered from the most to the least severe
// state.
struct ThresholdRow {
  const char* m_Field;
  CheckState m_State;
  const char* m_Option;
  std::string Options::*m_Value;
  const char* m_LimitField;  // the card's own limit, or null
  const char* m_Reason;      // what the card reports for the same problem
  const char* m_Quantity;
};

// clang-format off
constexpr ThresholdRow kThresholds[] = {
    // field                 state                 option                value                       card's own limit                reason                     quantity
    {"temperature_celsius",  CheckState::Critical, "--crit-temperature", &Options::m_CritTemperature, "temperature_critical_celsius", "TEMPERATURE_ABOVE_ERROR", "temperature"},
    {"temperature_celsius",  CheckState::Warning,  "--warn-temperature", &Options::m_WarnTemperature, "temperature_warning_celsius",  "TEMPERATURE_ABOVE_WARN",  "temperature"},
    {"reserve_space_ratio",  CheckState::Critical, "--crit-reserve",     &Options::m_CritReserve,     nullptr,                        "RESERVES_DEPLETED",       "reserve space"},
    {"reserve_space_ratio",  CheckState::Warning,  "--warn-reserve",     &Options::m_WarnReserve,     "reserve_space_warning_ratio",  "RESERVES_DEPLETED",       "reserve space"},
    {"endurance_used_ratio", CheckState::Critical, "--crit-used",        &Options::m_CritUsed,        nullptr,                        "NEAR_WEARING_OUT",        "endurance used"},
    {"endurance_used_ratio", CheckState::Warning,  "--warn-used",        &Options::m_WarnUsed,        nullptr,                        "NEAR_WEARING_OUT",        "endurance used"},
};
// clang-format on

const ReadingRow& RowOf(const char* field) {
  const std::string name = field;
  for (const ReadingRow& row : kReadings) {
    if (name == row.m_Field) return row;
  }
  return kReadings[0];
}

// Returns the value in the unit of the performance data, or empty if it is unknown.
std::optional<double> NumberOf(const Value& value, double scale) {
  if (const auto* count = std::get_if<std::uint64_t>(&value.m_Data)) {
    return static_cast<double>(*count) * scale;
  }
  const auto* number = std::get_if<double>(&value.m_Data);
  return number == nullptr ? std::nullopt : std::optional<double>(*number * scale);
}

std::optional<double> NumberOf(const Object& object, const char* field, double scale) {
  return field == nullptr ? std::nullopt : NumberOf(ReadField(object, field), scale);
}

const CheckRange* RangeOfUser(const ThresholdRow& row, const CheckRanges& ranges) {
  const auto found = ranges.find(row.m_Option);
  return found == ranges.end() ? nullptr : &found->second;
}

std::optional<CheckRange> RangeOfCard(const ThresholdRow& row, const Object& adapter) {
  const ReadingRow& reading = RowOf(row.m_Field);
  const auto limit = NumberOf(adapter, row.m_LimitField, reading.m_Scale);
  return limit ? std::optional<CheckRange>(RangeOf(*limit, reading.m_Kind)) : std::nullopt;
}

// Removes the rounding error of a conversion to percent, such as 10.000000000000002.
double Rounded(double number) {
  constexpr double kDigits = 1e9;
  return std::abs(number) < kDigits ? std::round(number * kDigits) / kDigits : number;
}

std::string UnitText(const ThresholdRow& row, bool ascii) {
  const bool isTemperature = std::string("temperature_celsius") == row.m_Field;
  if (isTemperature) return ascii ? " C" : " °C";
  return std::string(" ") + RowOf(row.m_Field).m_Unit;
}

std::string LimitText(const CheckRange& range, const std::string& unit) {
  if (range.m_AlertsInside || (range.m_Low && range.m_High)) return "range " + range.Text() + unit;
  return fmt::format("limit {:.10g}{}", range.m_Low.value_or(range.m_High.value_or(0)), unit);
}

std::optional<Breach> BreachOf(const ThresholdRow& row, const Object& adapter,
                               const CheckRanges& ranges, bool ascii) {
  const CheckRange* const range = RangeOfUser(row, ranges);
  if (range == nullptr) return std::nullopt;
  const auto value = NumberOf(adapter, row.m_Field, RowOf(row.m_Field).m_Scale);
  const std::string limit = LimitText(*range, UnitText(row, ascii));
  if (!value) {
    return Breach{row.m_Field, CheckState::Unknown,
                  fmt::format("{} unknown, {}", row.m_Quantity, limit), nullptr};
  }
  if (!range->Alerts(Rounded(*value))) return std::nullopt;
  return Breach{
      row.m_Field, row.m_State,
      fmt::format("{} {:.10g}{}, {}", row.m_Quantity, Rounded(*value), UnitText(row, ascii), limit),
      row.m_Reason};
}

// Returns the range in which a value causes no alert: both the user's range and the card's own
// limit apply.
std::optional<CheckRange> EffectiveRange(const ThresholdRow& row, const Object& adapter,
                                         const CheckRanges& ranges) {
  const CheckRange* const user = RangeOfUser(row, ranges);
  const auto own = RangeOfCard(row, adapter);
  if (user == nullptr) return own;
  return own ? Intersection(*user, *own) : *user;
}

std::string NumberText(const std::optional<double>& number) {
  return number ? fmt::format("{:.10g}", *number) : std::string();
}

std::string ValueText(const CheckReading& reading) {
  if (const auto* count = std::get_if<std::uint64_t>(&reading.m_Value.m_Data)) {
    return fmt::format("{}", *count);
  }
  return NumberText(NumberOf(reading.m_Value, reading.m_pRow->m_Scale));
}

}  // namespace

CheckRanges ParseThresholds(const Options& options) {
  CheckRanges ranges;
  for (const ThresholdRow& row : kThresholds) {
    if (options.m_Given.count(row.m_Option) == 0) continue;
    ranges[row.m_Option] =
        ParseCheckRange(row.m_Option, options.*row.m_Value, RowOf(row.m_Field).m_Kind);
  }
  return ranges;
}

std::vector<CheckReading> ReadingsOf(const Object& adapter, const std::string& name,
                                     const CheckRanges& ranges) {
  std::vector<CheckReading> readings;
  for (const ReadingRow& row : kReadings) {
    CheckReading reading{&adapter,
                         &row,
                         name + "_" + row.m_Label,
                         ReadField(adapter, row.m_Field),
                         {},
                         {},
                         row.m_Minimum,
                         row.m_Maximum};
    if (!NumberOf(reading.m_Value, row.m_Scale)) continue;
    if (row.m_MaximumField != nullptr) {
      reading.m_Maximum = NumberOf(adapter, row.m_MaximumField, row.m_Scale);
    }
    for (const ThresholdRow& threshold : kThresholds) {
      if (&RowOf(threshold.m_Field) != &row) continue;
      (threshold.m_State == CheckState::Warning ? reading.m_Warning : reading.m_Critical) =
          EffectiveRange(threshold, adapter, ranges);
    }
    readings.push_back(std::move(reading));
  }
  return readings;
}

std::vector<Breach> BreachesOf(const Object& adapter, const CheckRanges& ranges, bool ascii) {
  std::vector<Breach> breaches;
  for (const ThresholdRow& row : kThresholds) {
    const auto breach = BreachOf(row, adapter, ranges, ascii);
    if (!breach) continue;
    const bool isNew = breaches.empty() || std::string(breaches.back().m_Field) != row.m_Field;
    if (isNew) breaches.push_back(*breach);
  }
  return breaches;
}

const char* FieldOf(const CheckReading& reading) {
  return reading.m_pRow->m_Field;
}

double ScaleOf(const CheckReading& reading) {
  return reading.m_pRow->m_Scale;
}

std::string PerformanceText(const CheckReading& reading) {
  std::string text =
      fmt::format("{}={}{};{};{};{};{}", reading.m_Label, ValueText(reading),
                  reading.m_pRow->m_Unit, reading.m_Warning ? reading.m_Warning->Text() : "",
                  reading.m_Critical ? reading.m_Critical->Text() : "",
                  NumberText(reading.m_Minimum), NumberText(reading.m_Maximum));
  while (text.back() == ';') text.pop_back();
  return text;
}

}  // namespace Console
