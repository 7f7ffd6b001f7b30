#include "console/Commands.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <limits>

#include "console/Failure.h"
#include "console/Help.h"
#include "console/OptionTable.h"
#include "console/commands/All.h"

namespace Console {
namespace {

constexpr std::size_t kAny = std::numeric_limits<std::size_t>::max();

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

void CheckOptions(const Command& command, const Options& options) {
  for (const std::string& name : options.m_Given) {
    const OptionRow& row = *FindOption(name);
    if (BelongsTo(row, command.m_Name)) continue;
    throw UsageFailure(fmt::format("{} has no option {}", command.m_Name, name),
                       {fmt::format("Commands that have it: {}", fmt::join(row.m_Commands, ", ")),
                        fmt::format("See: corvane-host help {}", command.m_Name)});
  }
}

// A file behind a space is a word of its own, since --simulate may stand alone.
void RequireNoFile(const Options& options) {
  const std::string& word = options.m_Words.front();
  const bool alone = options.m_Simulate && options.m_Simulate->empty();
  if (!alone || word.find('/') == std::string::npos) return;
  throw UsageFailure(fmt::format("there is no command '{}'", word),
                     {fmt::format("If it is the file of the cards: --simulate={}", word)});
}

}  // namespace

// clang-format off
const std::vector<Command>& AllCommands() {
  static const std::vector<Command> all = {
      // group      name          arguments           least most  summary
      {Group::Look, "list",       "",                  0, 0,    "Adapters and drives with status, temperature and reserve",
       {"table", "tsv", "json", "jsonl", "value"}, RunList},
      {Group::Look, "tree",       "",                  0, 0,    "The same as a tree, with the plug-in above",
       {"tree", "table", "tsv", "json", "jsonl", "value"}, RunTree},
      {Group::Look, "show",       "OBJ",               1, 1,    "Everything about one object",
       {"table", "tsv", "json"}, RunShow},
      {Group::Look, "get",        "OBJ [PROP...]",     1, kAny, "Bare values for scripts, one a line",
       {"value", "table", "tsv", "json"}, RunGet},
      {Group::Look, "status",     "[OBJ]",             0, 1,    "What is wrong, why, and what to do",
       {"table", "tsv", "json", "jsonl"}, RunStatus},
      {Group::Look, "check",      "[OBJ]",             0, 1,    "One line, figures and an exit code for monitoring systems",
       {"table", "json"}, RunCheck},
      {Group::Look, "events",     "[OBJ]",             0, 1,    "What has happened, also earlier; -f waits for more",
       {"table", "tsv", "json", "jsonl"}, RunEvents},
      {Group::Look, "watch",      "",                  0, 0,    "Cards and events live, on the whole terminal",
       {"table", "jsonl"}, RunWatch},
      {Group::Look, "wait",       "OBJ COND",          2, 2,    "Until an object is ok, attached, gone, ..., or PROP=VALUE",
       {"table", "tsv", "json", "value"}, RunWait},
      {Group::Look, "rows",       "[TABLE]",           0, 1,    "What plug-ins have written into the host's database",
       {"table", "tsv", "json"}, RunRows},
      {Group::Do,   "set",        "OBJ PROP=VALUE",    2, 2,    "Change a property",
       {"table", "tsv", "json"}, RunSet},
      {Group::Do,   "locate",     "OBJ on|off",        2, 2,    "Light a card, to find it in the machine",
       {"table", "tsv", "json"}, RunLocate},
      {Group::Do,   "attach",     "OBJ",               1, 1,    "Make a card's drive available to the system",
       {"table", "tsv", "json", "jsonl"}, RunAttach},
      {Group::Do,   "detach",     "OBJ",               1, 1,    "Take a card's drive away from the system",
       {"table", "tsv", "json", "jsonl"}, RunDetach},
      {Group::Do,   "format",     "DRIVE",             1, 1,    "Erase a drive and give it a new capacity or sectors",
       {"table", "tsv", "json", "jsonl"}, RunFormat},
      {Group::Do,   "online",     "DRIVE",             1, 1,    "Bring the storage units of a drive online",
       {"table", "tsv", "json"}, RunOnline},
      {Group::Do,   "offline",    "DRIVE",             1, 1,    "Take the storage units of a drive offline",
       {"table", "tsv", "json"}, RunOffline},
      {Group::Do,   "op",         "list|check|run OBJ [OP] [ARG=VALUE...]", 2, kAny,
       "Any operation, by the plug-in's own name or number",
       {"table", "tsv", "json", "jsonl"}, RunOp},
      {Group::Export, "metrics",  "",                  0, 0,    "Figures for Prometheus and other collectors (OpenMetrics)",
       {"table", "json"}, RunMetrics},
      {Group::Help, "explain",    "ID",                1, 1,    "What a number or name means, and what to do about it",
       {"table", "tsv", "json"}, RunExplain},
      {Group::Help, "completion", "SHELL",             1, 1,    "A script that teaches bash, zsh or fish to complete commands",
       {"value"}, RunCompletion},
      {Group::Help, "plugin",     "",                  0, 0,    "What is loaded: file, interface and exported symbols",
       {"table", "tsv", "json"}, RunPlugin},
      {Group::Help, "help",       "[COMMAND]",         0, 2,    "This, or all about one command",
       {"table", "json"}, RunHelp},
      {Group::Help, "version",    "",                  0, 0,    "The version of this program",
       {"value", "table", "json"}, RunVersion},
      {Group::None, "complete",   "WORD...",           1, kAny, "What may stand at the last word, for the scripts",
       {"value"}, RunComplete},
  };
  return all;
}
// clang-format on

const Command* FindCommand(const std::string& name) {
  for (const Command& command : AllCommands()) {
    if (name == command.m_Name) return &command;
  }
  return nullptr;
}

const Command& RequireCommand(const std::string& name) {
  if (const Command* found = FindCommand(name)) return *found;
  std::vector<std::string> names;
  for (const Command& command : AllCommands()) {
    if (command.m_Group != Group::None) names.emplace_back(command.m_Name);
  }
  std::vector<std::string> advice = DidYouMean(name, names);
  advice.push_back(fmt::format("Commands: {}", fmt::join(names, ", ")));
  throw UsageFailure(fmt::format("there is no command '{}'", name), advice);
}

const Command& ChooseCommand(const Options& options) {
  if (options.m_Words.empty()) throw UsageFailure("a command is missing");
  RequireNoFile(options);
  const Command& command = RequireCommand(options.m_Words.front());
  CheckCount(command, options.m_Words.size() - 1);
  CheckForm(command, options.m_Form);
  CheckOptions(command, options);
  return command;
}

}  // namespace Console
