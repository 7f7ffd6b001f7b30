// What the help of a command tells beyond its row in the table of commands.
#pragma once

#include <string>
#include <vector>

namespace Console {

struct Exit {
  int m_Code;
  const char* m_Meaning;
};

struct Example {
  const char* m_Line;  // without the program's name
  const char* m_Effect;
  bool m_General = false;  // stands in the general help too
};

struct HelpText {
  const char* m_Command;
  const char* m_Description;  // a sentence or two
  const char* m_Danger;       // what can be lost or cut off; empty when nothing can
  std::vector<Exit> m_Exits;  // what a code means for this command
  std::vector<Example> m_Examples;
};

struct ArgumentText {
  const char* m_Word;  // as it stands in the table of commands, without brackets and dots
  const char* m_Meaning;
};

// Null for a command without a text.
const HelpText* FindHelpText(const std::string& command);

// The words of an argument list such as "OBJ [PROP...]", without brackets and dots.
std::vector<std::string> ArgumentWords(const std::string& arguments);

// What a word of an argument list stands for; empty for one without a text.
std::string ArgumentMeaning(const std::string& word);

// The exit codes that all commands share.
const std::vector<Exit>& CommonExits();

}  // namespace Console
