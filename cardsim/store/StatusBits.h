// The bits of the status masks by name.
#pragma once

#include <cstdint>
#include <string>

#include "cardsim/store/Attributes.h"

namespace CardSim {

struct MaskBit {
  Attribute mask;
  std::uint64_t bit;  // the mask with this bit alone
};

// The bit of that name, alone or after its mask: "errors.FLASHBACK", "info.UNACTIVATED_FIRMWARE",
// "minimal.FORCED". POWER_WRITE_REGULATION is in two masks; alone it is the warning. Throws
// `NoSuchThing`. May be called by any thread.
MaskBit FindMaskBit(const std::string& name);

}  // namespace CardSim
