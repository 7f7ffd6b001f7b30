// A command for a monitoring system, in a process of its own.
#pragma once

#include "console/cli/RunCommand.h"

namespace Console {

// Runs the command like `RunCommand`, in another process, so that a monitoring system gets a result
// in time whatever the plug-in does. Call before any thread starts.
ExitCode RunIsolated(Invocation invocation);

}  // namespace Console
