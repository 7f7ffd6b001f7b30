// The health of an object, from its properties: status, reasons and what to do.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "console/model/FieldTable.h"
#include "console/model/Model.h"

namespace Console {

// A measured value or a limit that belongs to a reason.
struct Reading {
  const Field* m_Field = nullptr;  // null: there is none
  Value m_Value;
};

struct Reason {
  std::uint32_t m_Number = 0;
  std::string m_Name;     // the number if it has no name
  std::string m_Caption;  // or the name, if the field has no caption
  Reading m_Measured;
  Reading m_Limit;
  std::string m_Advice;  // empty: unknown
};

struct Health {
  Value m_Status;
  Value m_Shown;  // the status shown to people
  Value m_Activity;
  std::vector<Reason> m_Reasons;  // without ATTACHED, which is normal
};

Health HealthOf(const Object& object);

// The same, but a drive whose card is detached is shown as detached. The plug-in reports it as
// available, although it cannot be used.
Health HealthOf(const Model& model, const Object& object);

// Adapters, each followed by its drives: all of the machine, or `top` and those below it.
std::vector<const Object*> ObjectsWithStatus(const Model& model, const Object* top = nullptr);

// Whether the status is healthy; an unknown one is not.
bool IsHealthy(const Value& status);

// "Temperature above its warning level: 79 °C, warning 78 °C". Printable.
std::string ReasonText(const Reason& reason, bool ascii);

// An explanation for a status without reasons: the card may be busy.
std::string TextWithoutReason(const Health& health);

// All names of the reasons, with commas between; empty when there are none.
std::string ReasonNames(const Health& health);

}  // namespace Console
