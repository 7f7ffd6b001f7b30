// An alternative that is never used, and makes a std::variant with strings safe to copy. If a copy
// runs out of memory, libstdc++ 12 destroys a value that was never constructed, provided that the
// variant has at least five alternatives and none of them has a move that may throw. The move of
// this alternative may throw.
#pragma once

namespace CardSim {

struct VariantGuard {
  VariantGuard() = delete;
  VariantGuard(const VariantGuard&) {}
  VariantGuard& operator=(const VariantGuard&) { return *this; }
};

}  // namespace CardSim
