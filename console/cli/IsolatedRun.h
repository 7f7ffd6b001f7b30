// Runs a command for a monitoring system in a separate process.
#pragma once

#include "console/cli/RunCommand.h"

namespace Console {

// Runs the command like `RunCommand`, but in a separate process, so that the monitoring system gets
// a result in time even if the plug-in hangs or crashes. Call before starting any thread, because
// it forks.
ExitCode RunIsolated(Invocation invocation);

}  // namespace Console
