// The fields of objects in tables, `get`, JSON and metrics: a name with its base unit, the source
// property and the conversion.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "console/model/Model.h"
#include "console/model/Value.h"

namespace Console {

// The property of fields whose value is always derived.
inline constexpr std::uint32_t kNoProperty = 0;

// Of several fields with the same property, the first is the one that the property's identifier
// refers to.
struct Field {
  const char* m_Name;
  const char* m_Heading;
  std::uint32_t m_PropertyID;
  ValueKind m_Kind;
  UnknownEncoding m_UnknownEncoding = UnknownEncoding::None;
};

// Returns the fields of a kind of object, in display order.
const std::vector<Field>& FieldsOf(Kind kind);

// Returns the field with the name `name`, or whose property has that identifier or number; null if
// there is none. Case is ignored.
const Field* FindField(Kind kind, const std::string& name);

// Returns all names and identifiers that `FindField` accepts, for suggestions.
std::vector<std::string> FieldNames(Kind kind);

// Returns the value of a field; unknown if the object does not have the property.
Value ReadField(const Object& object, const Field& field);
// Finds the field by name; unknown if the object's kind has no such field.
Value ReadField(const Object& object, const std::string& name);

// Returns the value of a field as `BareText`; empty if it is unknown.
std::string FieldText(const Object& object, const std::string& name);

// Returns the serial number of the object's card; empty if it is unknown.
std::string SerialOf(const Model& model, const Object& object);

// Returns the value of any property, with the kind that its type and unit imply.
Value ReadProperty(const PI::CProperty& property);

}  // namespace Console
