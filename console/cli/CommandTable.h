// The rows of all commands: one table for dispatch, checks, help and completion.
#pragma once

#include <cstddef>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "console/cli/OptionTable.h"
#include "console/render/CommandResult.h"
#include "console/report/CommandContext.h"

namespace Console {

// Groups of the help; hidden commands are for programs and not in the help.
enum class Group { Inspect, Change, Service, Help, Hidden };

// What --timeout limits.
enum class TimeoutScope {
  Reading,  // all that the command reads; each call of a command that follows events
  Call,     // each call of the plug-in
  Wait      // what the command waits for; its calls have the default
};

inline constexpr std::size_t kAnyNumber = std::numeric_limits<std::size_t>::max();

// An exit code with what it means for one command.
struct Exit {
  int m_Code;
  const char* m_Meaning;
};

struct Example {
  const char* m_Line;  // without the program's name
  const char* m_Effect;
  bool m_General = false;  // shown in the general help too
};

// Everything about a command: dispatch, checks, help, completion and manual page derive from it.
struct Command {
  Group m_Group = Group::Inspect;
  const char* m_Name = "";
  const char* m_Arguments = "";  // as the help shows them
  std::size_t m_Min = 0;         // number of arguments
  std::size_t m_Max = 0;
  const char* m_Summary = "";
  std::vector<std::string> m_Forms;    // the first one is the default
  std::vector<std::string> m_Options;  // in addition to those of all commands
  TimeoutScope m_TimeoutScope = TimeoutScope::Reading;
  CommandResult (*m_Run)(Context&) = nullptr;
  const char* m_Description = "";  // one or two sentences
  const char* m_Danger = "";       // what can be lost; empty: nothing
  std::vector<Exit> m_Exits;       // what an exit code means for this command
  std::vector<Example> m_Examples;
};

// All commands, in the order in which the help shows them; the commands of a group are adjacent.
class CommandTable {
 public:
  explicit CommandTable(std::vector<Command> commands) : m_Commands(std::move(commands)) {}

  auto begin() const { return m_Commands.begin(); }
  auto end() const { return m_Commands.end(); }

  // The command of that name, or null.
  const Command* Find(const std::string& name) const;

  // The command of that name. Throws `Failure` that suggests a similar one.
  const Command& Require(const std::string& name) const;

  // Finds the command that the first word names, and checks arguments, format and options against
  // its row. Throws `Failure` on a usage error.
  const Command& Choose(const Options& options) const;

 private:
  const std::vector<Command> m_Commands;
};

// Whether the row is an option of that command, or of all.
bool HasOption(const Command& command, const OptionRow& row);

// The names of the commands that accept an option, empty for a common one.
std::vector<std::string> CommandsWith(const CommandTable& commands, const OptionRow& row);

// For programs: "Look", "Do", "Service", "Help".
const char* GroupName(Group group);

// For people: "Inspect", "Change", "Service", "Help".
const char* GroupHeading(Group group);

// "get OBJ [PROP...]".
std::string Synopsis(const Command& command);

}  // namespace Console
