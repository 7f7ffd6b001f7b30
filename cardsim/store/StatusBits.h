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

// The bit called `name`, alone or behind its mask: "errors.FLASHBACK", "info.UNACTIVATED_FIRMWARE",
// "minimal.FORCED". POWER_WRITE_REGULATION stands in two masks; alone it means the warning. Throws
// `NoSuchThing`.
MaskBit FindMaskBit(const std::string& name);

}  // namespace CardSim
