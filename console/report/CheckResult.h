// The state of the cards for monitoring systems, and the problems that determine it.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "console/base/Failure.h"
#include "console/model/Health.h"
#include "console/model/Model.h"
#include "console/report/CheckReadings.h"

namespace Console {

// Returns "OK", "UNKNOWN", "WARNING" or "CRITICAL".
const char* CheckStateName(CheckState state);
// Returns the state of an adapter or drive with this effective status.
CheckState StateOf(const Value& status);
// Returns the exit code for a state.
ExitCode CheckStateCode(CheckState state);

// A problem of a card that somebody has acknowledged.
struct AcknowledgedReason {
  std::string m_SerialNumber;
  std::string m_Reason;
  std::string m_Text;  // who acknowledged it, until when, and the note
};

// What the user expects of the cards, and what has been acknowledged.
struct CheckInput {
  std::vector<const Object*> m_Objects;  // with the objects below them; empty: all
  // Names without an object, each with the reason, such as "a9: no such object".
  std::vector<std::string> m_NotFound;
  CheckRanges m_Ranges;
  std::optional<std::size_t> m_ExpectedCards;
  std::vector<AcknowledgedReason> m_Acknowledged;
  bool m_Ascii = false;
  // Why missing cards or acknowledgments are unknown; empty if they are known.
  std::string m_Unknown;
};

// Something that is wrong with an object.
struct Problem {
  CheckState m_State = CheckState::Unknown;
  std::string m_Name;          // of the reason or field; empty: the status alone
  std::string m_Text;          // for people
  std::string m_Figures;       // briefly, with the measured value; empty: the name says it all
  std::string m_Advice;        // empty: none
  const char* m_Field = "";    // the measured field; empty: none
  bool m_IsThreshold = false;  // whether a threshold was exceeded that the card does not report
  std::optional<std::size_t> m_Acknowledgment;  // index in `CheckInput::m_Acknowledged`
};

struct Finding {
  const Object* m_pObject = nullptr;
  Health m_Health;
  CheckState m_State = CheckState::Unknown;  // without acknowledged problems
  std::vector<Problem> m_Problems;           // the worst first
};

struct CheckResult {
  CheckState m_State = CheckState::Unknown;  // the worst state
  std::vector<Finding> m_Findings;           // the worst cards first, each before its drives
  std::vector<CheckReading> m_Readings;      // in the order of the model
  std::size_t m_Cards = 0;                   // adapters that are not missing
  std::optional<std::size_t> m_ExpectedCards;
  CheckState m_ExpectationState = CheckState::Ok;
  std::vector<std::string> m_NotFound;
  std::string m_Unknown;  // that of the input
};

// Checks the objects of the input, which are part of `model`. The state of a card is the worst of
// its unacknowledged problems: the reasons that it reports, its status if no reason explains it,
// and values outside its own limits or the user's ranges. The state of a name without an object is
// UNKNOWN. If missing cards are unknown, the result is UNKNOWN unless it is CRITICAL: a warning
// alone would hide that a card may be missing. The model must outlive the result.
CheckResult CheckObjects(const Model& model, const CheckInput& input);

}  // namespace Console
