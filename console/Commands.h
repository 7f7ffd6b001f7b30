// All commands: one table for dispatch, checks, help and completion. Their options are in
// OptionTable.cpp, what the help of each one tells beyond its row in HelpTexts.cpp.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "console/Answer.h"
#include "console/Context.h"

namespace Console {

// What a person wants from a command; none is for programs alone, and in no help.
enum class Group { Look, Do, Export, Help, None };

struct Command {
  Group m_Group;
  const char* m_Name;
  const char* m_Arguments;  // as the help shows them
  std::size_t m_Least;      // number of arguments
  std::size_t m_Most;
  const char* m_Summary;
  std::vector<std::string> m_Forms;  // the first one is the command's own
  Answer (*m_Run)(Context&);
};

// In the order in which the help shows them; those of a group stand together.
const std::vector<Command>& AllCommands();

// The command of that name, or null.
const Command* FindCommand(const std::string& name);

// The command of that name. Throws `Failure` with a better one.
const Command& RequireCommand(const std::string& name);

// Finds the command of the first word and checks arguments, form and options against its row.
// Throws `Failure` for what does not fit.
const Command& ChooseCommand(const Options& options);

}  // namespace Console
