// Limits of measured values, and sizes as vendors state them.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "console/model/FieldTable.h"
#include "console/model/Model.h"

namespace Console {

// A limit of a measured field: a value at the limit or beyond it has this severity.
struct Limit {
  const char* m_Measured;
  const char* m_Field;  // the field with the limit; null: `m_Constant`
  double m_Constant;
  bool m_IsMinimum;  // whether values below the limit are the bad ones
  Severity m_Severity;
  const char* m_Label;
};

// Returns the limits of a measured field, in order of increasing severity; empty if it has none.
std::vector<const Limit*> LimitsOf(const std::string& field);

// Returns the severity of the most severe limit that the field has reached; neutral if none is
// reached, or the value or the limits are unknown.
Severity LimitSeverity(const Object& object, const std::string& field);

// Lists the limits of a field that the card reports, such as "warning 78, critical 85"; empty if it
// reports none.
std::string LimitsText(const Object& object, const std::string& field);

// Formats a size with three significant digits in decimal units, as vendors state it: "785 GB",
// "2.40 TB".
std::string DecimalSizeText(std::uint64_t bytes);

}  // namespace Console
