// The fields of cards that have a history.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "console/model/Model.h"

namespace Service {

// What an hour keeps of its minutes. `Range`: minimum, maximum and mean.
enum class HourValue { Range, Minimum, Maximum, Last };

// Values are stored as integers, which take a third of the space of other numbers.
struct HistoryField {
  const char* m_Name;  // that of the console's field, with its base unit
  const char* m_Column;
  double m_PerUnit;  // the stored number for 1
  HourValue m_HourValue;
};

constexpr std::size_t kHistoryFieldCount = 6;
extern const HistoryField kHistoryFields[kHistoryFieldCount];

// The field of that name; null if it has no history.
const HistoryField* FindHistoryField(const std::string& name);

// One value per field, as stored; empty if it is unknown.
using HistoryValues = std::vector<std::optional<std::int64_t>>;
HistoryValues ReadHistoryValues(const Console::Object& adapter);

enum class HistoryTable { Minutes, Hours };

// The columns of all fields, each after ", ", for CREATE TABLE.
std::string HistoryColumns(HistoryTable table);

// Three columns of the table: the field's minimum, maximum and mean.
std::string HistoryRange(HistoryTable table, const HistoryField& field);

}  // namespace Service
