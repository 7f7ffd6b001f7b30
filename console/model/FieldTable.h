// The fields of table columns, `get`, JSON and metrics: a name with its base unit, the property
// from which it comes, and how it is converted.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "console/model/Model.h"
#include "console/model/Value.h"

namespace Console {

struct Field {
  const char* m_Name;
  const char* m_Heading;
  std::uint32_t m_PropertyID;
  Measure m_Measure;
  UnknownEncoding m_UnknownEncoding = UnknownEncoding::None;
};

// The fields of a kind of object, in display order.
const std::vector<Field>& FieldsOf(Kind kind);

// The field of that name, or of that property's identifier or number, ignoring case; null if the
// kind has none.
const Field* FindField(Kind kind, const std::string& name);

// All names that `FindField` knows, for suggestions.
std::vector<std::string> FieldNames(Kind kind);

Value ReadField(const Object& object, const Field& field);
// By the field's name; also unknown if the object's kind has no such field.
Value ReadField(const Object& object, const std::string& name);

// The object's field of that name as `BareText`; empty if it is unknown.
std::string FieldText(const Object& object, const std::string& name);

// The serial number of the object's card; empty if unknown.
std::string SerialOf(const Model& model, const Object& object);

// Any property, in the unit that it came with.
Value ReadProperty(const PI::CProperty& property);

}  // namespace Console
