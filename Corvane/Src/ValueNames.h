// The names of the host's values as text, for the rows of the database.
#pragma once

#include <map>
#include <string>

#include "host/Identifiers.h"

namespace NAMESPACE_Corvane {

inline const std::map<int, std::string>& ValueNames() {
#define CORVANE_VALUE_NAME(name, number, text) {number, text},
  static const std::map<int, std::string> names = {PI_VALUES(CORVANE_VALUE_NAME)};
#undef CORVANE_VALUE_NAME
  return names;
}

// Empty for a number that is not in the table.
inline std::string ValueName(int value) {
  const auto found = ValueNames().find(value);
  return found == ValueNames().end() ? std::string() : found->second;
}

}  // namespace NAMESPACE_Corvane
