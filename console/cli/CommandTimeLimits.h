// How long each command waits for a plug-in that does not respond.
#pragma once

#include "console/base/Options.h"
#include "console/cli/CommandTable.h"
#include "console/plugin/TimeLimits.h"

namespace Console {

// From --timeout and the kind of the command. Throws `Failure` for an invalid --timeout.
TimeLimits LimitsOf(const Command& command, const Options& options);

}  // namespace Console
