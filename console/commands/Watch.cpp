// watch: cards and events live, on a full screen or as blocks of plain text.
#include <fmt/format.h>
#include <limits.h>
#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <iterator>
#include <optional>

#include "console/base/Deadline.h"
#include "console/base/Duration.h"
#include "console/base/StopSignals.h"
#include "console/base/Timestamp.h"
#include "console/change/OperationRunner.h"
#include "console/cli/CommandTable.h"
#include "console/model/Health.h"
#include "console/plugin/SimulatedService.h"
#include "console/render/CommandResult.h"
#include "console/render/HealthCells.h"
#include "console/report/CardList.h"
#include "console/report/CommandContext.h"
#include "console/report/EventRows.h"
#include "console/watch/LiveModel.h"
#include "console/watch/Screen.h"
#include "console/watch/WatchView.h"

namespace Console {
namespace {

using std::chrono::milliseconds;

std::string HostName() {
  std::array<char, HOST_NAME_MAX + 1> name{};
  return gethostname(name.data(), name.size() - 1) == 0 ? name.data() : "corvane-host";
}

// Returns the name of the machine for the title, which says if a service has simulated cards.
std::string TitleName(const Diagnostics& diagnostics) {
  return HostName() + (HasSimulatedService(diagnostics) ? " (simulated cards)" : "");
}

// Switches the locate LED of the selected card, and returns what was done.
std::string ToggleLocateLed(Context& context, const Model& model, std::uint64_t selected) {
  const Object* const object = model.Find(selected);
  const Object* const card = object == nullptr ? nullptr : AdapterOf(model, *object);
  if (card == nullptr || !card->SupportsOperation(PI::OP_LOCATE_DEVICE)) return "no locate LED";
  const bool isOn = StateOf(context.Open(), card->m_ID, Aspect::LocateLed) == "on";
  const OperationRow& row = *FindOperation(isOn ? PI::OP_STOP_LOCATE_DEVICE : PI::OP_LOCATE_DEVICE);
  try {
    PerformOperation(context, model, *card, row, true);
  } catch (const Failure& failure) {
    return failure.m_Text;
  }
  return fmt::format("locate LED of {} is {}", card->m_Selector, isOn ? "off" : "on");
}

// Shows messages that were added since the last call, because they are printed only after the
// screen is closed.
void ShowMessages(const Diagnostics& diagnostics, std::size_t& seen, WatchView& view) {
  const std::vector<Message>& messages = diagnostics.Messages();
  if (messages.size() > seen) view.SetMessage(messages.back().m_Text);
  seen = messages.size();
}

// Redraws the screen after each update and key press, and once per second for the clock.
void RunOnScreen(Context& context, Screen& screen, LiveModel& live, const Deadline& deadline) {
  constexpr milliseconds kRedrawInterval{1000};
  WaitSet waitSet = context.ReaderWaitSet();
  waitSet.m_Readable = STDIN_FILENO;
  WatchView view(TitleName(context.m_Diagnostics), context.m_Style.m_Ascii);
  std::size_t seen = context.m_Diagnostics.Messages().size();
  while (!deadline.HasPassed() && !context.HasLostReader()) {
    ShowMessages(context.m_Diagnostics, seen, view);
    screen.Show(view.Draw(live, screen.Size(), NowMs()));
    live.Wait(deadline.Remaining(kRedrawInterval), waitSet);
    for (KeyPress press = screen.Read(); press.m_Key != Key::None; press = screen.Read()) {
      const WatchAction action = view.HandleKey(press, live);
      if (action == WatchAction::Quit) return;
      if (action != WatchAction::Locate) continue;
      view.SetMessage(ToggleLocateLed(context, live.CurrentModel(), view.Selected()));
    }
  }
}

constexpr const char* kColumns[] = {
    "name", "status", "temperature_celsius", "reserve_space_ratio", "endurance_used_ratio",
};

Table BlockTable(const LiveModel& live, bool ascii) {
  Table table;
  table.m_Columns = {{"OBJECT", "object", false}};
  for (const char* name : kColumns) {
    const Field& field = *FindField(Kind::Adapter, name);
    const bool number = field.m_Kind == ValueKind::Celsius || field.m_Kind == ValueKind::Ratio;
    table.m_Columns.push_back({field.m_Heading, field.m_Name, number});
  }
  table.m_Columns.push_back({"REASONS", "status_reasons", false});
  for (const Object* object : ObjectsWithStatus(live.CurrentModel())) {
    Row row{{TextCell(object->m_Selector)}, std::nullopt};
    for (const char* name : kColumns) {
      const Field* field = FindField(object->m_Kind, name);
      row.m_Cells.push_back(field == nullptr ? Cell{"", "-", Severity::Neutral}
                                             : ValueCell(ReadField(*object, *field), ascii));
      MarkOldReading(*object, name, !live.IsCurrent(), row.m_Cells.back());
    }
    row.m_Cells.push_back(TextCell(ReasonNames(HealthOf(*object))));
    table.m_Rows.push_back(std::move(row));
  }
  return table;
}

// Returns the events after the first `seen` events.
std::vector<LiveModel::Entry> NewEvents(const LiveModel& live, std::size_t seen) {
  const std::size_t count = std::min(live.EventCount() - seen, live.Log().size());
  const auto first = live.Log().end() - static_cast<std::ptrdiff_t>(count);
  return {first, live.Log().end()};
}

// Returns the current cards and the events after the first `seen` events. The text has no
// timestamp.
CommandResult Block(const LiveModel& live, std::size_t seen, const Style& style) {
  CommandResult block;
  block.m_Json = {{"objects", Json::array()}, {"events", Json::array()}};
  for (const Object& object : live.CurrentModel().Objects()) {
    block.m_Json["objects"].push_back(ObjectJson(live.CurrentModel(), object));
  }
  Table events;
  events.m_Columns = EventColumns();
  for (const LiveModel::Entry& entry : NewEvents(live, seen)) {
    block.m_Json["events"].push_back(entry.m_Json);
    events.m_Rows.push_back(entry.m_Row);
  }
  Style withoutHeadings = style;
  withoutHeadings.m_Headings = false;
  block.m_Text = DrawTable(BlockTable(live, style.m_Ascii), style, false) +
                 DrawTable(events, withoutHeadings, false);
  return block;
}

// Returns what a block shows, without the times of the readings, which alone do not cause a new
// block.
std::string ContentOf(const Context& context, const LiveModel& live, const CommandResult& block) {
  const char* const state = live.IsCurrent() ? "" : "disconnected\n";
  if (context.PrintsText()) return state + *block.m_Text;
  Json shown = block.m_Json;
  for (Json& object : shown["objects"]) {
    for (const char* time : {"last_read_at", "last_seen_at"}) object.erase(time);
  }
  return state + shown.dump(-1, ' ', false, Json::error_handler_t::replace);
}

std::string TimeFor(const Style& style, std::uint64_t time) {
  return style.m_LocalTime ? LocalTimeText(time) : TimeText(time);
}

// Returns the first line of a block. Old values have the time of their report.
std::string TimeLine(const LiveModel& live, const Style& style) {
  if (live.IsCurrent()) return TimeFor(style, NowMs()) + "\n";
  return fmt::format("{} disconnected; values are from {}\n", TimeFor(style, NowMs()),
                     TimeFor(style, live.ObservedAt()));
}

// Prints a block at the start and after each change.
void PrintBlocks(Context& context, LiveModel& live, const Deadline& deadline) {
  std::size_t seen = 0;
  std::string shown;
  while (!context.HasLostReader()) {
    CommandResult block = Block(live, seen, context.m_Style);
    if (ContentOf(context, live, block) != shown) {
      block.m_Text = TimeLine(live, context.m_Style) + *block.m_Text + "\n";
      context.Emit(block, true);
      seen = live.EventCount();
      shown = ContentOf(context, live, Block(live, seen, context.m_Style));
    }
    if (deadline.HasPassed()) return;
    live.Wait(deadline.Remaining(live.PollInterval()), context.ReaderWaitSet());
  }
}

// Throws `Failure` if the trace would be written to a terminal, which is usually the one on which
// the screen is drawn.
void RequireQuietTrace(const Options& options) {
  const bool toFile =
      !options.m_TraceFile.empty() || secure_getenv("CORVANE_TRACE_FILE") != nullptr;
  const bool traces = options.m_Trace || secure_getenv("CORVANE_TRACE") != nullptr;
  if (!traces || toFile || isatty(STDERR_FILENO) == 0) return;
  throw UsageFailure("the trace would overwrite the screen",
                     {"Write the trace to a file with --trace-file FILE."});
}

CommandResult Run(Context& context) {
  const Options& options = context.m_Options;
  const auto duration = ParseDuration("--for", options.m_For);
  std::FILE* const out = context.Stream().File();
  const bool wantsScreen = options.m_OutputFormat.empty() && Screen::IsSupported(out);
  if (wantsScreen) RequireQuietTrace(options);
  Session& session = context.OpenToFollow();
  std::vector<LoggedEvent> past;
  if (wantsScreen) past = context.EventLog().Read(0, LiveModel::kMaxEvents);
  const Deadline deadline(duration);
  session.SetDeadline(deadline);
  LiveModel live(session);
  // Declared before the screen, so that messages are printed after the screen is closed.
  std::optional<DeferredDiagnostics> deferred;
  if (wantsScreen) deferred.emplace(context.m_Diagnostics);
  const std::unique_ptr<Screen> screen = wantsScreen ? Screen::Open(out, context.m_Style) : nullptr;
  if (screen) {
    live.AddPastEvents(past);
    RunOnScreen(context, *screen, live, deadline);
  } else {
    deferred.reset();
    PrintBlocks(context, live, deadline);
  }
  CommandResult result;  // everything has been written
  result.m_Text = "";
  return result;
}

}  // namespace

Command WatchCommand() {
  Command command;
  command.m_Group = Group::Inspect;
  command.m_Name = "watch";
  command.m_Summary = "show cards and events live on a full screen";
  command.m_OutputFormats = {"table", "jsonl"};
  command.m_Options = {"--for"};
  command.m_TimeoutScope = TimeoutScope::Call;
  command.m_Run = Run;
  command.m_Description =
      "Shows the temperature and reserve of each card above the latest events, on a full "
      "screen, those with the most severe status first, with times in the local time zone. Press "
      "? for help, / to find cards, s to sort them, l for the locate LED, e for events, Enter for "
      "the selected object, q to quit. Without a "
      "terminal, or with -o table, it prints the cards and new events as plain text after each "
      "change; with -o jsonl, as JSON documents.";
  command.m_Examples = {
      {"watch", "watch the cards live, for example after a format or a repair", true},
      {"watch --for 10m -o jsonl", "record ten minutes for a script"}};
  return command;
}

}  // namespace Console
