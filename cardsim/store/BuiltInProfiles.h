// The profiles of cardsim/profiles, built into the library. The table is generated from the files.
#pragma once

#include <cstdint>

namespace CardSim {

struct BuiltInProfile {
  std::uint16_t deviceId;  // that of the text, so that a device id is found without parsing all
  const char* name;
  const char* text;  // JSON
};

// A range for a loop over all rows, in the order of the names' numbers.
struct BuiltInProfileRange {
  const BuiltInProfile* first;
  const BuiltInProfile* last;
  const BuiltInProfile* begin() const { return first; }
  const BuiltInProfile* end() const { return last; }
};
// The table, which lives as long as the program. From any thread.
BuiltInProfileRange BuiltInProfiles();

}  // namespace CardSim
