// Why a call into the library fails.
#pragma once

#include <string>

#include "host/vsl_abstraction.h"

namespace CardSim {

// The library's own codes. None of them is VSL_NOT_READY, which only `fail vsl_init` gives.
enum Code : vsl_code {
  kFailed = 1,
  kStateUnusable = 2,  // the state file is missing, damaged or cannot be opened
  kNoSuchCard = 3,
  kBadHandle = 4,
  kNotOpen = 5,
  kWrongState = 6,  // the card cannot do that now
  kBadValue = 7,
  kInUse = 8,
  kNotSupported = 9,  // the card does not have that
  kNotStarted = 10,   // before vsl_init or after vsl_fini
  kNoMemory = 11,
};

struct Refusal {
  vsl_code code;
  std::string text;
};

}  // namespace CardSim
