// Finds the bits of the status masks by name.
#pragma once

#include <cstdint>
#include <string>

#include "cardsim/store/Attributes.h"

namespace CardSim {

struct MaskBit {
  Attribute mask;
  std::uint64_t bit;  // a mask with only this bit set
};

// Returns the bit with that name, which may follow the name of its mask: "errors.FLASHBACK",
// "info.UNACTIVATED_FIRMWARE", "minimal.FORCED". POWER_WRITE_REGULATION is in two masks; without a
// mask, it is the warning. Throws `UnknownName` for an unknown name. Thread-safe.
MaskBit FindMaskBit(const std::string& name);

}  // namespace CardSim
