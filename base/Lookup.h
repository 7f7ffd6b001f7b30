// Lookups in tables of two columns.
#pragma once

#include <cstddef>
#include <utility>

namespace Base {

// Returns the value of the first row with the key, or `otherwise` if there is none.
template <class Key, class Value, std::size_t count, class Wanted>
constexpr Value Lookup(const std::pair<Key, Value> (&rows)[count], Wanted wanted, Value otherwise) {
  for (const auto& [key, value] : rows) {
    if (key == wanted) return value;
  }
  return otherwise;
}

}  // namespace Base
