// Threads that a module asked for and did not get. The module goes on without them, and only its
// host can tell somebody.
#pragma once

#include <cstddef>

#include "host/Visibility.h"

namespace HostKit {

// How many threads of this process could not be started so far, as for want of memory or because
// of a limit.
HOST_API std::size_t FailedThreads();

}  // namespace HostKit
