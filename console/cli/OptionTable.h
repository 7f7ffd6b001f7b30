// The option table, used for parsing, checks, help, the manual page and completion.
#pragma once

#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "console/base/Options.h"

namespace Console {

// The member of `Options` that stores the option's value.
using OptionField =
    std::variant<bool Options::*, std::string Options::*, std::optional<std::string> Options::*,
                 std::vector<std::string> Options::*>;

struct OptionRow {
  const char* m_Short;  // "-o", or empty
  const char* m_Long;   // "--output"
  const char* m_Value;  // "FORMAT"; in brackets if optional; empty for a flag
  OptionField m_Field;
  bool m_Common;  // whether all commands accept it
  const char* m_Help;
  std::vector<std::string> m_Choices = {};  // named values
  bool m_OnlyChoices = false;               // whether other values are errors
  const char* m_Manual = "";                // additional text for the manual page
};

// Returns all options, in the order of the help.
const std::vector<OptionRow>& AllOptions();

// Returns the option with the long or short name `name`, or null.
const OptionRow* FindOption(const std::string& name);

// Whether the option requires a value, as in "-o json"; false for flags and for --simulate, whose
// value is optional.
bool RequiresValue(const OptionRow& row);

// Returns the option as in the help: "-o, --output FORMAT", "--simulate[=FILE]".
std::string OptionSynopsis(const OptionRow& row);

}  // namespace Console
