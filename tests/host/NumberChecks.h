// Compares enumerations with the lists of numbers.
//
// Each switch names every enumerator of its enumeration and has no default, so that one without a
// line in HostNumbers.h does not compile, nor one that is gone.
#pragma once

#include "tests/host/HostNumbers.h"

// Here `in` is the namespace of the enumerators of the list at hand.
#define CHECK(name, number) static_assert(in::name == (number), #name);
#define LINE(name, number) case in::name:

#define CHECK_ALL(enumeration, list, low_list)                             \
  list(CHECK) low_list(CHECK) constexpr bool IsKnown(enumeration number) { \
    switch (number) { list(LINE) low_list(LINE) return true; }             \
    return false;                                                          \
  }                                                                        \
  static_assert(!IsKnown(static_cast<enumeration>(99999)))

#define NONE_LOW(X)

// The lists themselves are whole.
#define COUNT_ONE(name, number) +1
static_assert(HOST_ERRORS(COUNT_ONE) == 14);
static_assert(HOST_EVENTS(COUNT_ONE) == 33);
static_assert(HOST_OPERATIONS(COUNT_ONE) == 9);
static_assert(HOST_PROPERTIES(COUNT_ONE) HOST_SHORT_NAMES(COUNT_ONE) == 59);
static_assert(HOST_VALUES(COUNT_ONE) == 84);
static_assert(HOST_COMMANDS(COUNT_ONE) == 10);
static_assert(HOST_UNITS(COUNT_ONE) == 6);
