// Time limits for commands whose plug-in does not respond.
#pragma once

#include "console/base/Options.h"
#include "console/cli/CommandTable.h"
#include "console/plugin/TimeLimits.h"

namespace Console {

// Returns the limits of `command` from --timeout and the defaults. Throws `Failure` if --timeout is
// invalid.
TimeLimits LimitsOf(const Command& command, const Options& options);

}  // namespace Console
