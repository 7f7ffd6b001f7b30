// A command for a monitoring system, in a process of its own.
#pragma once

#include "console/cli/RunCommand.h"

namespace Console {

// Runs the command as `RunCommand` does, with the plug-in in another process: a monitoring system
// gets its answer in time whatever the plug-in does. Call before any thread starts.
ExitCode RunIsolated(Start start);

}  // namespace Console
