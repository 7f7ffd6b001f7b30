// Parsing the command line.
#pragma once

#include <optional>
#include <set>
#include <string>
#include <vector>

#include "console/base/Options.h"
#include "console/base/Output.h"

namespace Console {

// Parses the arguments, which do not include the program's name. Throws `Failure` on a usage error;
// `options` then has what was parsed so far, so that the failure is reported in the requested
// format.
void ParseCommandLine(const std::vector<std::string>& arguments, Options& options);

// From options, environment and terminal.
Style DecideStyle(const Options& options, std::size_t terminalWidth);

}  // namespace Console
