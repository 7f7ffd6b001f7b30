// What the console reads from a service, and the service from the plug-in process.
#include <algorithm>
#include <cstdlib>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

#include "console/base/Failure.h"
#include "console/plugin/RecordJson.h"
#include "fuzz/Require.h"
#include "fuzz/Targets.h"
#include "service/StateReplies.h"
#include "service/WorkerDocuments.h"
#include "service/client/ServiceFailure.h"
#include "service/client/SessionReplies.h"
#include "service/client/StreamLines.h"

namespace CorvaneFuzz {
namespace {

using Json = nlohmann::json;

// Returns whether the document is accepted. A rejection must have a message.
template <class Parse>
bool TryParse(Parse parse) {
  try {
    parse();
    return true;
  } catch (const Console::RecordError& error) {
    Require(error.what()[0] != '\0', "the error message is empty");
  } catch (const Json::exception& error) {
    Require(error.what()[0] != '\0', "the error message is empty");
  } catch (const Console::Failure& failure) {
    Require(!failure.m_Text.empty() && !failure.m_Id.empty(), "rejection has no message or id");
  }
  return false;
}

// Whether the text of the field is an integer without a sign, fraction or exponent.
bool IsCount(const Json& json, const char* name) {
  const std::string text = json.at(name).dump();
  return !text.empty() && text.find_first_not_of("0123456789") == text.npos;
}

// Whether any line of the stream is an event.
bool HasEvent(const std::string& stream) {
  const auto end = stream.rfind('\n');
  if (end == stream.npos) return false;
  return ('\n' + stream.substr(0, end)).find("\nevent:") != std::string::npos;
}

// Appends the stream in parts of this size; returns whether an event was found.
bool FindEvent(const std::string& stream, std::size_t size) {
  Service::StreamLines lines;
  bool hasEvent = false;
  for (std::size_t at = 0; at < stream.size(); at += size) {
    Require(lines.Append(std::string_view(stream).substr(at, size)), "rejected a short line");
    hasEvent = lines.TakeChange() || hasEvent;
    Require(!lines.TakeChange(), "reported a change twice");
  }
  return hasEvent;
}

void CheckSession(const Json& json) {
  Service::SessionState state;
  if (!TryParse([&] { state = Service::SessionStateFromJson(json); })) return;
  Require(IsCount(json, "failed_threads") && IsCount(json, "newest_event"),
          "accepted a number that is not an integer");
  Require(Json(state.m_NewestEvent) == json["newest_event"] && state.m_NewestEvent >= 0,
          "changed the number of an event");
  Require(state.m_StartDuration.count() >= 0, "duration is negative");
}

void CheckLog(const Json& json) {
  Service::LogReply reply;
  if (!TryParse([&] { reply = Service::LogReplyFromJson(json); })) return;
  Require(IsCount(json, "newest"), "accepted a number that is not an integer");
  Require(reply.m_Events.size() == json["events"].size(), "lost an event");
}

template <class Check>
void WithJson(const std::string& input, Check check) {
  const Json json = Json::parse(input, nullptr, false);
  if (!json.is_discarded()) check(json);
}

}  // namespace

// Input: a document of the session interface.
void SessionReplies(const std::string& input) {
  WithJson(input, [](const Json& json) {
    CheckSession(json);
    CheckLog(json);
    TryParse([&] {
      Require(Service::EventCountsFromJson(json).size() == json.at("counts").size(),
              "lost a count");
    });
    TryParse([&] {
      const auto times = Console::ToJson(Console::CardTimesFromJson(json));
      Require(Console::ToJson(Console::CardTimesFromJson(times)) == times, "changed the times");
    });
    TryParse([&] {
      const auto rows = Console::RowTableFromJson(json);
      for (const auto& column : rows.m_Columns) {
        Require(column.m_Kind <= HostKit::CellKind::Real, "unknown kind of column");
      }
      const auto table = Console::ToJson(rows);
      Require(Console::ToJson(Console::RowTableFromJson(table)) == table, "changed the rows");
    });
  });
}

// Input: a reply with stored state: known cards, acknowledgments or a history.
void StateReplies(const std::string& input) {
  WithJson(input, [](const Json& json) {
    TryParse([&] {
      for (const auto& card : Service::KnownCardsFromJson(json)) {
        Require(card.m_Position >= 0, "position is negative");
        Require(card.m_SizeBytes.value_or(0) >= 0, "size is negative");
      }
    });
    TryParse([&] { Service::AcknowledgmentFromJson(json); });
    TryParse([&] { Service::AcknowledgmentsFromJson(json); });
    TryParse([&] {
      const auto series = Service::HistorySeriesFromJson(json);
      Require(series.m_Step > 0 && series.m_Step / 1000 == json.at("step_seconds"),
              "changed the step");
      Require(series.m_Points.size() <= Service::kMaxPoints, "too many points");
    });
  });
}

// Input: the status, a newline, and the body. The exit code of a failure is never 0.
void Problem(const std::string& input) {
  const auto end = std::min(input.find('\n'), input.size());
  Service::HttpReply reply;
  reply.m_Status = std::clamp(std::atol(input.substr(0, end).c_str()), 100L, 599L);
  reply.m_Body = end < input.size() ? input.substr(end + 1) : "";
  const Console::Failure failure = Service::ProblemFailure(reply, "/run/s");
  Require(failure.m_Code != Console::ExitCode::Done, "the exit code is 0");
  Require(!failure.m_Id.empty(), "the failure has no id");
  const std::string id = Service::ProblemId(reply);
  Require(failure.m_Id == id || failure.m_Id == "SERVICE_REPLY_INVALID", "changed the id");
}

// Input: the bytes of an event stream. The result does not depend on how they are split.
void Stream(const std::string& input) {
  for (const std::size_t size : {input.size() + 1, std::size_t(1), std::size_t(7)}) {
    Require(FindEvent(input, size) == HasEvent(input), "event missed, or found without a line");
  }
}

// Input: a document from the plug-in process.
void WorkerDocuments(const std::string& input) {
  WithJson(input, [](const Json& json) {
    TryParse([&] { Service::ParseGreeting(json); });
    TryParse([&] {
      const auto document = Service::ParseWorkerDocument(json);
      if (document.m_IsNotification) return;
      Require(IsCount(json, "id") && IsCount(json, "failed_threads"),
              "accepted a number that is not an integer");
      Require(document.m_Reply.size() + 4 == json.size(), "lost a field of the reply");
    });
  });
}

}  // namespace CorvaneFuzz
