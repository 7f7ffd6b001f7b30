// The command line as values.
#pragma once

#include <optional>
#include <set>
#include <string>
#include <vector>

#include "console/base/Options.h"
#include "console/base/Output.h"

namespace Console {

// Reads the arguments without the program's name. Throws `Failure` for what it does not know; as
// much of `options` as was understood is then set, so that the failure is told in the right form.
void ParseCommandLine(const std::vector<std::string>& arguments, Options& options);

// Options, environment and terminal together.
Style DecideStyle(const Options& options, std::size_t terminalWidth);

}  // namespace Console
