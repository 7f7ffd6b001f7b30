#include "service/state/HistoryFields.h"

#include <cmath>
#include <variant>

#include "console/model/FieldTable.h"

namespace Service {
namespace {

using Console::Value;

std::optional<double> AsNumber(const Value& value) {
  if (const auto* number = std::get_if<double>(&value.m_Data)) return *number;
  if (const auto* count = std::get_if<std::uint64_t>(&value.m_Data)) {
    return static_cast<double>(*count);
  }
  return std::nullopt;
}

// Drops values too large to store.
std::optional<std::int64_t> ToStoredValue(const std::optional<double>& number, double perUnit) {
  constexpr double kLargest = 9.2e18;
  if (!number || !(std::abs(*number * perUnit) < kLargest)) return std::nullopt;
  return std::llround(*number * perUnit);
}

bool HasRange(HistoryTable table, const HistoryField& field) {
  return table == HistoryTable::Hours && field.m_HourAggregate == HourAggregate::Range;
}

}  // namespace

// Each hour keeps its worst wear: reserve space only falls and used endurance only rises, unless a
// card is replaced or formatted.
const HistoryField kHistoryFields[kHistoryFieldCount] = {
    {"temperature_celsius", "temperature", 1000, HourAggregate::Range},
    {"reserve_space_ratio", "reserve", 1e6, HourAggregate::Minimum},
    {"endurance_used_ratio", "endurance", 1e6, HourAggregate::Maximum},
    {"written_bytes", "written", 1, HourAggregate::Last},
    {"read_bytes", "read", 1, HourAggregate::Last},
    {"slot_power_watts", "power", 1000, HourAggregate::Range},
};

const HistoryField* FindHistoryField(const std::string& name) {
  for (const HistoryField& field : kHistoryFields) {
    if (name == field.m_Name) return &field;
  }
  return nullptr;
}

HistoryValues ReadHistoryValues(const Console::Object& adapter) {
  HistoryValues values;
  for (const HistoryField& field : kHistoryFields) {
    values.push_back(ToStoredValue(AsNumber(ReadField(adapter, field.m_Name)), field.m_PerUnit));
  }
  return values;
}

std::string HistoryColumns(HistoryTable table) {
  std::string columns;
  for (const HistoryField& field : kHistoryFields) {
    const std::string name = std::string(", ") + field.m_Column;
    columns += HasRange(table, field)
                   ? name + "_min INTEGER" + name + "_max INTEGER" + name + "_mean INTEGER"
                   : name + " INTEGER";
  }
  return columns;
}

std::string RangeColumns(HistoryTable table, const HistoryField& field) {
  const std::string name = field.m_Column;
  return HasRange(table, field) ? name + "_min, " + name + "_max, " + name + "_mean"
                                : name + ", " + name + ", " + name;
}

}  // namespace Service
