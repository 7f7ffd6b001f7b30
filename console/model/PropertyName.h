// Property names as users type them.
#pragma once

#include <cstdint>
#include <string>

#include "console/model/FieldTable.h"
#include "console/model/Model.h"

namespace Console {

// The identifier in small letters, or the number of a property that has none.
std::string ShownName(std::uint32_t property);

struct PropertyName {
  std::uint32_t m_Number;
  std::string m_Text;  // as `ShownName` gives it
};

// The property of `object` by field name, identifier or number. One without a field must be
// reported by the object. Throws `Failure` if there is none.
PropertyName ResolveProperty(const Object& object, const std::string& name);

struct NamedValue {
  std::string m_Name;  // the field's, or as `ShownName` returns it
  Value m_Value;
};

// The value of `object` by such a name: the field if there is one, else the property as reported.
// Throws `Failure` if there is neither.
NamedValue ReadNamed(const Object& object, const std::string& name);

}  // namespace Console
