// Texts of the help that do not belong to one command.
#pragma once

#include <string>
#include <vector>

#include "console/cli/CommandTable.h"

namespace Console {

struct ArgumentText {
  const char* m_Word;  // as in the command rows, without brackets and dots
  const char* m_Meaning;
};

// The words of an argument list such as "OBJ [PROP...]", without brackets and dots.
std::vector<std::string> ArgumentWords(const std::string& arguments);

// The meaning of a word of an argument list; empty if it has no text.
std::string ArgumentMeaning(const std::string& word);

// The exit codes that all commands share.
const std::vector<Exit>& CommonExits();

// The text with a capital letter and a full stop.
std::string Sentence(std::string text);

}  // namespace Console
