// The numbers and names that `explain` knows.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "console/model/FieldTable.h"
#include "hostkit/Texts.h"

namespace Console {

// One number of one family.
struct Entry {
  HostKit::Family m_Family;
  std::uint32_t m_Number;
};

// All of them, family by family, each by its number.
const std::vector<Entry>& AllEntries();

// The host's name: "CTRL_PNPADD".
std::string NameOf(const Entry& entry);

// "error", "event", "operation", "property", "reason" or "value"; a reason is a value that an
// adapter reports with its status.
const char* FamilyName(const Entry& entry);

// A field of a property, and the kind of objects that have it.
struct FieldUse {
  Kind m_Kind;
  const Field* m_Field;
};

// Empty unless it is a property.
std::vector<FieldUse> FieldsOf(const Entry& entry);

// The entries of a number, of a name, or of a name that `get` takes, compared without case.
std::vector<Entry> FindEntries(const std::string& text);

// All names that `FindEntries` takes.
std::vector<std::string> AllNames();

}  // namespace Console
