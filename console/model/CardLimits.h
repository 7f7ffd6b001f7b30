// Limits of a card's measured values, and the reasons that a card reports for them.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "console/model/FieldTable.h"
#include "console/model/Model.h"

namespace Console {

// A limit of a measured field. A value beyond the limit has this severity; a value equal to the
// limit is not beyond it.
struct Limit {
  const char* m_Measured;
  const char* m_Field;  // the field with the limit; null: `m_Constant`
  double m_Constant;
  bool m_IsMinimum;  // whether values below the limit are the bad ones
  Severity m_Severity;
  const char* m_Label;
  std::int32_t m_Reason;  // what a card reports for a value beyond the limit
};

// The fields that show how serious a reason is.
struct Measurement {
  std::int32_t m_Reason;
  const char* m_Measured;
  const char* m_Limit;  // or null
};

// Returns the limits of a measured field, in order of increasing severity; empty if it has none.
std::vector<const Limit*> LimitsOf(const std::string& field);

// Returns the value of a limit; empty if the object does not report it.
std::optional<double> ValueOf(const Object& object, const Limit& limit);

// Returns the severity of the most severe limit that the field exceeds; neutral if it exceeds none,
// or the value or the limits are unknown.
Severity LimitSeverity(const Object& object, const std::string& field);

// Returns the measurement of a reason; null if it has none.
const Measurement* MeasurementOf(std::int32_t reason);

// Returns the reasons that a card should report for its measured values and does not: at most one
// per value, and none for a value that another reason of at least that severity is about. Empty
// unless the object is an adapter that can be read.
std::vector<std::int32_t> UnreportedReasons(const Object& object);

}  // namespace Console
