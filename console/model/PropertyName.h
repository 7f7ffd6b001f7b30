// How people name a property of an object.
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

// The property of `object` by vocabulary name, identifier or number. One that the vocabulary does
// not have must be among those that the object reports. Throws `Failure` when there is none.
PropertyName ResolveProperty(const Object& object, const std::string& name);

struct NamedValue {
  std::string m_Name;  // the term's, or as `ShownName` gives it
  Value m_Value;
};

// What `object` has by such a name: the term where the vocabulary has one, else the property as it
// is. Throws `Failure` when there is none.
NamedValue ReadNamed(const Object& object, const std::string& name);

}  // namespace Console
