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

// A field of a property, and the kind of object that has the field.
struct FieldUse {
  Kind m_Kind;
  const Field* m_Field;
};

// Returns the fields of a property; empty for any other entry.
std::vector<FieldUse> FieldsOf(const Entry& entry);

// Returns the entries whose number or name is `text`. Also accepts a property name as in `get`, and
// the name of an operation without its prefix "OP_". Case is ignored.
std::vector<Entry> FindEntries(const std::string& text);

// Returns the names of all entries, and the property names that `get` accepts. Names of
// operations include the prefix "OP_".
std::vector<std::string> AllNames();

}  // namespace Console
