// Threads that a module failed to start. The module continues without them, and only its
// host can report that to a person.
#pragma once

#include <cstddef>

#include "host/Visibility.h"

namespace HostKit {

// How many threads could not be started so far in this process, as for lack of memory or because of
// a limit. From any thread.
HOST_API std::size_t FailedThreads();

}  // namespace HostKit
