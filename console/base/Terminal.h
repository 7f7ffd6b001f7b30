// Questions to the person in front of the terminal.
#pragma once

#include <string>

#include "console/base/Options.h"

namespace Console {

// Whether somebody can be asked: both standard input and standard error are a terminal, and the
// options do not forbid it.
bool CanAsk(const Options& options);

// Whether standard error is a terminal whose line can be written over.
bool CanRewriteLine();

// Asks on standard error and gives the line typed, without white space around it; empty at the end
// of input. Throws `Stopped` when a signal came.
std::string AskLine(const std::string& question);

}  // namespace Console
