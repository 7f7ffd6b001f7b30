#include "console/cli/OptionTable.h"

namespace Console {
namespace {

using O = Options;

// clang-format off
std::vector<OptionRow> CommonOptions() {
  return {
      // short long          value      field              common
      {"-o", "--output",     "FORMAT",  &O::m_OutputFormat,        true,
       "output format (json and tsv for scripts)",
       {"table", "tree", "tsv", "json", "jsonl", "value"}, true,
       "Each command supports some of them. json and tsv are stable; table may change."},
      {"-H", "--no-headings", "",       &O::m_NoHeadings,  true,
       "omit the header row"},
      {"-q", "--quiet",      "",        &O::m_Quiet,       true,
       "omit notes; print only errors on standard error"},
      {"-v", "--verbose",    "",        &O::m_Verbose,     true,
       "print more, including the plug-in's own output"},
      {"",   "--ascii",      "",        &O::m_Ascii,       true,
       "use ASCII characters only"},
      {"",   "--color",      "WHEN",    &O::m_Color,      true,
       "when to use colors; auto means on a terminal, unless NO_COLOR is set (default: auto)",
       {"auto", "always", "never"}, true},
      {"",   "--local-time", "",        &O::m_LocalTime, true, "show local times (default: UTC)"},
      {"",   "--no-input",   "",        &O::m_NoInput,     true,
       "never prompt; refuse changes that need confirmation"},
      {"",   "--socket",     "PATH",    &O::m_Socket,      true,
       "use the service at this Unix socket; with serve, listen on it (default: CORVANE_SOCKET)", {}, false,
       "It is an error if no service answers at PATH or at the socket in CORVANE_SOCKET. By default, "
       "commands use a service that is running at /run/corvane/corvane.sock; users other than root "
       "first try $XDG_RUNTIME_DIR/corvane/corvane.sock. Otherwise, they load the plug-in."},
      {"",   "--direct",     "",        &O::m_Direct,      true,
       "load the plug-in into this program even if a service is running", {}, false,
       "Implied by --plugin, --simulate, --database, --trace and --trace-file. Fails while a "
       "service is using the database."},
      {"",   "--plugin",     "FILE",    &O::m_Plugin,      true,
       "load this plug-in (default: libCorvane.so of this installation)"},
      {"",   "--simulate",   "[FILE]",  &O::m_Simulate,    true,
       "use simulated cards from FILE (default: CARDSIM_STATE) instead of real cards"},
      {"",   "--database",   "FILE",    &O::m_Database,    true,
       "use this host database (default: CORVANE_DATABASE); :memory: stores nothing on disk", {}, false,
       "FILE must exist; only serve and commands that change something create it."},
      {"",   "--timeout",    "TIME",    &O::m_Timeout,     true,
       "give up after TIME (default: 30s; 2m for attach and detach; none for wait and format)", {}, false,
       "TIME is, for example, 500ms, 30s or 5m; without a unit, it is in seconds. The exit code after a timeout is 7. With watch, "
       "events -f and events --for, TIME limits each call to the plug-in."},
      {"",   "--trace",      "LEVELS",  &O::m_Trace,       true,
       "trace these levels: 2,4,16, all or off (default: off)"},
      {"",   "--trace-file", "FILE",    &O::m_TraceFile,   true,
       "write the trace to FILE (default: standard error)"},
      {"-h", "--help",       "",        &O::m_Help,        true,
       "show this help; after a command, help for that command"},
      {"",   "--version",    "",        &O::m_Version,     true,
       "print the version of this program"},
  };
}

std::vector<OptionRow> CommandOptions() {
  return {
      {"-c", "--columns",    "NAMES",   &O::m_Columns,     false,
       "columns to show, by name or heading, separated by commas; -c help lists the names"},
      {"-l", "--long",       "",        &O::m_Long,        false,
       "show more columns and rows, as --verbose does"},
      {"-f", "--follow",     "",        &O::m_Follow,      false,
       "print new events as they occur, until Ctrl-C"},
      {"",   "--since",      "TIME",    &O::m_Since,       false,
       "show entries since TIME: 1h, 2d, yesterday, 2026-11-20 or 2026-11-20T05:31:00Z"},
      {"",   "--after",      "NUMBER",  &O::m_After,       false,
       "show events after event NUMBER; numbers appear in JSON"},
      {"",   "--severity",   "LEVEL",   &O::m_EventSeverity, false,
       "show only events of this severity",
       {"information", "warning", "error"}, true},
      {"",   "--from",       "TIME",    &O::m_From,        false,
       "start of the range, in the forms of --since (default: one day before the end)"},
      {"",   "--to",         "TIME",    &O::m_To,          false,
       "show entries before TIME, in the forms of --since (default: now)"},
      {"",   "--step",       "TIME",    &O::m_Step,        false,
       "time that each value covers: 1m, 1h or 1d (default: long enough for at most 24 values)"},
      {"",   "--limit",      "N",       &O::m_Limit,       false,
       "show the newest N events, or the oldest N with --after (default: 50; all with --since or --after)"},
      {"",   "--for",        "TIME",    &O::m_For,         false,
       "run for TIME, then exit: 30s, 5m or 1h"},
      {"-y", "--yes",        "",        &O::m_Yes,         false,
       "confirm without a prompt; does not apply to format"},
      {"-n", "--dry-run",    "",        &O::m_DryRun,      false,
       "show the changes without making them"},
      {"",   "--confirm",    "SERIAL",  &O::m_Confirm,     false,
       "confirm with the serial number of the card, without a prompt; of each card if there are "
       "several: S1,S2"},
      {"",   "--force",      "",        &O::m_Force,       false,
       "detach even if the card is busy; refused while its drive is in use"},
      {"",   "--again",      "",        &O::m_Again,       false, "format even if the drive already has this capacity and sector size"},
      {"",   "--capacity",   "SIZE",    &O::m_Capacity,    false,
       "capacity to format to: 10 to 100 percent of the factory size, such as 80 or 80%, or a preset: "
       "factory is 100 %, improved 90 % and high (for high write performance) 80 %; maximum is all "
       "that the card offers. Presets",
       {"maximum", "factory", "improved", "high"}},
      {"",   "--sector-size", "BYTES",  &O::m_SectorSize,  false,
       "sector size in bytes (default: unchanged)",
       {"512", "4096"}},
      {"",   "--until",      "TIME",    &O::m_Until,       false,
       "when the acknowledgment expires: 2d from now, or 2026-11-30 (default: never)"},
      {"",   "--note",       "TEXT",    &O::m_Note,        false,
       "text to store with the acknowledgment"},
      {"",   "--warn-temperature", "RANGE", &O::m_WarnTemperature, false,
       "WARNING if the temperature in degrees Celsius is above RANGE", {}, false,
       "RANGE is a number or a range in the format of monitoring plug-ins: 70, 10:, 10:70, ~:70, or "
       "@10:70 to alert inside the range. The card's own limits always apply too."},
      {"",   "--crit-temperature", "RANGE", &O::m_CritTemperature, false,
       "CRITICAL if the temperature in degrees Celsius is above RANGE"},
      {"",   "--warn-reserve", "RANGE",  &O::m_WarnReserve, false,
       "WARNING if the reserve space in percent is below RANGE"},
      {"",   "--crit-reserve", "RANGE",  &O::m_CritReserve, false,
       "CRITICAL if the reserve space in percent is below RANGE"},
      {"",   "--warn-used",  "RANGE",    &O::m_WarnUsed,   false,
       "WARNING if the used endurance in percent is above RANGE"},
      {"",   "--crit-used",  "RANGE",    &O::m_CritUsed,   false,
       "CRITICAL if the used endurance in percent is above RANGE"},
      {"",   "--expect",     "N",        &O::m_Expect,     false,
       "CRITICAL if there are fewer than N cards, WARNING if there are more"},
      {"",   "--perfdata",   "CARDS",    &O::m_PerformanceData, false,
       "print performance data of these cards; worst selects the cards in the first line "
       "(default: all)",
       {"all", "worst", "none"}, true},
      {"",   "--textfile",   "FILE",    &O::m_TextFile,    false,
       "write metrics to FILE atomically, for the node exporter's textfile collector"},
      {"",   "--listen",     "ADDRESS:PORT", &O::m_Listen, false,
       "also accept read-only requests on this TCP address: 127.0.0.1:9188 or [::1]:9188"},
      {"",   "--listen-any", "",        &O::m_ListenAny,   false,
       "allow --listen on non-loopback addresses"},
      {"",   "--events-directory", "DIR",  &O::m_EventsDirectory, false,
       "run the programs in DIR on each event (default: /etc/corvane/events.d for root)"},
  };
}
// clang-format on

}  // namespace

const std::vector<OptionRow>& AllOptions() {
  static const std::vector<OptionRow> all = [] {
    std::vector<OptionRow> rows = CommonOptions();
    for (const OptionRow& row : CommandOptions()) rows.push_back(row);
    return rows;
  }();
  return all;
}

const OptionRow* FindOption(const std::string& name) {
  for (const OptionRow& row : AllOptions()) {
    if (!name.empty() && (name == row.m_Long || name == row.m_Short)) return &row;
  }
  return nullptr;
}

bool RequiresValue(const OptionRow& row) {
  return *row.m_Value != '\0' && *row.m_Value != '[';
}

std::string OptionSynopsis(const OptionRow& row) {
  const std::string value = row.m_Value;
  std::string text = *row.m_Short == '\0' ? "    " : std::string(row.m_Short) + ", ";
  text += row.m_Long;
  if (RequiresValue(row)) return text + " " + value;
  return value.empty() ? text : text + "[=" + value.substr(1);
}

}  // namespace Console
