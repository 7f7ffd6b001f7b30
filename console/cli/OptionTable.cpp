#include "console/cli/OptionTable.h"

#include <algorithm>

namespace Console {
namespace {

using O = Options;
using Names = std::vector<std::string>;

const Names kEverybody;
const Names kAskers = {"attach", "detach", "online", "offline", "format", "op"};
const Names kChangers = {"locate", "attach", "detach", "online", "offline", "format", "op"};

}  // namespace

// clang-format off
const std::vector<OptionRow>& AllOptions() {
  static const std::vector<OptionRow> all = {
      // short long          value      field              commands
      {"-o", "--output",     "FORM",    &O::m_Form,        kEverybody,
       "Form of the answer; json and tsv are for scripts",
       {"table", "tree", "tsv", "json", "jsonl", "value"}, true},
      {"-H", "--no-headings", "",       &O::m_NoHeadings,  kEverybody,
       "No line with headings"},
      {"-q", "--quiet",      "",        &O::m_Quiet,       kEverybody,
       "No notes on standard error, errors only"},
      {"-v", "--verbose",    "",        &O::m_Verbose,     kEverybody,
       "More; also what the plug-in prints by itself"},
      {"",   "--ascii",      "",        &O::m_Ascii,       kEverybody,
       "Plain characters only"},
      {"",   "--color",      "WHEN",    &O::m_Color,      kEverybody,
       "Colors; auto has them on a terminal unless NO_COLOR is set",
       {"auto", "always", "never"}, true},
      {"",   "--no-input",   "",        &O::m_NoInput,     kEverybody,
       "Never ask: what needs an answer is refused"},
      {"",   "--plugin",     "FILE",    &O::m_Plugin,      kEverybody,
       "The plug-in to load"},
      {"",   "--simulate",   "[FILE]",  &O::m_Simulate,    kEverybody,
       "Simulated cards instead of the machine's, of this file or of CARDSIM_STATE"},
      {"",   "--database",   "FILE",    &O::m_Database,    kEverybody,
       "The host's database; :memory: keeps none"},
      {"",   "--timeout",    "TIME",    &O::m_Timeout,     kEverybody,
       "Give up after TIME (default: 2m for attach and detach, 30s for what is read)"},
      {"",   "--trace",      "LEVELS",  &O::m_Trace,       kEverybody,
       "Trace lines of these levels: 2,4,16, all or off"},
      {"",   "--trace-file", "FILE",    &O::m_TraceFile,   kEverybody,
       "Where trace lines go, else standard error"},
      {"-h", "--help",       "",        &O::m_Help,        kEverybody,
       "Help; behind a command, help for that command"},
      {"",   "--version",    "",        &O::m_Version,     kEverybody,
       "The version of this program"},

      {"-c", "--columns",    "NAMES",   &O::m_Columns,     {"list", "tree"},
       "Columns, with commas between: names that get knows, or object, type, id"},
      {"-l", "--long",       "",        &O::m_Long,        {"tree"},
       "Also ids, reasons and sizes; -v does the same"},
      {"-f", "--follow",     "",        &O::m_Follow,      {"events"},
       "Go on until Ctrl-C"},
      {"",   "--since",      "TIME",    &O::m_Since,       {"events"},
       "Not older than this: 1h, 2d, yesterday, 2026-11-20 or 2026-11-20T05:31:00Z"},
      {"",   "--limit",      "N",       &O::m_Limit,       {"events"},
       "The newest N; 50 unless told, or all with --since"},
      {"",   "--for",        "TIME",    &O::m_For,         {"events", "watch", "locate"},
       "Go on for this long and end then: 30s, 5m or 1h"},
      {"-y", "--yes",        "",        &O::m_Yes,         kAskers,
       "Do it without a question; does not reach a format"},
      {"-n", "--dry-run",    "",        &O::m_DryRun,      kChangers,
       "Say what would be changed, and change nothing"},
      {"",   "--confirm",    "SERIAL",  &O::m_Confirm,     {"format", "op"},
       "The serial number of what is to be formatted, instead of a question"},
      {"",   "--force",      "",        &O::m_Force,       {"detach"},
       "Also when the card itself is busy; never while its drive is mounted, held or swap"},
      {"",   "--capacity",   "SIZE",    &O::m_Capacity,    {"format"},
       "How much of the drive to use: a name, or 10 to 100 per cent of the factory's size",
       {"maximum", "factory", "improved", "high"}},
      {"",   "--sector-size", "BYTES",  &O::m_SectorSize,  {"format"},
       "Size of a sector; as before if not given",
       {"512", "4096"}},
      {"",   "--textfile",   "FILE",    &O::m_TextFile,    {"metrics"},
       "Into this file, whole or not at all, in the form that node exporters read"},
  };
  return all;
}
// clang-format on

bool BelongsTo(const OptionRow& row, const std::string& command) {
  const Names& commands = row.m_Commands;
  return commands.empty() || std::find(commands.begin(), commands.end(), command) != commands.end();
}

const OptionRow* FindOption(const std::string& name) {
  for (const OptionRow& row : AllOptions()) {
    if (!name.empty() && (name == row.m_Long || name == row.m_Short)) return &row;
  }
  return nullptr;
}

bool TakesNextWord(const OptionRow& row) {
  return *row.m_Value != '\0' && *row.m_Value != '[';
}

std::string OptionSynopsis(const OptionRow& row) {
  const std::string value = row.m_Value;
  std::string text = *row.m_Short == '\0' ? "    " : std::string(row.m_Short) + ", ";
  text += row.m_Long;
  if (TakesNextWord(row)) return text + " " + value;
  return value.empty() ? text : text + "[=" + value.substr(1);
}

}  // namespace Console
