// Help topics that several commands share.
#pragma once

#include <string>
#include <vector>

#include "console/cli/CommandTable.h"

namespace Console {

struct ArgumentText {
  const char* m_Word;  // as in the command rows, without brackets and dots
  const char* m_Meaning;
};

// Returns the words of an argument list such as "OBJ [PROP...]", without brackets and dots.
std::vector<std::string> ArgumentWords(const std::string& arguments);

// Returns the meaning of an argument word, or empty if the word has no text.
std::string ArgumentMeaning(const std::string& word);

// Returns the exit codes that all commands share.
const std::vector<Exit>& CommonExits();

// Returns the text with a capital first letter and a final period.
std::string Sentence(std::string text);

}  // namespace Console
