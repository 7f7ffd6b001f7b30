// The fields of cards that have a history.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "console/model/Model.h"

namespace Service {

// How an hour aggregates the values of its minutes. `Range`: minimum, maximum and mean.
enum class HourAggregate { Range, Minimum, Maximum, Last };

// A field with a history. Its values are stored as scaled integers, which take a third of the space
// of floating-point numbers.
struct HistoryField {
  const char* m_Name;  // the name of the console's field, including the base unit
  const char* m_Column;
  double m_PerUnit;  // stored integer = value * m_PerUnit
  HourAggregate m_HourAggregate;
};

constexpr std::size_t kHistoryFieldCount = 6;
extern const HistoryField kHistoryFields[kHistoryFieldCount];

// Returns the field with that name, or null if it has no history.
const HistoryField* FindHistoryField(const std::string& name);

// One value per field, as stored; empty if unknown.
using HistoryValues = std::vector<std::optional<std::int64_t>>;
HistoryValues ReadHistoryValues(const Console::Object& adapter);

enum class HistoryTable { Minutes, Hours };

// Returns the column definitions of all fields for CREATE TABLE, each preceded by ", ".
std::string HistoryColumns(HistoryTable table);

// Returns a list of columns for SELECT: the field's minimum, maximum and mean. If the table has one
// column for the field, lists it three times.
std::string RangeColumns(HistoryTable table, const HistoryField& field);

}  // namespace Service
