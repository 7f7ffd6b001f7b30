// Advisory locks on open files.
#pragma once

#include <chrono>

#include "base/Descriptor.h"

namespace Base {

// Takes the exclusive lock on a file, which is released when the file is closed. Returns 0 or an
// errno: EWOULDBLOCK if the lock is still held at the timeout by another process, or by this
// process through another descriptor.
int Lock(const Descriptor& file, std::chrono::milliseconds timeout);

}  // namespace Base
