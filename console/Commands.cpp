#include "console/Commands.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <limits>

#include "console/Failure.h"
#include "console/commands/All.h"

namespace Console {
namespace {

constexpr std::size_t kAny = std::numeric_limits<std::size_t>::max();

template <class Container>
bool Has(const Container& all, const std::string& one) {
  return std::find(all.begin(), all.end(), one) != all.end();
}

const Command& RequireCommand(const Options& options) {
  if (options.m_Words.empty()) throw UsageFailure("a command is missing");
  const std::string& name = options.m_Words.front();
  if (const Command* found = FindCommand(name)) return *found;
  std::vector<std::string> names;
  for (const Command& command : AllCommands()) names.emplace_back(command.m_Name);
  std::vector<std::string> advice = DidYouMean(name, names);
  advice.push_back(fmt::format("Commands: {}", fmt::join(names, ", ")));
  throw UsageFailure(fmt::format("there is no command '{}'", name), advice);
}

void CheckCount(const Command& command, std::size_t count) {
  if (count >= command.m_Least && count <= command.m_Most) return;
  throw UsageFailure(fmt::format("{} has too {} arguments", command.m_Name,
                                 count < command.m_Least ? "few" : "many"),
                     {fmt::format("Use: corvane-host {} {}", command.m_Name, command.m_Arguments)});
}

}  // namespace

// clang-format off
const std::vector<Command>& AllCommands() {
  static const std::vector<Command> all = {
      // name      arguments          least most  summary
      {"list",    "",                  0, 0,    "Adapters and drives, a table",
       {"table", "tsv", "json", "jsonl", "value"}, {"--columns"}, RunList},
      {"tree",    "",                  0, 0,    "Plug-in, adapters and drives, a tree",
       {"tree", "table", "tsv", "json", "jsonl", "value"}, {"--columns", "--long"}, RunTree},
      {"show",    "OBJ",               1, 1,    "Everything about one object",
       {"table", "tsv", "json"}, {}, RunShow},
      {"get",     "OBJ [PROP...]",     1, kAny, "Bare values, one a line",
       {"value", "table", "tsv", "json"}, {}, RunGet},
      {"set",     "OBJ PROP=VALUE",    2, 2,    "Change a property",
       {"table", "tsv", "json"}, {}, RunSet},
      {"locate",  "OBJ on|off",        2, 2,    "Switch the light of a card; --for keeps it on",
       {"table", "tsv", "json"}, {"--for", "--dry-run"}, RunLocate},
      {"attach",  "OBJ",               1, 1,    "Make a card's drive available to the system",
       {"table", "tsv", "json", "jsonl"}, {"--yes", "--dry-run", "--timeout"}, RunAttach},
      {"detach",  "OBJ",               1, 1,    "Take a card's drive away from the system",
       {"table", "tsv", "json", "jsonl"}, {"--force", "--yes", "--dry-run", "--timeout"}, RunDetach},
      {"online",  "DRIVE",             1, 1,    "Bring the storage units of a drive online",
       {"table", "tsv", "json"}, {"--yes", "--dry-run"}, RunOnline},
      {"offline", "DRIVE",             1, 1,    "Take the storage units of a drive offline",
       {"table", "tsv", "json"}, {"--yes", "--dry-run"}, RunOffline},
      {"format",  "DRIVE",             1, 1,    "Erase a drive and give it a new size or sectors",
       {"table", "tsv", "json", "jsonl"},
       {"--capacity", "--sector-size", "--confirm", "--yes", "--dry-run"}, RunFormat},
      {"op",      "list|check|run OBJ [OP] [ARG=VALUE...]", 2, kAny, "Any operation, by name or number",
       {"table", "tsv", "json", "jsonl"}, {"--yes", "--confirm", "--dry-run", "--timeout"}, RunOp},
      {"status",  "[OBJ]",             0, 1,    "What is wrong, why, and what to do",
       {"table", "tsv", "json", "jsonl"}, {}, RunStatus},
      {"events",  "[OBJ]",             0, 1,    "What has happened, also earlier: --since yesterday; -f waits for more",
       {"table", "tsv", "json", "jsonl"}, {"--follow", "--for", "--since", "--limit"}, RunEvents},
      {"watch",   "",                  0, 0,    "Cards and events live, on the whole terminal; -o table is plain",
       {"table", "jsonl"}, {"--for"}, RunWatch},
      {"wait",    "OBJ COND",          2, 2,    "Until OBJ is ok, attached, gone, ..., or PROP=VALUE",
       {"table", "tsv", "json", "value"}, {"--timeout"}, RunWait},
      {"rows",    "[TABLE]",           0, 1,    "What plug-ins have written of their objects; adapter, drive or plugin",
       {"table", "tsv", "json"}, {}, RunRows},
      {"explain", "ID",                1, 1,    "What a number or name of the vocabulary means",
       {"table", "tsv", "json"}, {}, RunExplain},
      {"plugin",  "",                  0, 0,    "What is loaded",
       {"table", "tsv", "json"}, {}, RunPlugin},
      {"help",    "[COMMAND]",         0, 2,    "This, or one command",
       {"table", "json"}, {}, RunHelp},
      {"version", "",                  0, 0,    "The version of this program",
       {"value", "table", "json"}, {}, RunVersion},
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

const Command& ChooseCommand(const Options& options) {
  const Command& command = RequireCommand(options);
  CheckCount(command, options.m_Words.size() - 1);
  if (!options.m_Form.empty() && !Has(command.m_Forms, options.m_Form)) {
    throw UsageFailure(fmt::format("{} has no form '{}'", command.m_Name, options.m_Form),
                       {fmt::format("It has: {}", fmt::join(command.m_Forms, ", "))});
  }
  for (const std::string& option : options.m_Special) {
    if (!Has(command.m_Special, option)) {
      throw UsageFailure(fmt::format("{} has no option {}", command.m_Name, option));
    }
  }
  return command;
}

}  // namespace Console
