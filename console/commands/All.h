// All commands of the program.
#pragma once

#include "console/cli/CommandTable.h"

namespace Console {

// Returns the table of all commands, in the order of the help. The table is valid until the program
// exits. Thread-safe.
const CommandTable& AllCommands();

}  // namespace Console
