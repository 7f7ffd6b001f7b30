// events: what the plug-in has queued, once or as it comes.
#include <fmt/format.h>

#include <charconv>
#include <chrono>
#include <map>

#include "console/Answer.h"
#include "console/Context.h"
#include "console/Stop.h"
#include "console/commands/All.h"
#include "hostkit/Texts.h"

namespace Console {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

struct Severity {
  std::uint32_t m_Number;
  const char* m_Name;
  Tone m_Tone;
};

constexpr Severity kSeverities[] = {
    {PI::SEVERITY_INFORMATION, "information", Tone::Plain},
    {PI::SEVERITY_WARNING, "warning", Tone::Warning},
    {PI::SEVERITY_ERROR, "error", Tone::Bad},
};

Severity SeverityOf(const PI::CEvent& event) {
  for (const Severity& row : kSeverities) {
    if (row.m_Number == event.m_Severity) return row;
  }
  return {event.m_Severity, "unknown", Tone::Plain};
}

Json EventJson(const Model& model, const PI::CEvent& event) {
  Json json = {{"time", TimeText(event.m_Time)},
               {"severity", SeverityOf(event).m_Name},
               {"event_id", event.m_EventID},
               {"event", HostKit::NameOf(HostKit::Family::Event, event.m_EventID)},
               {"id", IdText(event.m_ObjectID)}};
  const Object* object = model.Find(event.m_ObjectID);
  json["object"] = nullptr;
  if (object != nullptr) json["object"] = object->m_Selector;
  json["source"] = event.m_SourceName;
  json["text"] = HostKit::MessageOf(event);
  return json;
}

Row EventRow(const Model& model, const PI::CEvent& event) {
  const Severity severity = SeverityOf(event);
  return {{TextCell(TimeText(event.m_Time)),
           {severity.m_Name, severity.m_Name, severity.m_Tone},
           TextCell(std::to_string(event.m_EventID)),
           TextCell(HostKit::NameOf(HostKit::Family::Event, event.m_EventID)),
           TextCell(model.SelectorOf(event.m_ObjectID)),
           TextCell(HostKit::MessageOf(event))},
          std::nullopt};
}

// Wide enough for every event, since they are also drawn one by one as they come.
const std::vector<Column> kColumns = {
    {"TIME", "time", false, false, 25},    {"SEVERITY", "severity", false, false, 11},
    {"ID", "event_id", true, false, 5},    {"EVENT", "event", false, false, 36},
    {"OBJECT", "object", false, false, 6}, {"TEXT", "text", false, false, 0},
};

Answer Collect(Context& context) {
  Session& session = context.Open();
  const std::vector<PI::CEvent> events = session.CollectEvents();
  const Model model = context.Objects();
  Answer answer;
  answer.m_Items = "events";
  answer.m_Result = {{"events", Json::array()}};
  answer.m_Table.m_Columns = kColumns;
  for (const PI::CEvent& event : events) {
    answer.m_Result["events"].push_back(EventJson(model, event));
    answer.m_Table.m_Rows.push_back(EventRow(model, event));
  }
  return answer;
}

struct TimeUnit {
  const char* m_Symbol;
  std::int64_t m_Milliseconds;
};

constexpr TimeUnit kTimeUnits[] = {
    {"", 1000}, {"ms", 1}, {"s", 1000}, {"m", 60'000}, {"h", 3'600'000}};

milliseconds ParseSpan(const std::string& text) {
  constexpr std::int64_t kLongest = 1'000'000;
  std::int64_t number = -1;
  const char* end = text.data() + text.size();
  const char* stop = std::from_chars(text.data(), end, number).ptr;
  for (const TimeUnit& unit : kTimeUnits) {
    const bool fits = number >= 0 && number <= kLongest;
    if (fits && std::string(stop, end) == unit.m_Symbol)
      return milliseconds(number * unit.m_Milliseconds);
  }
  throw UsageFailure(fmt::format("--for cannot be '{}'", text), {"It may be 30s, 5m or 1h."});
}

// Each batch is written at once. Ends when the time is over; a signal ends it by an exception.
Answer Follow(Context& context, std::optional<milliseconds> span) {
  constexpr milliseconds kOneWait = std::chrono::hours(1);
  context.Open();
  const auto end = steady_clock::now() + span.value_or(milliseconds(0));
  bool first = true;
  while (true) {
    const Answer batch = Collect(context);
    if (!batch.m_Table.m_Rows.empty()) {
      context.Emit(batch, first);
      first = false;
    }
    CheckStop();
    const auto left = std::chrono::duration_cast<milliseconds>(end - steady_clock::now());
    if (span && left <= milliseconds(0)) break;
    context.Open().WaitForNotification(span ? std::min(left + milliseconds(1), kOneWait)
                                            : kOneWait);
    CheckStop();
  }
  Answer nothingMore;
  nothingMore.m_Text = "";
  nothingMore.m_Items = "events";
  nothingMore.m_Result = {{"events", Json::array()}};
  return nothingMore;
}

void TellNothing(Talk& talk) {
  talk.Note("NO_EVENTS", "no events are waiting",
            {"The cards are watched only while this program runs: see --for and -f."});
}

}  // namespace

Answer RunEvents(Context& context) {
  const Options& options = context.m_Options;
  if (!options.m_Follow && options.m_For.empty()) {
    Answer answer = Collect(context);
    if (answer.m_Table.m_Rows.empty()) TellNothing(context.m_Talk);
    return answer;
  }
  if (context.m_Form == "json") {
    throw UsageFailure("events that are waited for have no form 'json'",
                       {"Use -o jsonl: a document in each line."});
  }
  if (options.m_For.empty()) return Follow(context, std::nullopt);
  return Follow(context, ParseSpan(options.m_For));
}

}  // namespace Console
