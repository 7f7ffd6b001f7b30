// The number of threads that modules failed to start. A module continues without them, so only its
// host can report the failure to a person.
#pragma once

#include <cstddef>

#include "host/Visibility.h"

namespace HostKit {

// Returns how many threads could not be started so far in this process, for example for lack of
// memory or because of a limit. Thread-safe.
HOST_API std::size_t FailedThreads();

}  // namespace HostKit
