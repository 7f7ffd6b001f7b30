// Compares enumerations with the lists of numbers.
//
// Each switch lists the enumerators of HostNumbers.h and has no default, so a list with an extra or
// missing entry does not compile.
#pragma once

#include "tests/host/HostNumbers.h"

// `in` is the namespace of the enumerators in the current list.
#define CHECK(name, ...) static_assert(in::name == (FIRST_OF(__VA_ARGS__, 0)), #name);
#define CASE(name, ...) case in::name:

#define CHECK_ALL(enumeration, list, low_list)                                    \
  list(CHECK) low_list(CHECK) constexpr bool HostNumbersHas(enumeration number) { \
    switch (number) { list(CASE) low_list(CASE) return true; }                    \
    return false;                                                                 \
  }                                                                               \
  static_assert(!HostNumbersHas(static_cast<enumeration>(99999)))

#define NO_LOW_NUMBERS(X)
