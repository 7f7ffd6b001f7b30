// All commands: one table for dispatch, checks and help.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "console/Answer.h"
#include "console/Context.h"

namespace Console {

struct Command {
  const char* m_Name;
  const char* m_Arguments;  // as the help shows them
  std::size_t m_Least;      // number of arguments
  std::size_t m_Most;
  const char* m_Summary;
  std::vector<std::string> m_Forms;    // the first one is the command's own
  std::vector<std::string> m_Special;  // options that it has beyond everybody's
  Answer (*m_Run)(Context&);
};

const std::vector<Command>& AllCommands();

// The command of that name, or null.
const Command* FindCommand(const std::string& name);

// Finds the command of the first word and checks arguments, form and options against its row.
// Throws `Failure` for what does not fit.
const Command& ChooseCommand(const Options& options);

}  // namespace Console
