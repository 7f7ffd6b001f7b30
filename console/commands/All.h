// All commands of the program.
#pragma once

#include "console/cli/CommandTable.h"

namespace Console {

// The table of all commands, in the order of the help. Built at the first call; lives as long as
// the program. From any thread.
const CommandTable& AllCommands();

}  // namespace Console
