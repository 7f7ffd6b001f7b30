// The failure of a library call, and its codes.
#pragma once

#include <string>

#include "host/vsl_abstraction.h"

namespace CardSim {

// The library's result codes. VSL_NOT_READY is not included: it is returned only if `cardsim fail
// vsl_init` requests it.
enum Code : vsl_code {
  kFailed = 1,
  kStateUnusable = 2,  // the state file is missing, damaged or cannot be opened
  kNoSuchCard = 3,     // or no such volume
  kBadHandle = 4,
  kNotOpen = 5,
  kWrongState = 6,  // not possible in the current state
  kBadValue = 7,
  kInUse = 8,
  kNotSupported = 9,  // the card does not have the feature
  kNotStarted = 10,   // before vsl_init or after vsl_fini
  kNoMemory = 11,
};

// Thrown by the body of a call, and converted to its result and error record. Not derived from
// std::exception.
struct CallFailure {
  vsl_code code;
  std::string text;
};

}  // namespace CardSim
