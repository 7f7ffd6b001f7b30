// The plug-in interface's records as JSON, for another process.
//
// Fields with default values are omitted, and decoding restores them. Text that is not UTF-8 is
// written as {"hex": "41ff"}, non-finite numbers as "nan", "inf" and "-inf". Safe to call from any
// thread.
#pragma once

#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>

#include "console/plugin/PluginCommand.h"
#include "console/plugin/Session.h"
#include "hostkit/EventCounts.h"
#include "hostkit/EventLog.h"

namespace Console {

// JSON that is not the expected record. The text names the place: "payload[2].units:
// expected a number from 0 to 4294967295".
class RecordError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// {"command": "GET_PROPERTY", "object": 7, "payload": ...}.
nlohmann::json ToJson(const PluginCommand& command);
// Throws `RecordError`.
PluginCommand CommandFromJson(const nlohmann::json& json);

// {"result": 0, "payload": ...}.
nlohmann::json ToJson(const PluginReply& reply);
// The reply to `command`; throws `RecordError`.
PluginReply ReplyFromJson(PI::_COMMAND command, const nlohmann::json& json);

// {"file": ..., "module_id": ..., "interface_version": ...}.
nlohmann::ordered_json ToJson(const PluginInfo& info);
// Throws `RecordError`.
PluginInfo PluginInfoFromJson(const nlohmann::json& json);

// An entry of the event log; the reader throws `RecordError`.
nlohmann::json ToJson(const HostKit::LoggedEvent& event);
HostKit::LoggedEvent LoggedEventFromJson(const nlohmann::json& json);

// The counts of one event; the reader throws `RecordError`.
nlohmann::json ToJson(const HostKit::EventCount& count);
HostKit::EventCount EventCountFromJson(const nlohmann::json& json);

// An event alone.
nlohmann::json ToJson(const PI::CEvent& event);
// Throws `RecordError`.
PI::CEvent EventFromJson(const nlohmann::json& json);

}  // namespace Console
