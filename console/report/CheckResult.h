// The state of the cards in the output format of monitoring checks: a state, a line with the
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

// Returns "OK", "UNKNOWN", "WARNING" or "CRITICAL".
const char* CheckStateName(CheckState state);
// Returns the exit code for a state.
ExitCode CheckStateCode(CheckState state);

struct Finding {
  const Object* m_pObject;
  Health m_Health;
  CheckState m_State;
};

// A value with its thresholds. The warning and critical thresholds are ranges: "10:" means at least
// 10. An empty member is unknown or does not apply.
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
  CheckState m_State = CheckState::Unknown;  // the worst state; `Unknown` if there are no objects
  std::vector<Finding> m_Findings;
  std::vector<CheckReading> m_Readings;
};

// Checks `top`, which is part of `model`, and the objects below it. If `top` is null, checks all
// objects. The state is derived only from the status that the plug-in reports. The model must
// outlive the result.
CheckResult CheckObjects(const Model& model, const Object* top);

// Returns a summary on one line, without vertical bars: the problems or, if there are none, the
// numbers of adapters and drives.
std::string Summary(const CheckResult& check, bool ascii);

// Returns the complete output: the first line with the readings, then the lines of the objects.
std::string CheckText(const CheckResult& check, bool ascii);

// Returns the complete output for a failure, such as an invalid command line or a plug-in that
// cannot be loaded; the state is UNKNOWN.
std::string CheckText(const Failure& failure);

}  // namespace Console
