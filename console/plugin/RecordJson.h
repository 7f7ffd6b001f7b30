// Records of the plug-in interface as JSON, to be exchanged with another process.
//
// Fields with default values are omitted, and decoding restores them. Text that is not UTF-8 is
// written as {"hex": "41ff"}, non-finite numbers as "nan", "inf" and "-inf". The functions are
// thread-safe.
#pragma once

#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>

#include "console/plugin/PluginCommand.h"
#include "console/plugin/Session.h"
#include "hostkit/Database.h"
#include "hostkit/EventCounts.h"
#include "hostkit/EventLog.h"

namespace Console {

// Thrown for JSON that is not the expected record. The message contains the path of the value:
// "payload[2].units: expected an integer from 0 to 4294967295".
class RecordError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Returns {"command": "GET_PROPERTY", "object": 7, "payload": ...}. Throws `RecordError` if the
// interface has no such command.
nlohmann::json ToJson(const PluginCommand& command);
// Throws `RecordError`.
PluginCommand CommandFromJson(const nlohmann::json& json);

// Returns {"result": 0, "payload": ...}.
nlohmann::json ToJson(const PluginReply& reply);
// Returns the reply to `command`. Throws `RecordError`.
PluginReply ReplyFromJson(PI::_COMMAND command, const nlohmann::json& json);

// Returns {"file": ..., "module_id": ..., "interface_version": ...}.
nlohmann::ordered_json ToJson(const PluginInfo& info);
// Throws `RecordError`.
PluginInfo PluginInfoFromJson(const nlohmann::json& json);

// Convert the records of cards and the times of objects; decoding throws `RecordError`.
nlohmann::json ToJson(const CardRecords& records);
CardRecords CardRecordsFromJson(const nlohmann::json& json);
nlohmann::json ToJson(const CardTimes& times);
CardTimes CardTimesFromJson(const nlohmann::json& json);

// Convert an entry of the event log; decoding throws `RecordError`.
nlohmann::json ToJson(const HostKit::LoggedEvent& event);
HostKit::LoggedEvent LoggedEventFromJson(const nlohmann::json& json);

// Convert the count of one kind of event; decoding throws `RecordError`.
nlohmann::json ToJson(const HostKit::EventCount& count);
HostKit::EventCount EventCountFromJson(const nlohmann::json& json);

// Convert a table of rows; decoding throws `RecordError`, also if a row does not have one cell per
// column or a column has an unknown kind.
nlohmann::json ToJson(const HostKit::RowTable& table);
HostKit::RowTable RowTableFromJson(const nlohmann::json& json);

}  // namespace Console
