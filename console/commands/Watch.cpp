// watch: the cards and their events as they change, on the whole terminal or as plain blocks.
#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <iterator>
#include <optional>

#include "console/base/Deadline.h"
#include "console/base/Duration.h"
#include "console/base/StopSignals.h"
#include "console/base/Timestamp.h"
#include "console/commands/All.h"
#include "console/model/Health.h"
#include "console/render/CommandResult.h"
#include "console/render/HealthCells.h"
#include "console/report/CommandContext.h"
#include "console/report/EventRows.h"
#include "console/watch/LiveModel.h"
#include "console/watch/Screen.h"
#include "console/watch/WatchView.h"

namespace Console {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

// Draws at each reading, each key, and once a second for the clock.
void OnScreen(const Context& context, Screen& screen, Watched& watched, const Deadline& deadline) {
  constexpr milliseconds kRedraw{1000};
  Interest also = context.InReader();
  also.m_Readable = STDIN_FILENO;
  WatchView view(context.m_Style.m_Ascii);
  while (!deadline.IsOver() && !context.HasLostReader()) {
    screen.Show(view.Draw(watched, screen.Size(), TimeText(NowMs())));
    watched.Wait(deadline.Left(kRedraw), also);
    for (Key key = screen.Read(); key != Key::None; key = screen.Read()) {
      if (!view.Press(key, watched)) return;
    }
  }
}

constexpr const char* kColumns[] = {
    "name", "status", "temperature_celsius", "reserve_space_ratio", "endurance_used_ratio",
};

Table BlockTable(const Model& model, bool ascii) {
  Table table;
  table.m_Columns = {{"OBJECT", "object", false}};
  for (const char* name : kColumns) {
    const Term& term = *FindTerm(Kind::Adapter, name);
    const bool number = term.m_Measure == Measure::Celsius || term.m_Measure == Measure::Ratio;
    table.m_Columns.push_back({term.m_Heading, term.m_Name, number});
  }
  table.m_Columns.push_back({"REASONS", "status_reasons", false});
  for (const Object* object : WithStatus(model)) {
    Row row{{TextCell(object->m_Selector)}, std::nullopt};
    for (const char* name : kColumns) {
      const Term* term = FindTerm(object->m_Kind, name);
      row.m_Cells.push_back(term == nullptr ? Cell{"", "-", Tone::Plain}
                                            : ValueCell(ReadTerm(*object, *term), ascii));
      if (name == kColumns[1]) row.m_Cells.back() = StatusCell(HealthOf(model, *object));
    }
    row.m_Cells.push_back(TextCell(ReasonNames(HealthOf(*object))));
    table.m_Rows.push_back(std::move(row));
  }
  return table;
}

// What has come since `seen` events.
std::vector<Watched::Entry> NewEvents(const Watched& watched, std::size_t seen) {
  const std::size_t count = std::min(watched.EventCount() - seen, watched.Log().size());
  const auto first = watched.Log().end() - static_cast<std::ptrdiff_t>(count);
  return {first, watched.Log().end()};
}

// The cards as they are and the events since the block before; the text is without its time.
Answer Block(const Watched& watched, std::size_t seen, const Style& style) {
  Answer block;
  block.m_Result = {{"objects", Json::array()}, {"events", Json::array()}};
  for (const Object& object : watched.Objects().Objects()) {
    block.m_Result["objects"].push_back(ObjectJson(watched.Objects(), object));
  }
  Table events;
  events.m_Columns = EventColumns();
  for (const Watched::Entry& entry : NewEvents(watched, seen)) {
    block.m_Result["events"].push_back(entry.m_Json);
    events.m_Rows.push_back(entry.m_Row);
  }
  Style bare = style;
  bare.m_Headings = false;
  block.m_Text = DrawTable(BlockTable(watched.Objects(), style.m_Ascii), style, false) +
                 DrawTable(events, bare, false);
  return block;
}

// A block for each change, and one for each interval of the plug-in without a change.
void AsBlocks(Context& context, Watched& watched, const Deadline& deadline) {
  std::size_t seen = 0;
  Json shown;
  auto due = steady_clock::now();
  while (!context.HasLostReader()) {
    Answer block = Block(watched, seen, context.m_Style);
    if (block.m_Result != shown || steady_clock::now() >= due) {
      block.m_Text = TimeText(NowMs()) + "\n" + *block.m_Text + "\n";
      context.Emit(block, true);
      seen = watched.EventCount();
      shown = block.m_Result;
      shown["events"] = Json::array();
      due = steady_clock::now() + watched.PollInterval();
    }
    if (deadline.IsOver()) return;
    watched.Wait(deadline.Left(Deadline(due).Left()), context.InReader());
  }
}

// Standard error is the same terminal more often than not.
void RequireQuietTrace(const Options& options) {
  const bool toFile =
      !options.m_TraceFile.empty() || secure_getenv("CORVANE_TRACE_FILE") != nullptr;
  const bool traces = options.m_Trace || secure_getenv("CORVANE_TRACE") != nullptr;
  if (!traces || toFile || isatty(STDERR_FILENO) == 0) return;
  throw UsageFailure("trace lines would be written across the screen",
                     {"Send them elsewhere with --trace-file FILE."});
}

}  // namespace

Answer RunWatch(Context& context) {
  const Options& options = context.m_Options;
  std::optional<milliseconds> span;
  if (!options.m_For.empty()) span = ParseSpan("--for", options.m_For);
  std::FILE* const out = context.Stream().File();
  const bool wantsScreen = options.m_Form.empty() && Screen::IsPossible(out);
  if (wantsScreen) RequireQuietTrace(options);
  Session& session = context.OpenToWait();
  std::vector<LoggedEvent> past;
  if (wantsScreen) past = context.EventLog().Read(0, Watched::kMostEvents);
  const Deadline deadline(span);
  session.AnswerBy(deadline);
  Watched watched(session);
  std::optional<HeldTalk> held;  // outlives the screen
  if (wantsScreen) held.emplace(context.m_Talk);
  const std::unique_ptr<Screen> screen = wantsScreen ? Screen::Open(out, context.m_Style) : nullptr;
  if (screen) {
    watched.Recall(past);
    OnScreen(context, *screen, watched, deadline);
  } else {
    held.reset();
    AsBlocks(context, watched, deadline);
  }
  Answer nothingMore;
  nothingMore.m_Text = "";
  return nothingMore;
}

}  // namespace Console
