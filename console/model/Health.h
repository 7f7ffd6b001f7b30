// The health of an object, derived from its properties: status, reasons and advice.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "console/model/FieldTable.h"
#include "console/model/Model.h"

namespace Console {

// A measured value or a limit that belongs to a reason.
struct Reading {
  const Field* m_Field = nullptr;  // null: no value
  Value m_Value;
};

struct Reason {
  std::uint32_t m_Number = 0;  // 0: MISSING or UNREADABLE
  std::string m_Name;          // the number if it has no name
  std::string m_Caption;       // the name if it has no caption
  Reading m_Measured;
  Reading m_Limit;
  std::string m_Detail;  // printed after the caption; empty: none
  std::string m_Advice;  // empty: none
};

struct Health {
  Value m_Status;
  Value m_Activity;
  std::vector<Reason> m_Reasons;  // without ATTACHED, which is normal
};

// Returns the effective status of an object and its reasons. A missing or unreadable card has the
// reason MISSING or UNREADABLE, which is listed first; reasons for values beyond the card's limits
// precede those that the card reports.
Health HealthOf(const Object& object);

// Returns the adapters, each followed by its drives: all of them, or only `top` and the objects
// below it.
std::vector<const Object*> ObjectsWithStatus(const Model& model, const Object* top = nullptr);

// Returns the named objects, each followed by the objects below it, and each object once. Returns
// all objects if none is named.
std::vector<const Object*> ObjectsWithStatus(const Model& model,
                                             const std::vector<const Object*>& named);

// Like `ObjectsWithStatus`, with the worst cards first: ordered by the status of the card or of its
// worst drive, then by position.
std::vector<const Object*> WorstFirst(const Model& model, const Object* top = nullptr);

// Whether the status is healthy; an unknown status is not.
bool IsHealthy(const Value& status);

// Describes a reason: "Temperature above its warning threshold: 79 °C, limit 78 °C". The text is
// printable.
std::string ReasonText(const Reason& reason, bool ascii);

// Returns the measured value of a reason and its limit: "79 °C, limit 78 °C". Empty if the reason
// has neither.
std::string ReadingText(const Reason& reason, bool ascii);

// Returns a reason with the current readings of the object, whether or not the object reports it.
Reason DescribeReason(const Object& object, std::uint32_t number);

// Says that the card is being attached or detached; empty if it is not.
std::string ChangeOfStateText(const Health& health);

// Explains a status without reasons, which may be due to an activity of the card.
std::string TextWithoutReason(const Health& health);

// Returns the names of all reasons, separated by commas, and ATTACHING or DETACHING if the card is
// being attached or detached.
std::string ReasonNames(const Health& health);

}  // namespace Console
