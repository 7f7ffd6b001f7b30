// Generates parts of the manual page from the command and option tables, as scdoc source.
#pragma once

#include <string>

#include "console/cli/CommandTable.h"

namespace Console {

// Returns `page` with the lines @COMMANDS@, @OPTIONS@ and @EXIT_STATUS@ replaced by their parts.
std::string FillManualPage(const std::string& page, const CommandTable& commands);

}  // namespace Console
