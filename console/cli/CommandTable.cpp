#include "console/cli/CommandTable.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>

#include "console/base/Failure.h"
#include "console/cli/FamiliarNames.h"
#include "console/cli/OptionTable.h"

namespace Console {
namespace {

struct GroupRow {
  Group m_Group;
  const char* m_Name;     // in JSON; must not change
  const char* m_Heading;  // in the help
};

constexpr GroupRow kGroups[] = {
    {Group::Inspect, "Look", "Inspect"},
    {Group::Change, "Do", "Change"},
    {Group::Service, "Service", "Service"},
    {Group::Help, "Help", "Help"},
    {Group::Hidden, "", ""},
};

const GroupRow& RowOf(Group group) {
  return *std::find_if(std::begin(kGroups), std::end(kGroups),
                       [&](const GroupRow& row) { return row.m_Group == group; });
}

std::string UnknownCommandText(const std::string& word) {
  return fmt::format("{}: unknown command", word);
}

// Returns the first example; the name alone if there is none.
std::string ExampleOf(const Command& command) {
  return command.m_Examples.empty() ? command.m_Name : command.m_Examples.front().m_Line;
}

void CheckCount(const Command& command, std::size_t count) {
  if (count >= command.m_MinArguments && count <= command.m_MaxArguments) return;
  throw UsageFailure(count < command.m_MinArguments ? "too few arguments" : "too many arguments",
                     {fmt::format("Usage: corvane-host {}", Synopsis(command)),
                      fmt::format("For example: corvane-host {}", ExampleOf(command)),
                      fmt::format("See: corvane-host help {}", command.m_Name)});
}

void CheckOutputFormat(const Command& command, const std::string& format) {
  const std::vector<std::string>& formats = command.m_OutputFormats;
  if (format.empty() || std::find(formats.begin(), formats.end(), format) != formats.end()) return;
  throw UsageFailure(fmt::format("does not support --output {}", format),
                     {fmt::format("Supported: {}", fmt::join(formats, ", "))});
}

// The value of --simulate is optional, so "--simulate FILE" is parsed as --simulate and the command
// FILE.
void RejectFileAsCommand(const Options& options) {
  const std::string& word = options.m_Words.front();
  const bool hasNoValue = options.m_Simulate && options.m_Simulate->empty();
  if (!hasNoValue || word.find('/') == std::string::npos) return;
  throw UsageFailure(
      UnknownCommandText(word),
      {fmt::format("To use it as the file of simulated cards: --simulate={}", word)});
}

// Like `RejectFileAsCommand`, for a file after the command. A path can also name an object, so it
// is treated as the file only if the command has an extra argument.
void RejectFileAsArgument(const Command& command, const Options& options) {
  const std::string& word = options.m_Words.back();
  const bool hasNoValue = options.m_Simulate && options.m_Simulate->empty();
  const bool hasExtraArgument = options.m_Words.size() - 1 > command.m_MaxArguments;
  if (!hasNoValue || !hasExtraArgument || word.find_first_of("/.") == std::string::npos) return;
  throw UsageFailure(
      fmt::format("unexpected argument '{}'", word),
      {fmt::format("To use it as the file of simulated cards: --simulate={}", word)});
}

void CheckOptions(const CommandTable& commands, const Command& command, const Options& options) {
  for (const std::string& name : options.m_Given) {
    const OptionRow& row = *FindOption(name);
    if (HasOption(command, row)) continue;
    throw UsageFailure(
        fmt::format("does not accept {}", name),
        {fmt::format("Commands that accept it: {}", fmt::join(CommandsWith(commands, row), ", ")),
         fmt::format("See: corvane-host help {}", command.m_Name)});
  }
}

}  // namespace

const Command* CommandTable::Find(const std::string& name) const {
  for (const Command& command : m_Commands) {
    if (name == command.m_Name) return &command;
  }
  return nullptr;
}

const Command& CommandTable::Require(const std::string& name) const {
  if (const Command* found = Find(name)) return *found;
  std::vector<std::string> names;
  for (const Command& command : m_Commands) {
    if (command.m_Group != Group::Hidden) names.emplace_back(command.m_Name);
  }
  const char* const suggested = SuggestedCommand(name);
  std::vector<std::string> advice = DidYouMean(suggested == nullptr ? name : suggested, names);
  advice.push_back(fmt::format("Commands: {}", fmt::join(names, ", ")));
  throw UsageFailure(UnknownCommandText(name), advice);
}

const Command& CommandTable::Resolve(const Options& options) const {
  if (options.m_Words.empty()) throw UsageFailure("missing command");
  RejectFileAsCommand(options);
  const Command& command = Require(options.m_Words.front());
  RejectFileAsArgument(command, options);
  CheckCount(command, options.m_Words.size() - 1);
  CheckOutputFormat(command, options.m_OutputFormat);
  CheckOptions(*this, command, options);
  return command;
}

bool HasOption(const Command& command, const OptionRow& row) {
  const std::vector<std::string>& accepted = command.m_Options;
  return row.m_Common || std::find(accepted.begin(), accepted.end(), row.m_Long) != accepted.end();
}

std::vector<std::string> CommandsWith(const CommandTable& commands, const OptionRow& row) {
  std::vector<std::string> names;
  for (const Command& command : commands) {
    if (!row.m_Common && HasOption(command, row)) names.emplace_back(command.m_Name);
  }
  return names;
}

const char* GroupName(Group group) {
  return RowOf(group).m_Name;
}

const char* GroupHeading(Group group) {
  return RowOf(group).m_Heading;
}

std::string Synopsis(const Command& command) {
  const std::string arguments = command.m_Arguments;
  return arguments.empty() ? command.m_Name : fmt::format("{} {}", command.m_Name, arguments);
}

}  // namespace Console
