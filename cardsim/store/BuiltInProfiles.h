// The profiles of cardsim/profiles, built into the library. The table is generated from the files.
#pragma once

#include <cstdint>

namespace CardSim {

struct BuiltInProfile {
  std::uint16_t deviceId;  // as in the text; avoids parsing all profiles to find an ID
  const char* name;
  const char* text;  // JSON
};

// The range of all rows, in the natural order of their names.
struct BuiltInProfileRange {
  const BuiltInProfile* first;
  const BuiltInProfile* last;
  const BuiltInProfile* begin() const { return first; }
  const BuiltInProfile* end() const { return last; }
};
// Returns the table, which is static. Thread-safe.
BuiltInProfileRange BuiltInProfiles();

}  // namespace CardSim
