// Names of commands and options in other programs, which people type out of habit.
#pragma once

#include <string>

namespace Console {

// Returns the command of this program that does what people expect of `word`, or null.
const char* SuggestedCommand(const std::string& word);

// Returns the option of `command`, with its dashes, that does what people expect of `option`, or
// null. Some options are followed by a value.
const char* SuggestedOption(const std::string& command, const std::string& option);

}  // namespace Console
