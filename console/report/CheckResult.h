// The state of the cards in the plug-in format of monitoring systems: a state, a line with the
// reason, one line per object, and readings with their limits.
#pragma once

#include <string>
#include <vector>

#include "console/base/Failure.h"
#include "console/model/Health.h"
#include "console/model/Model.h"

namespace Console {

// From best to worst; UNKNOWN must not hide WARNING or CRITICAL.
enum class CheckState { Ok, Unknown, Warning, Critical };

// "OK", "UNKNOWN", "WARNING", "CRITICAL".
const char* CheckStateName(CheckState state);
ExitCode CheckStateCode(CheckState state);

struct Finding {
  const Object* m_pObject;
  Health m_Health;
  CheckState m_State;
};

// A reading with its limits as ranges; an empty member is unknown or does not apply.
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

// The state follows from the status that the plug-in reports; reasons and readings are details.
// `top` is part of `model`, which must outlive the result, or null for all objects.
CheckResult CheckObjects(const Model& model, const Object* top);

// The reason, in one line without a bar.
std::string Summary(const CheckResult& check, bool ascii);

// The complete output: the first line with the readings, and the lines of the objects.
std::string CheckText(const CheckResult& check, bool ascii);

// The same if the cards could not be read.
std::string CheckText(const Failure& failure);

}  // namespace Console
