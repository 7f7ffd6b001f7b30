// Advisory locks on open files.
#pragma once

#include <chrono>

#include "base/Descriptor.h"

namespace Base {

// Takes the exclusive lock on a file, which is released when the file is closed. Returns 0 or an
// errno: EWOULDBLOCK if another process still holds the lock at the timeout.
int Lock(const Descriptor& file, std::chrono::milliseconds timeout);

}  // namespace Base
