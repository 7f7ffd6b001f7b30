#include "console/commands/All.h"

#include <limits>

namespace Console {
namespace {

constexpr std::size_t kAny = std::numeric_limits<std::size_t>::max();

}  // namespace

// clang-format off
const CommandTable& AllCommands() {
  static const CommandTable all({
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
  });
  return all;
}
// clang-format on

}  // namespace Console
