#include "service/client/SessionReplies.h"

#include <fmt/format.h>

#include <limits>

#include "console/plugin/RecordJson.h"

namespace Service {
namespace {

using Json = nlohmann::json;

const Json& FieldOf(const Json& json, const char* name) {
  if (!json.is_object()) throw Console::RecordError("document: expected an object");
  const auto found = json.find(name);
  if (found == json.end()) throw Console::RecordError(fmt::format("{}: missing", name));
  return *found;
}

std::chrono::duration<double> SecondsField(const Json& json, const char* name) {
  const Json& field = FieldOf(json, name);
  if (!field.is_number() || field.get<double>() < 0) {
    throw Console::RecordError(fmt::format("{}: expected a number of seconds", name));
  }
  return std::chrono::duration<double>(field.get<double>());
}

}  // namespace

std::int64_t CountField(const Json& json, const char* name) {
  constexpr std::uint64_t kMax = std::numeric_limits<std::int64_t>::max();
  const Json& field = FieldOf(json, name);
  if (!field.is_number_unsigned() || field.get<std::uint64_t>() > kMax) {
    throw Console::RecordError(fmt::format("{}: expected an integer from 0 to {}", name, kMax));
  }
  return field.get<std::int64_t>();
}

const Json& ListField(const Json& json, const char* name) {
  const Json& field = FieldOf(json, name);
  if (!field.is_array()) throw Console::RecordError(fmt::format("{}: expected an array", name));
  return field;
}

SessionState SessionStateFromJson(const Json& json) {
  SessionState state;
  state.m_Info = Console::PluginInfoFromJson(FieldOf(json, "plugin"));
  state.m_IsUp = FieldOf(json, "up").get<bool>();
  state.m_Reason = FieldOf(json, "reason").get<std::string>();
  state.m_HasCards = FieldOf(json, "has_cards").get<bool>();
  state.m_FailedThreads = static_cast<std::size_t>(CountField(json, "failed_threads"));
  state.m_StartDuration = SecondsField(json, "start_seconds");
  state.m_NewestEvent = CountField(json, "newest_event");
  state.m_IsSimulated = FieldOf(json, "simulated").get<bool>();
  state.m_RecordsFailure = FieldOf(json, "records_failure").get<std::string>();
  state.m_DatabaseFile = FieldOf(json, "database_file").get<std::string>();
  return state;
}

LogReply LogReplyFromJson(const Json& json) {
  LogReply reply;
  for (const Json& each : ListField(json, "events")) {
    reply.m_Events.push_back(Console::LoggedEventFromJson(each));
  }
  reply.m_Newest = CountField(json, "newest");
  return reply;
}

std::vector<HostKit::EventCount> EventCountsFromJson(const Json& json) {
  std::vector<HostKit::EventCount> counts;
  for (const Json& each : ListField(json, "counts")) {
    counts.push_back(Console::EventCountFromJson(each));
  }
  return counts;
}

}  // namespace Service
