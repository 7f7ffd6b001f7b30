// Compile-time checks of the order of a record's fields.
#pragma once

#include <array>
#include <cstddef>

namespace CorvaneTest {

// Whether each offset is larger than the one before it.
template <class... Offsets>
constexpr bool AreAscending(Offsets... offsets) {
  const std::array<std::size_t, sizeof...(offsets)> all{offsets...};
  for (std::size_t i = 1; i < all.size(); ++i) {
    if (all[i - 1] >= all[i]) return false;
  }
  return true;
}

}  // namespace CorvaneTest
