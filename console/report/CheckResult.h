// What a monitoring system is told of the cards, in the convention of its plug-ins: a state, a line
// that says why, a line for each object, and readings with their limits.
#pragma once

#include <string>
#include <vector>

#include "console/base/Failure.h"
#include "console/model/Health.h"
#include "console/model/Model.h"

namespace Console {

// From best to worst: an unknown one must not hide a bad one.
enum class CheckState { Ok, Unknown, Warning, Critical };

// "OK", "UNKNOWN", "WARNING", "CRITICAL".
const char* CheckStateName(CheckState state);
ExitCode CheckStateCode(CheckState state);

struct Finding {
  const Object* m_pObject;
  Health m_Health;
  CheckState m_State;
};

// A reading with its limits as ranges; what is empty is unknown or does not apply.
struct CheckReading {
  std::string m_Label;
  std::string m_Value;
  std::string m_Unit;
  std::string m_Warning;
  std::string m_Critical;
  std::string m_Minimum;
  std::string m_Maximum;
};

struct CheckResult {
  CheckState m_State = CheckState::Unknown;  // the worst of all; unknown without any object
  std::vector<Finding> m_Findings;
  std::vector<CheckReading> m_Readings;
};

// The status that the plug-in gives an object decides; reasons and readings only tell more. `top`
// is part of `model`, which must outlive the result, or null for all objects.
CheckResult CheckObjects(const Model& model, const Object* top);

// Why it is so, in one line and without a bar.
std::string Summary(const CheckResult& check, bool ascii);

// All that a monitoring system reads: the line with the readings, and the lines of the objects.
std::string CheckText(const CheckResult& check, bool ascii);

// The same when the cards could not be looked at.
std::string CheckText(const Failure& failure);

}  // namespace Console
