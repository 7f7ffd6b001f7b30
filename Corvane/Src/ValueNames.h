// Text names of the host's values, as stored in database rows.
#pragma once

#include <map>
#include <string>

#include "Corvane/Src/HostNumbers.h"

namespace NAMESPACE_Corvane {

#define CORVANE_VALUE_NAME(name, number, text) {number, text},
inline const std::map<int, std::string> kValueNames = {CORVANE_VALUES(CORVANE_VALUE_NAME)};
#undef CORVANE_VALUE_NAME

// Returns the name of a value, or an empty string if it is not in the table.
inline std::string ValueName(int value) {
  const auto found = kValueNames.find(value);
  return found == kValueNames.end() ? std::string() : found->second;
}

}  // namespace NAMESPACE_Corvane
