// Prompts on the terminal.
#pragma once

#include <string>

#include "console/base/Options.h"

namespace Console {

// Whether a prompt is possible: standard input and standard error are terminals, and --no-input is
// not set.
bool CanPrompt(const Options& options);

// Whether standard error is a terminal on which the current line can be rewritten.
bool CanRewriteLine();

// Prompts on standard error and returns the line typed, trimmed; empty at the end of input. Throws
// `Stopped` on a stop signal.
std::string PromptLine(const std::string& question);

}  // namespace Console
