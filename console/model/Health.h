// What is wrong with an object, why, and what to do: from its properties alone.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "console/model/FieldTable.h"
#include "console/model/Model.h"

namespace Console {

// A reading that tells more about a reason.
struct Reading {
  const Field* m_Field = nullptr;  // null: there is none
  Value m_Value;
};

struct Reason {
  std::uint32_t m_Number = 0;
  std::string m_Name;     // the number for a value outside the vocabulary
  std::string m_Caption;  // as the name where there is no caption
  Reading m_Measured;
  Reading m_Limit;
  std::string m_Advice;  // empty: unknown
};

struct Health {
  Value m_Status;
  Value m_Shown;  // the status as people are told it
  Value m_Activity;
  std::vector<Reason> m_Reasons;  // without the one that says that all is as it should be
};

Health HealthOf(const Object& object);

// The same; a drive whose card is detached is shown as that. The plug-in calls it available though
// nobody can use it.
Health HealthOf(const Model& model, const Object& object);

// Adapters, each with its drives behind it: all of the machine, or `top` with those below it.
std::vector<const Object*> WithStatus(const Model& model, const Object* top = nullptr);

// Whether the status is as good as it can be; an unknown one is not.
bool IsWell(const Value& status);

// "Temperature above its warning level: 79 °C, warning 78 °C". Printable.
std::string ReasonText(const Reason& reason, bool ascii);

// Why a status may be what it is when no reason is told: the card may be at work.
std::string WhyWithoutReason(const Health& health);

// All names of the reasons, with commas between; empty when there are none.
std::string ReasonNames(const Health& health);

}  // namespace Console
