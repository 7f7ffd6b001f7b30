// The rows of all commands: one table for dispatch, checks, help and completion.
#pragma once

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "console/render/CommandResult.h"
#include "console/report/CommandContext.h"

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
  CommandResult (*m_Run)(Context&);
};

// All commands, in the order in which the help shows them; those of a group stand together.
class CommandTable {
 public:
  explicit CommandTable(std::vector<Command> commands) : m_Commands(std::move(commands)) {}

  auto begin() const { return m_Commands.begin(); }
  auto end() const { return m_Commands.end(); }

  // The command of that name, or null.
  const Command* Find(const std::string& name) const;

  // The command of that name. Throws `Failure` with a better one.
  const Command& Require(const std::string& name) const;

  // Finds the command of the first word and checks arguments, form and options against its row.
  // Throws `Failure` for what does not fit.
  const Command& Choose(const Options& options) const;

 private:
  const std::vector<Command> m_Commands;
};

// "Look", "Do", "Export", "Help".
const char* GroupName(Group group);

// "get OBJ [PROP...]".
std::string Synopsis(const Command& command);

}  // namespace Console
