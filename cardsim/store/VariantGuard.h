// An alternative that makes a std::variant with texts safe to copy. When a copy runs out of memory,
// libstdc++ 12 destroys a value that was never made, if the variant has five or more alternatives
// that all move without throwing. This one may throw.
#pragma once

namespace CardSim {

struct VariantGuard {
  VariantGuard() = delete;
  VariantGuard(const VariantGuard&) {}
  VariantGuard& operator=(const VariantGuard&) { return *this; }
};

}  // namespace CardSim
