// The numbers and names that `explain` knows.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "console/model/FieldTable.h"
#include "hostkit/Texts.h"

namespace Console {

// A number in a family of identifiers.
struct Entry {
  HostKit::Family m_Family;
  std::uint32_t m_Number;
};

// Returns all entries, grouped by family.
const std::vector<Entry>& AllEntries();

// Returns the host's name for an entry, such as "CTRL_PNPADD".
std::string NameOf(const Entry& entry);

// Returns "error", "event", "operation", "property", "reason" or "value". A reason is a value that
// an adapter reports with its status.
const char* FamilyName(const Entry& entry);

// A field of a property, and the kind of objects that have the field.
struct FieldUse {
  Kind m_Kind;
  const Field* m_Field;
};

// Returns the fields of a property; empty for any other entry.
std::vector<FieldUse> FieldsOf(const Entry& entry);

// Returns the entries with the number or name `text`, where `text` may also be a property name that
// `get` accepts. Case is ignored.
std::vector<Entry> FindEntries(const std::string& text);

// Returns all names that `FindEntries` accepts.
std::vector<std::string> AllNames();

}  // namespace Console
