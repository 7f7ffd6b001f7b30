// The lock that guards the library's state.
#pragma once

#include "base/Mutex.h"

namespace CardSim {

// Held briefly: never during a hook, an edit of the file or a sleep.
inline Base::Mutex g_LibraryLock;

}  // namespace CardSim
