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
enum class State { Ok, Unknown, Warning, Critical };

// "OK", "UNKNOWN", "WARNING", "CRITICAL".
const char* StateName(State state);
ExitCode StateCode(State state);

struct Finding {
  const Object* m_pObject;
  Health m_Health;
  State m_State;
};

// A reading with its limits as ranges; what is empty is unknown or does not apply.
struct Reported {
  std::string m_Label;
  std::string m_Value;
  std::string m_Unit;
  std::string m_Warning;
  std::string m_Critical;
  std::string m_Minimum;
  std::string m_Maximum;
};

struct Verdict {
  State m_State = State::Unknown;  // the worst of all; unknown without any object
  std::vector<Finding> m_Findings;
  std::vector<Reported> m_Reported;
};

// The status that the plug-in gives an object decides; reasons and readings only tell more. `top`
// is part of `model`, which must outlive the result, or null for all objects.
Verdict Judge(const Model& model, const Object* top);

// Why it is so, in one line and without a bar.
std::string Summary(const Verdict& verdict, bool ascii);

// All that a monitoring system reads: the line with the readings, and the lines of the objects.
std::string CheckText(const Verdict& verdict, bool ascii);

// The same when the cards could not be looked at.
std::string CheckText(const Failure& failure);

}  // namespace Console
