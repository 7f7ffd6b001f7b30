// events: show the host's event log and follow new events.
#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <limits>
#include <optional>
#include <sstream>

#include "base/Printable.h"
#include "console/base/DateTimeText.h"
#include "console/base/Deadline.h"
#include "console/base/Duration.h"
#include "console/base/Number.h"
#include "console/base/StopSignals.h"
#include "console/base/Timestamp.h"
#include "console/cli/CommandTable.h"
#include "console/model/EventSeverity.h"
#include "console/model/Selectors.h"
#include "console/render/CommandResult.h"
#include "console/render/HealthCells.h"
#include "console/render/TableFit.h"
#include "console/render/TextWidth.h"
#include "console/report/CommandContext.h"
#include "console/report/EventMatcher.h"
#include "console/report/EventRows.h"
#include "service/StoredState.h"

namespace Console {
namespace {

using std::chrono::milliseconds;

constexpr std::size_t kDefaultLimit = 50;

// Which part of the log to show.
struct EventQuery {
  std::uint64_t m_Since = 0;
  std::optional<std::uint64_t> m_To;  // exclusive
  std::optional<std::int64_t> m_After;
  std::size_t m_Limit = kDefaultLimit;
};

std::int64_t ParseNumber(const char* option, const std::string& text, std::int64_t maximum) {
  const auto number = ReadNumber<std::int64_t>(text);
  if (number && *number >= 0 && *number <= maximum) return *number;
  throw UsageFailure(fmt::format("{}: invalid number '{}'", option, text),
                     {fmt::format("For example: {} 200", option)});
}

// The default limit does not apply with --since or --after.
EventQuery QueryOf(const Options& options) {
  EventQuery query;
  if (!options.m_Since.empty()) {
    query.m_Since = ParseTimestamp("--since", options.m_Since, NowMs());
    query.m_Limit = EventLogClient::kAll;
  }
  if (!options.m_To.empty()) query.m_To = ParseTimestamp("--to", options.m_To, NowMs());
  if (query.m_To && *query.m_To <= query.m_Since) {
    throw UsageFailure("--to: the range ends before it starts",
                       {"For example: --since yesterday --to today"});
  }
  if (!options.m_After.empty()) {
    query.m_After =
        ParseNumber("--after", options.m_After, std::numeric_limits<std::int64_t>::max());
    query.m_Limit = EventLogClient::kAll;
  }
  if (!options.m_Limit.empty()) {
    query.m_Limit =
        static_cast<std::size_t>(ParseNumber("--limit", options.m_Limit, EventLogClient::kAll));
  }
  return query;
}

// An event and its object; null if the object is unknown.
struct EventEntry {
  const Object* m_pObject;
  LoggedEvent m_Event;
};

// Matches events by severity and by object: OBJ itself and the objects below it. Events of a
// removed card are found by serial number or former name, or by id if the event has no serial
// number.
class Filter {
 public:
  // `text` names the object; an empty string selects all objects or severities.
  Filter(std::string text, std::string severity)
      : m_Text(std::move(text)), m_Severity(std::move(severity)) {}

  bool IsEmpty() const { return m_Text.empty() && m_Severity.empty(); }

  // Finds the object in the model or, if its card was removed, in the events. Throws `Failure` if
  // no object has or had the name.
  void ResolveObject(const Model& model, const std::vector<LoggedEvent>& log,
                     const std::vector<LoggedEvent>& pending) {
    if (m_Text.empty()) return;
    const bool isRemoved = FindObject(model, m_Text) == nullptr && (IsIn(log) || IsIn(pending));
    if (!isRemoved) m_Selector = Select(model, m_Text).m_Selector;
  }

  bool Matches(const Model& model, const EventEntry& entry) const {
    if (!m_Severity.empty() && SeverityName(entry.m_Event.m_Severity) != m_Severity) return false;
    if (m_Text.empty()) return true;
    if (m_Selector.empty()) return IsNamed(entry.m_Event);
    for (const Object* at = entry.m_pObject; at != nullptr; at = model.OwnerOf(*at)) {
      if (at->m_Selector == m_Selector) return true;
    }
    return false;
  }

 private:
  bool IsIn(const std::vector<LoggedEvent>& log) const {
    return std::any_of(log.begin(), log.end(),
                       [this](const LoggedEvent& event) { return IsNamed(event); });
  }

  bool IsNamed(const LoggedEvent& event) const {
    if (event.m_SerialNumber == m_Text || event.m_SourceName == m_Text) return true;
    return event.m_SerialNumber.empty() && IdText(event.m_ObjectID) == m_Text;
  }

  const std::string m_Text;
  const std::string m_Severity;
  std::string m_Selector;  // empty: the object was removed
};

// Returns each event in a block for a terminal that is too narrow for the table: the text starts on
// the second line.
std::string Blocks(const std::vector<Row>& rows, const Style& style) {
  constexpr std::size_t kIndent = 2;
  std::string text;
  for (const Row& row : rows) {
    const std::vector<Cell>& cells = row.m_Cells;
    const TimeZone zone = style.m_LocalTime ? TimeZone::Local : TimeZone::Utc;
    std::string line =
        WrapText(fmt::format("{}  {}  {}  {} {}", DateTimeText(cells[0].m_Time, zone),
                             Base::Printable(cells[4].m_Human), cells[1].m_Human, cells[2].m_Human,
                             cells[3].m_Human),
                 style.m_Width, kIndent);
    const std::size_t severity = line.rfind(cells[1].m_Human);
    text += line.replace(severity, cells[1].m_Human.size(),
                         Colored(cells[1].m_Human, cells[1].m_Severity, style));
    text += WrapText(std::string(kIndent, ' ') + Base::Printable(cells[5].m_Human), style.m_Width,
                     kIndent);
  }
  return text;
}

// Whether the table is wider than the terminal.
bool IsTooWide(const Table& table, Style style) {
  if (style.m_Width == 0) return false;
  style.m_Color = false;
  std::istringstream lines(DrawUnfitted(table, style, false));
  for (std::string line; std::getline(lines, line);) {
    if (ColumnsOf(line) > style.m_Width) return true;
  }
  return false;
}

CommandResult ResultOf(const std::vector<EventEntry>& events, const Style& style) {
  CommandResult result;
  result.m_Items = "events";
  result.m_Json = {{"events", Json::array()}};
  result.m_Table.m_Columns = EventColumns();
  if (events.empty()) result.m_Text = "";
  for (const EventEntry& entry : events) {
    result.m_Json["events"].push_back(EventJson(entry.m_pObject, entry.m_Event));
    result.m_Table.m_Rows.push_back(EventRow(entry.m_pObject, entry.m_Event));
  }
  if (IsTooWide(result.m_Table, style)) result.m_Text = Blocks(result.m_Table.m_Rows, style);
  return result;
}

template <class Find>
std::vector<EventEntry> SelectEvents(const std::vector<LoggedEvent>& events, const Model& model,
                                     const Filter& filter, Find find) {
  std::vector<EventEntry> chosen;
  chosen.reserve(events.size());
  for (const LoggedEvent& event : events) {
    const EventEntry entry = {find(event), event};
    if (filter.Matches(model, entry)) chosen.push_back(entry);
  }
  return chosen;
}

// Selects from events that have just arrived.
std::vector<EventEntry> SelectNewEvents(const std::vector<LoggedEvent>& events, const Model& model,
                                        const Filter& filter) {
  return SelectEvents(events, model, filter,
                      [&](const LoggedEvent& event) { return model.Find(event.m_ObjectID); });
}

void NoteOlderEvents(Diagnostics& diagnostics, std::size_t shown) {
  diagnostics.Note("OLDER_EVENTS",
                   fmt::format("showing the newest {} events; the log contains older ones", shown),
                   {"Pass --limit N or --since 2d to see more."});
}

// Drops events before the start or after the end of the query.
void DropOutside(std::vector<EventEntry>& events, const EventQuery& query) {
  const auto isOutside = [&query](const EventEntry& entry) {
    return entry.m_Event.m_Time < query.m_Since ||
           (query.m_To && entry.m_Event.m_Time >= *query.m_To) ||
           (query.m_After && entry.m_Event.m_Number <= *query.m_After);
  };
  events.erase(std::remove_if(events.begin(), events.end(), isOutside), events.end());
}

// Drops the oldest events, or the newest ones with --after, so that the next page starts after the
// last event.
void ApplyLimit(std::vector<EventEntry>& events, const EventQuery& query) {
  const auto limit = static_cast<std::ptrdiff_t>(std::min(events.size(), query.m_Limit));
  if (query.m_After) {
    events.erase(events.begin() + limit, events.end());
  } else {
    events.erase(events.begin(), events.end() - limit);
  }
}

// Reads one event more than requested, to detect whether there are older events. A removed card is
// found by any of its events.
std::vector<LoggedEvent> ReadLog(Context& context, const EventQuery& query, const Filter& filter) {
  const bool needsAll = query.m_After || query.m_To || !filter.IsEmpty();
  return needsAll ? context.EventLog().ReadOrThrow(0, EventLogClient::kAll)
                  : context.EventLog().ReadOrThrow(query.m_Since, query.m_Limit + 1);
}

// Returns the events that the query and the filter select from the log.
std::vector<EventEntry> SelectFromLog(Context& context, const std::vector<LoggedEvent>& log,
                                      const Model& model, const EventQuery& query,
                                      const Filter& filter) {
  const EventMatcher matcher(model);
  std::vector<EventEntry> events = SelectEvents(
      log, model, filter, [&](const LoggedEvent& event) { return matcher.Find(event); });
  DropOutside(events, query);
  const bool hasOlder = events.size() > query.m_Limit;
  ApplyLimit(events, query);
  if (hasOlder && context.m_Options.m_Limit.empty())
    NoteOlderEvents(context.m_Diagnostics, query.m_Limit);
  return events;
}

// Returns the events of the log for a plug-in that cannot be loaded, with the names of the cards
// that were seen earlier.
CommandResult ReadLogOnly(Context& context, const EventQuery& query, Filter& filter) {
  const std::vector<LoggedEvent> log = ReadLog(context, query, filter);
  CardRecords records;
  records.m_Known = Service::CreateDatabaseState()->Cards();
  const Model model({}, {}, records);
  filter.ResolveObject(model, log, {});
  return ResultOf(SelectFromLog(context, log, model, query, filter), context.m_Style);
}

// Returns the events of the log and the pending events. Objects are read after the events, so that
// each event is shown with the current name of its object. The log is not read again after the
// pending events, because events logged in between would never be shown.
CommandResult ReadFirstBatch(Context& context, const EventQuery& query, Filter& filter) {
  Session& session = context.Open();
  // Pending events get their numbers when they are logged.
  if (query.m_After) session.CollectEvents();
  const std::vector<LoggedEvent> log = ReadLog(context, query, filter);
  std::vector<LoggedEvent> pending;
  if (!query.m_After) pending = session.CollectEvents();
  const Model model = context.Objects();
  filter.ResolveObject(model, log, pending);
  std::vector<EventEntry> events = SelectFromLog(context, log, model, query, filter);
  std::vector<EventEntry> added = SelectNewEvents(pending, model, filter);
  DropOutside(added, {query.m_Since, query.m_To, std::nullopt, query.m_Limit});
  events.insert(events.end(), added.begin(), added.end());
  return ResultOf(events, context.m_Style);
}

CommandResult ReadNextBatch(Context& context, const Filter& filter) {
  const std::vector<LoggedEvent> pending = context.Open().CollectEvents();
  const Model model = context.Objects();
  return ResultOf(SelectNewEvents(pending, model, filter), context.m_Style);
}

// Writes each batch of events immediately. Returns when the time has elapsed or the reader has
// closed the output; throws on a stop signal.
CommandResult Follow(Context& context, const EventQuery& query, Filter& filter,
                     const std::optional<milliseconds>& duration) {
  Session& session = context.OpenToFollow();
  const Deadline deadline(duration);
  session.SetDeadline(deadline);
  bool first = true;
  CommandResult batch = ReadFirstBatch(context, query, filter);
  while (!context.HasLostReader()) {
    if (!batch.m_Table.m_Rows.empty()) {
      context.Emit(batch, first);
      first = false;
    }
    ThrowIfStopped();
    if (deadline.HasPassed()) break;
    session.WaitForNotification(deadline.Remaining(), context.ReaderWaitSet());
    ThrowIfStopped();
    batch = ReadNextBatch(context, filter);
  }
  return {};
}

void NoteNoEvents(Context& context) {
  std::vector<std::string> advice;
  if (!context.Open().IsShared()) {
    advice.emplace_back(
        "Cards are monitored only while this program runs: use watch, --for or --follow.");
    advice.emplace_back("To monitor them all the time, run the service: corvane-host serve");
  }
  context.m_Diagnostics.Note("NO_EVENTS", "no matching events in the log", advice);
}

// The log is in a file of this host, which is needed most when the driver of the cards is missing.
CommandResult ReadOnce(Context& context, const EventQuery& query, Filter& filter) {
  try {
    context.Open();
  } catch (const Failure& failure) {
    if (failure.m_Id != "CARD_LIBRARY_MISSING") throw;
    context.m_Diagnostics.Note(failure.m_Id, failure.m_Text + "; showing the event log only");
    return ReadLogOnly(context, query, filter);
  }
  CommandResult result = ReadFirstBatch(context, query, filter);
  if (result.m_Table.m_Rows.empty()) NoteNoEvents(context);
  return result;
}

CommandResult Run(Context& context) {
  const Options& options = context.m_Options;
  const EventQuery query = QueryOf(options);
  Filter filter(context.m_Arguments.empty() ? std::string() : context.m_Arguments[0],
                options.m_EventSeverity);
  const bool follows = options.m_Follow || !options.m_For.empty();
  if (follows && query.m_To) throw UsageFailure("--to does not apply to --follow and --for");
  if (!follows) return ReadOnce(context, query, filter);
  if (context.m_OutputFormat == "json") {
    throw UsageFailure("--follow and --for do not support --output json",
                       {"Pass --output jsonl for one JSON document per line."});
  }
  return Follow(context, query, filter, ParseDuration("--for", options.m_For));
}

}  // namespace

Command EventsCommand() {
  Command command;
  command.m_Group = Group::Inspect;
  command.m_Name = "events";
  command.m_Arguments = "[OBJ]";
  command.m_MinArguments = 0;
  command.m_MaxArguments = 1;
  command.m_Summary = "show the event log; -f follows new events";
  command.m_OutputFormats = {"table", "tsv", "json", "jsonl"};
  command.m_Options = {"--follow", "--since", "--after", "--severity", "--limit", "--for", "--to"};
  command.m_Run = Run;
  command.m_Description =
      "Shows the host's event log, oldest event first. The log contains the events of all runs of "
      "this program with the same database. explain shows what to do about an event number.";
  command.m_Examples = {{"events --since yesterday --to today", "show yesterday's events", true},
                        {"events -f", "follow new events"}};
  return command;
}

}  // namespace Console
