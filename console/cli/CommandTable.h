// The command table, used for dispatch, checks, help and completion.
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

// Command groups in the help. Hidden commands are for programs and are omitted from the help.
enum class Group { Inspect, Change, Service, Help, Hidden };

// The scope of --timeout.
enum class TimeoutScope {
  Reading,  // the complete command, or each call if the command follows events
  Call,     // each call to the plug-in
  Wait      // the command's wait; each call to the plug-in has the default limit
};

inline constexpr std::size_t kAnyNumber = std::numeric_limits<std::size_t>::max();

// An exit code and its meaning.
struct Exit {
  int m_Code;
  const char* m_Meaning;
};

struct Example {
  const char* m_Line;  // without the program's name
  const char* m_Effect;
  bool m_General = false;  // shown in the general help too
};

// One command. Dispatch, checks, help, completion and the manual page are derived from this row.
struct Command {
  Group m_Group = Group::Inspect;
  const char* m_Name = "";
  const char* m_Arguments = "";    // as the help shows them
  std::size_t m_MinArguments = 0;  // number of arguments
  std::size_t m_MaxArguments = 0;
  const char* m_Summary = "";
  std::vector<std::string> m_OutputFormats;  // the first one is the default
  std::vector<std::string> m_Options;        // in addition to the common options
  std::vector<std::string> m_Properties;     // possible values of PROP; if empty, all properties
  bool m_NeedsPlugin = false;                // reports the current state; stale values are an error
  TimeoutScope m_TimeoutScope = TimeoutScope::Reading;
  CommandResult (*m_Run)(Context&) = nullptr;
  const char* m_Description = "";  // one or two sentences
  const char* m_Danger = "";       // what can be lost; empty: nothing
  std::vector<Exit> m_Exits;       // exit codes with a specific meaning for this command
  std::vector<Example> m_Examples;
};

// All commands, in the order in which the help shows them; the commands of a group are adjacent.
class CommandTable {
 public:
  explicit CommandTable(std::vector<Command> commands) : m_Commands(std::move(commands)) {}

  auto begin() const { return m_Commands.begin(); }
  auto end() const { return m_Commands.end(); }

  // Returns the command `name`, or null.
  const Command* Find(const std::string& name) const;

  // Returns the command `name`. If there is none, throws a `Failure` that suggests a similar name.
  const Command& Require(const std::string& name) const;

  // Returns the command that the first word names, after checking the arguments, output format and
  // options against the command's row. Throws `Failure` on a usage error.
  const Command& Resolve(const Options& options) const;

 private:
  const std::vector<Command> m_Commands;
};

// Whether `command` accepts the option.
bool HasOption(const Command& command, const OptionRow& row);

// Returns the names of the commands that accept an option; empty for a common option.
std::vector<std::string> CommandsWith(const CommandTable& commands, const OptionRow& row);

// Returns the name in JSON: "Look", "Do", "Service", "Help".
const char* GroupName(Group group);

// Returns the heading in the help: "Inspect", "Change", "Service", "Help".
const char* GroupHeading(Group group);

// Returns the command and its arguments, such as "get OBJ [PROP...]".
std::string Synopsis(const Command& command);

}  // namespace Console
