// The help as text: of everything, and of one command.
#pragma once

#include <string>

#include "console/Commands.h"

namespace Console {

// "Look", "Do", "Export", "Help".
const char* GroupName(Group group);

// "get OBJ [PROP...]".
std::string Synopsis(const Command& command);

std::string GeneralHelp();
std::string CommandHelp(const Command& command);

}  // namespace Console
