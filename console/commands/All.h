// All commands of the program.
#pragma once

#include "console/cli/CommandTable.h"

namespace Console {

const CommandTable& AllCommands();

}  // namespace Console
