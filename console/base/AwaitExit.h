// Waits with a deadline for a child process to exit.
#pragma once

#include <sys/types.h>

#include <optional>

#include "console/base/Deadline.h"

namespace Console {

// Waits for a child to exit, and reaps it. Returns the status of waitpid(), or 0 if the child was
// reaped already. Returns empty at the deadline: a process that hangs in the kernel cannot be
// killed.
std::optional<int> AwaitExit(pid_t child, const Deadline& deadline);

}  // namespace Console
