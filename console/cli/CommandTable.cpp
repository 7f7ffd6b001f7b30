#include "console/cli/CommandTable.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>

#include "console/base/Failure.h"
#include "console/cli/OptionTable.h"

namespace Console {
namespace {

void CheckCount(const Command& command, std::size_t count) {
  if (count >= command.m_Least && count <= command.m_Most) return;
  throw UsageFailure(fmt::format("{} has too {} arguments", command.m_Name,
                                 count < command.m_Least ? "few" : "many"),
                     {fmt::format("Use: corvane-host {}", Synopsis(command)),
                      fmt::format("See: corvane-host help {}", command.m_Name)});
}

void CheckForm(const Command& command, const std::string& form) {
  const std::vector<std::string>& forms = command.m_Forms;
  if (form.empty() || std::find(forms.begin(), forms.end(), form) != forms.end()) return;
  throw UsageFailure(fmt::format("{} has no form '{}'", command.m_Name, form),
                     {fmt::format("It has: {}", fmt::join(forms, ", "))});
}

// A file behind a space is a word of its own, since --simulate may stand alone.
void RequireNoFile(const Options& options) {
  const std::string& word = options.m_Words.front();
  const bool alone = options.m_Simulate && options.m_Simulate->empty();
  if (!alone || word.find('/') == std::string::npos) return;
  throw UsageFailure(fmt::format("there is no command '{}'", word),
                     {fmt::format("If it is the file of the cards: --simulate={}", word)});
}

void CheckOptions(const CommandTable& commands, const Command& command, const Options& options) {
  for (const std::string& name : options.m_Given) {
    const OptionRow& row = *FindOption(name);
    if (HasOption(command, row)) continue;
    throw UsageFailure(
        fmt::format("{} has no option {}", command.m_Name, name),
        {fmt::format("Commands that have it: {}", fmt::join(CommandsWith(commands, row), ", ")),
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
  std::vector<std::string> advice = DidYouMean(name, names);
  advice.push_back(fmt::format("Commands: {}", fmt::join(names, ", ")));
  throw UsageFailure(fmt::format("there is no command '{}'", name), advice);
}

const Command& CommandTable::Choose(const Options& options) const {
  if (options.m_Words.empty()) throw UsageFailure("a command is missing");
  RequireNoFile(options);
  const Command& command = Require(options.m_Words.front());
  CheckCount(command, options.m_Words.size() - 1);
  CheckForm(command, options.m_Form);
  CheckOptions(*this, command, options);
  return command;
}

bool HasOption(const Command& command, const OptionRow& row) {
  const std::vector<std::string>& own = command.m_Options;
  return row.m_Common || std::find(own.begin(), own.end(), row.m_Long) != own.end();
}

std::vector<std::string> CommandsWith(const CommandTable& commands, const OptionRow& row) {
  std::vector<std::string> names;
  for (const Command& command : commands) {
    if (!row.m_Common && HasOption(command, row)) names.emplace_back(command.m_Name);
  }
  return names;
}

const char* GroupName(Group group) {
  switch (group) {
    case Group::Inspect:
      return "Look";
    case Group::Change:
      return "Do";
    case Group::Export:
      return "Export";
    case Group::Help:
      return "Help";
    case Group::Hidden:
      break;
  }
  return "";
}

std::string Synopsis(const Command& command) {
  const std::string arguments = command.m_Arguments;
  return arguments.empty() ? command.m_Name : fmt::format("{} {}", command.m_Name, arguments);
}

}  // namespace Console
