// Property names as users type them.
#pragma once

#include <cstdint>
#include <string>

#include "console/model/FieldTable.h"
#include "console/model/Model.h"

namespace Console {

// Returns the property's identifier in lowercase, or its number if it has no identifier.
std::string DisplayName(std::uint32_t property);

struct PropertyName {
  std::uint32_t m_Number;
  std::string m_Text;  // the result of `DisplayName`
};

// Finds a property of `object` by field name, identifier or number. A property that has no field is
// found only if `object` reports it. Throws `Failure` if nothing matches.
PropertyName ResolveProperty(const Object& object, const std::string& name);

struct NamedValue {
  std::string m_Name;  // the field name, or the result of `DisplayName`
  Value m_Value;
};

// Reads a value of `object` by name: the field with that name, or else the reported property.
// Throws `Failure` if there is neither.
NamedValue ReadNamed(const Object& object, const std::string& name);

}  // namespace Console
