// The text of the help.
#pragma once

#include <string>

#include "console/cli/CommandTable.h"

namespace Console {

// Returns the help for the program.
std::string GeneralHelp(const CommandTable& commands);
// Returns the help for one command.
std::string CommandHelp(const Command& command);

}  // namespace Console
