#include "console/cli/FamiliarNames.h"

#include <algorithm>
#include <iterator>

namespace Console {
namespace {

struct FamiliarName {
  const char* m_Typed;
  const char* m_Ours;
};

// clang-format off
constexpr FamiliarName kCommands[] = {
    // typed        ours
    {"alerts",      "status"},
    {"blink",       "locate"},
    {"cards",       "list"},
    {"daemon",      "serve"},
    {"delete",      "forget"},
    {"describe",    "show"},
    {"details",     "show"},
    {"devices",     "list"},
    {"erase",       "format"},
    {"export",      "metrics"},
    {"health",      "status"},
    {"identify",    "locate"},
    {"info",        "show"},
    {"led",         "locate"},
    {"log",         "events"},
    {"logs",        "events"},
    {"ls",          "list"},
    {"monitor",     "watch"},
    {"problems",    "status"},
    {"prometheus",  "metrics"},
    {"remove",      "forget"},
    {"service",     "serve"},
    {"silence",     "ack"},
    {"temperature", "list"},
    {"top",         "watch"},
    {"usage",       "help"},
};

struct FamiliarOption {
  const char* m_Command;  // empty: all commands
  const char* m_Typed;
  const char* m_Ours;
};

constexpr FamiliarOption kOptions[] = {
    // command    typed            ours
    {"",          "--csv",         "--output tsv"},
    {"",          "--dryrun",      "--dry-run"},
    {"",          "--json",        "--output json"},
    {"",          "--no-header",   "--no-headings"},
    {"",          "--silent",      "--quiet"},
    {"check",     "--critical",    "--crit-temperature"},
    {"check",     "--reserve",     "--warn-reserve"},
    {"check",     "--temperature", "--warn-temperature"},
    {"check",     "--warning",     "--warn-temperature"},
    {"events",    "--lines",       "--limit"},
    {"events",    "--tail",        "--limit"},
    {"format",    "--percent",     "--capacity"},
    {"format",    "--serial",      "--confirm"},
    {"format",    "--size",        "--capacity"},
    {"history",   "--interval",    "--step"},
    {"list",      "--fields",      "--columns"},
    {"locate",    "--duration",    "--for"},
    {"watch",     "--duration",    "--for"},
};
// clang-format on

}  // namespace

const char* SuggestedCommand(const std::string& word) {
  const auto* const row =
      std::find_if(std::begin(kCommands), std::end(kCommands),
                   [&](const FamiliarName& each) { return word == each.m_Typed; });
  return row == std::end(kCommands) ? nullptr : row->m_Ours;
}

const char* SuggestedOption(const std::string& command, const std::string& option) {
  const auto* const row =
      std::find_if(std::begin(kOptions), std::end(kOptions), [&](const FamiliarOption& each) {
        return option == each.m_Typed && (*each.m_Command == '\0' || command == each.m_Command);
      });
  return row == std::end(kOptions) ? nullptr : row->m_Ours;
}

}  // namespace Console
