// The replies of the service's session interface.
#pragma once

#include <chrono>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "console/plugin/Session.h"
#include "hostkit/EventCounts.h"
#include "hostkit/EventLog.h"

namespace Service {

// The plug-in of a service and its state.
struct SessionState {
  Console::PluginInfo m_Info;
  bool m_IsUp = false;
  std::string m_Reason;  // why the plug-in is not running
  bool m_HasCards = false;
  std::size_t m_FailedThreads = 0;
  std::chrono::duration<double> m_StartDuration{0};
  std::int64_t m_NewestEvent = 0;
  bool m_IsSimulated = false;    // whether the cards are simulated
  std::string m_RecordsFailure;  // why the known cards cannot be read; empty: they can
  std::string m_DatabaseFile;
};

// A part of the event log.
struct LogReply {
  std::vector<HostKit::LoggedEvent> m_Events;
  std::int64_t m_Newest = 0;  // number of the newest event in the log
};

// These functions throw `Console::RecordError` or `nlohmann::json::exception` if the document is
// not the expected reply.
SessionState SessionStateFromJson(const nlohmann::json& json);
LogReply LogReplyFromJson(const nlohmann::json& json);
std::vector<HostKit::EventCount> EventCountsFromJson(const nlohmann::json& json);

// Returns the field `name` of an object. Throws `Console::RecordError` if it is missing or not an
// integer from 0 to the largest signed 64-bit integer.
std::int64_t CountField(const nlohmann::json& json, const char* name);

// Returns the field `name` of an object. Throws `Console::RecordError` if it is missing or not an
// array.
const nlohmann::json& ListField(const nlohmann::json& json, const char* name);

}  // namespace Service
