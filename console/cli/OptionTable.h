// All options: one table for parsing, checks, help, manual page and completion.
#pragma once

#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "console/base/Options.h"

namespace Console {

// The field of `Options` that holds what was given.
using OptionField =
    std::variant<bool Options::*, std::string Options::*, std::optional<std::string> Options::*,
                 std::vector<std::string> Options::*>;

struct OptionRow {
  const char* m_Short;  // "-o", or empty
  const char* m_Long;   // "--output"
  const char* m_Value;  // "FORM"; in brackets if optional; empty for a flag
  OptionField m_Field;
  bool m_Common;  // whether all commands have it
  const char* m_Help;
  std::vector<std::string> m_Choices = {};  // named values
  bool m_OnlyChoices = false;               // whether other values are errors
  const char* m_Manual = "";                // what only the manual page says
};

// In the order in which the help shows them.
const std::vector<OptionRow>& AllOptions();

// The row by its long or short name, or null.
const OptionRow* FindOption(const std::string& name);

// Whether the next word is its value: "-o json", but not "--simulate".
bool TakesNextWord(const OptionRow& row);

// "-o, --output FORM", "--simulate[=FILE]".
std::string OptionSynopsis(const OptionRow& row);

}  // namespace Console
