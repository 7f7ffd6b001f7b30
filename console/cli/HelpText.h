// The text of the help.
#pragma once

#include <string>

#include "console/cli/CommandTable.h"

namespace Console {

// Of the whole program.
std::string GeneralHelp(const CommandTable& commands);
// Of one command.
std::string CommandHelp(const Command& command);

}  // namespace Console
