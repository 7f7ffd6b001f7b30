// events: what the plug-in has queued, once or as it comes.
#include <chrono>
#include <optional>

#include "console/Answer.h"
#include "console/Context.h"
#include "console/EventView.h"
#include "console/Span.h"
#include "console/Stop.h"
#include "console/commands/All.h"

namespace Console {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

Answer Collect(Context& context) {
  Session& session = context.Open();
  const std::vector<PI::CEvent> events = session.CollectEvents();
  const Model model = context.Objects();
  Answer answer;
  answer.m_Items = "events";
  answer.m_Result = {{"events", Json::array()}};
  answer.m_Table.m_Columns = EventColumns();
  for (const PI::CEvent& event : events) {
    answer.m_Result["events"].push_back(EventJson(model, event));
    answer.m_Table.m_Rows.push_back(EventRow(model, event));
  }
  return answer;
}

// Each batch is written at once. Ends when the time is over or nobody reads any more; a signal ends
// it by an exception.
Answer Follow(Context& context, std::optional<milliseconds> span) {
  constexpr milliseconds kOneWait = std::chrono::hours(1);
  context.Open();
  const auto end = steady_clock::now() + span.value_or(milliseconds(0));
  bool first = true;
  while (true) {
    const Answer batch = Collect(context);
    if (context.HasLostReader()) break;
    if (!batch.m_Table.m_Rows.empty()) {
      context.Emit(batch, first);
      first = false;
    }
    CheckStop();
    const auto left = std::chrono::duration_cast<milliseconds>(end - steady_clock::now());
    if (span && left <= milliseconds(0)) break;
    context.Open().WaitForNotification(span ? std::min(left + milliseconds(1), kOneWait) : kOneWait,
                                       context.InReader());
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
  return Follow(context, ParseSpan("--for", options.m_For));
}

}  // namespace Console
