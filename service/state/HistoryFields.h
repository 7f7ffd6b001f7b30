// The fields of cards that have a history.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "console/model/Model.h"

namespace Service {

// The value that an hour keeps from its minutes. `Range`: minimum, maximum and mean.
enum class HourValue { Range, Minimum, Maximum, Last };

// Values are stored as integers, which need a third of the space of floating-point numbers.
struct HistoryField {
  const char* m_Name;  // of the console's field, with its base unit
  const char* m_Column;
  double m_PerUnit;  // the stored number for a value of 1
  HourValue m_HourValue;
};

constexpr std::size_t kHistoryFieldCount = 6;
extern const HistoryField kHistoryFields[kHistoryFieldCount];

// Returns the field with that name, or null if it has no history.
const HistoryField* FindHistoryField(const std::string& name);

// One value per field, as stored; empty if unknown.
using HistoryValues = std::vector<std::optional<std::int64_t>>;
HistoryValues ReadHistoryValues(const Console::Object& adapter);

enum class HistoryTable { Minutes, Hours };

// Returns the columns of all fields for CREATE TABLE, each preceded by ", ".
std::string HistoryColumns(HistoryTable table);

// Returns the names of three columns of the table: the field's minimum, maximum and mean.
std::string HistoryRange(HistoryTable table, const HistoryField& field);

}  // namespace Service
