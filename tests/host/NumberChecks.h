// Compares enumerations with the lists of numbers.
//
// Each switch lists the enumerators of HostNumbers.h and has no default, so that an enumeration
// with more or fewer of them does not compile.
#pragma once

#include "tests/host/HostNumbers.h"

// `in` is the namespace of the enumerators in the current list.
#define CHECK(name, ...) static_assert(in::name == (FIRST_OF(__VA_ARGS__, 0)), #name);
#define LINE(name, ...) case in::name:

#define CHECK_ALL(enumeration, list, low_list)                             \
  list(CHECK) low_list(CHECK) constexpr bool IsKnown(enumeration number) { \
    switch (number) { list(LINE) low_list(LINE) return true; }             \
    return false;                                                          \
  }                                                                        \
  static_assert(!IsKnown(static_cast<enumeration>(99999)))

#define NONE_LOW(X)
