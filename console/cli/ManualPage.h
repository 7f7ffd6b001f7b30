// The parts of the manual page that the tables of commands and options give, as scdoc source.
#pragma once

#include <string>

#include "console/cli/CommandTable.h"

namespace Console {

// `page` with each line @COMMANDS@, @OPTIONS@ and @EXIT_STATUS@ replaced by its part.
std::string FillManualPage(const std::string& page, const CommandTable& commands);

}  // namespace Console
