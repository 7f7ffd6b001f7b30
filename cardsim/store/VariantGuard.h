// An alternative that is never used, and makes a std::variant with strings safe to copy. If a copy
// runs out of memory, libstdc++ 12 destroys a value that was never constructed, if the variant has
// five or more alternatives and none has a throwing move. This one may throw.
#pragma once

namespace CardSim {

struct VariantGuard {
  VariantGuard() = delete;
  VariantGuard(const VariantGuard&) {}
  VariantGuard& operator=(const VariantGuard&) { return *this; }
};

}  // namespace CardSim
