// Aborts with a message if a condition does not hold.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <string>

namespace CorvaneFuzz {

inline void Require(bool holds, const std::string& what) {
  if (holds) return;
  std::fprintf(stderr, "fuzz: %s\n", what.c_str());
  std::abort();
}

}  // namespace CorvaneFuzz
