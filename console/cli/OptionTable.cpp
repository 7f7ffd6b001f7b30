#include "console/cli/OptionTable.h"

namespace Console {
namespace {

using O = Options;
}  // namespace

// clang-format off
const std::vector<OptionRow>& AllOptions() {
  static const std::vector<OptionRow> all = {
      // short long          value      field              common
      {"-o", "--output",     "FORM",    &O::m_Form,        true,
       "Form of the answer; json and tsv are for scripts",
       {"table", "tree", "tsv", "json", "jsonl", "value"}, true,
       "Each command has some of them. json and tsv are stable; table may change."},
      {"-H", "--no-headings", "",       &O::m_NoHeadings,  true,
       "No line with headings"},
      {"-q", "--quiet",      "",        &O::m_Quiet,       true,
       "No notes on standard error, errors only"},
      {"-v", "--verbose",    "",        &O::m_Verbose,     true,
       "More; also what the plug-in prints by itself"},
      {"",   "--ascii",      "",        &O::m_Ascii,       true,
       "Plain characters only"},
      {"",   "--color",      "WHEN",    &O::m_Color,      true,
       "Colors; auto has them on a terminal unless NO_COLOR is set",
       {"auto", "always", "never"}, true},
      {"",   "--no-input",   "",        &O::m_NoInput,     true,
       "Never ask: what needs an answer is refused"},
      {"",   "--plugin",     "FILE",    &O::m_Plugin,      true,
       "The plug-in to load"},
      {"",   "--simulate",   "[FILE]",  &O::m_Simulate,    true,
       "Simulated cards instead of the machine's, of this file or of CARDSIM_STATE"},
      {"",   "--database",   "FILE",    &O::m_Database,    true,
       "The host's database; :memory: keeps none"},
      {"",   "--timeout",    "TIME",    &O::m_Timeout,     true,
       "Give up after TIME (default: 2m for attach and detach, 30s for what is read)", {}, false,
       "TIME is 500ms, 30s or 5m; the exit code is 7. There is no default limit for the condition of "
       "wait and for a format. With watch, events -f and events --for it limits each reading."},
      {"",   "--trace",      "LEVELS",  &O::m_Trace,       true,
       "Trace lines of these levels: 2,4,16, all or off"},
      {"",   "--trace-file", "FILE",    &O::m_TraceFile,   true,
       "Where trace lines go, else standard error"},
      {"-h", "--help",       "",        &O::m_Help,        true,
       "Help; behind a command, help for that command"},
      {"",   "--version",    "",        &O::m_Version,     true,
       "The version of this program"},

      {"-c", "--columns",    "NAMES",   &O::m_Columns,     false,
       "Columns, with commas between: names that get knows, or object, type, id"},
      {"-l", "--long",       "",        &O::m_Long,        false,
       "Also ids, reasons and sizes; -v does the same"},
      {"-f", "--follow",     "",        &O::m_Follow,      false,
       "Go on until Ctrl-C"},
      {"",   "--since",      "TIME",    &O::m_Since,       false,
       "Not older than this: 1h, 2d, yesterday, 2026-11-20 or 2026-11-20T05:31:00Z"},
      {"",   "--limit",      "N",       &O::m_Limit,       false,
       "The newest N; 50 unless told, or all with --since"},
      {"",   "--for",        "TIME",    &O::m_For,         false,
       "Go on for this long and end then: 30s, 5m or 1h"},
      {"-y", "--yes",        "",        &O::m_Yes,         false,
       "Do it without a question; does not reach a format"},
      {"-n", "--dry-run",    "",        &O::m_DryRun,      false,
       "Say what would be changed, and change nothing"},
      {"",   "--confirm",    "SERIAL",  &O::m_Confirm,     false,
       "The serial number of what is to be formatted, instead of a question"},
      {"",   "--force",      "",        &O::m_Force,       false,
       "Also when the card itself is busy; never while its drive is mounted, held or swap"},
      {"",   "--capacity",   "SIZE",    &O::m_Capacity,    false,
       "How much of the drive to use: a name, or 10 to 100 per cent of the factory's size",
       {"maximum", "factory", "improved", "high"}},
      {"",   "--sector-size", "BYTES",  &O::m_SectorSize,  false,
       "Size of a sector; as before if not given",
       {"512", "4096"}},
      {"",   "--textfile",   "FILE",    &O::m_TextFile,    false,
       "Into this file, whole or not at all, in the form that node exporters read"},
  };
  return all;
}
// clang-format on

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
