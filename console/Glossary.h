// The numbers and names that `explain` knows.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "hostkit/Texts.h"

namespace Console {

struct Entry {
  HostKit::Family m_Family;
  std::uint32_t m_Number;
};

// All of them, family by family, each by its number.
const std::vector<Entry>& AllEntries();

std::string NameOf(const Entry& entry);

// "error", "event", "operation", "property" or "value".
const char* FamilyName(HostKit::Family family);

}  // namespace Console
