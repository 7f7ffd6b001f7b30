// Parsing the command line.
#pragma once

#include <optional>
#include <set>
#include <string>
#include <vector>

#include "console/base/Options.h"
#include "console/base/Output.h"

namespace Console {

// Parses the arguments, which do not include the program's name. Throws `Failure` on a usage error.
// `options` then contains at least the output format, if it is valid, so that the failure can be
// reported in that format.
void ParseCommandLine(const std::vector<std::string>& arguments, Options& options);

// Derives the style from the options, the environment and the width of the terminal; 0: standard
// output is not a terminal.
Style DecideStyle(const Options& options, std::size_t terminalWidth);

}  // namespace Console
