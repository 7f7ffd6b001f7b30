// Conversion of records to JSON and back.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "console/plugin/RecordJson.h"

namespace {

using Console::CommandFromJson;
using Console::PluginCommand;
using Console::PluginReply;
using Console::RecordError;
using Console::ReplyFromJson;
using Console::ToJson;
using nlohmann::json;

PI::CProperty NewProperty() {
  return PI::CProperty(static_cast<PI::_PROPERTY_ID>(0), false);
}

// Each field differs from its default and from all others of its type.
json EveryPropertyField() {
  return json::parse(R"({
    "property_id": 1, "name_id": 2, "visible": 3, "sort_key": 4, "indicator": 5,
    "value_type": 6, "format": 7, "units": 8, "units_fixed": false, "writable": true,
    "choice": {"value": -9, "allowed": [-10, 11]}, "string": {"text": "twelve"},
    "integer": -13, "minimum": -14, "maximum": 15, "step": 16,
    "number": 18446744073709551615, "float": 1.5, "bool": true,
    "multi_value": {"values": [17], "allowed": [18, 19]}, "multi_long": {"values": [-20]},
    "xml": {"document": "<x/>"}, "multi_string": {"texts": ["a", ""]}})");
}

PI::CProperty PropertyOf(const json& record) {
  const PluginCommand command =
      CommandFromJson({{"command", "SET_PROPERTY"}, {"object", 1}, {"payload", record}});
  return std::get<PI::CProperty>(command.m_Payload);
}

json JsonOf(const PI::CProperty& property) {
  return ToJson(PluginReply{0, property})["payload"];
}

TEST(RecordJson, ConvertsEveryFieldOfAProperty) {
  const PI::CProperty property = PropertyOf(EveryPropertyField());
  EXPECT_EQ(1U, property.m_PropertyID);
  EXPECT_EQ(2U, property.m_NameID);
  EXPECT_EQ(3U, property.m_Visible);
  EXPECT_EQ(4U, property.m_SortKey);
  EXPECT_EQ(5U, property.m_Indicator);
  EXPECT_EQ(6U, property.m_ValueType);
  EXPECT_EQ(7U, property.m_Format);
  EXPECT_EQ(8U, static_cast<std::uint32_t>(property.m_Units));
  EXPECT_FALSE(property.m_UnitsFixed);
  EXPECT_TRUE(property.m_Writable);
  const auto& value = property.m_Value;
  EXPECT_EQ(-9, value.m_Choice.m_Value);
  EXPECT_THAT(value.m_Choice.m_Allowed, testing::ElementsAre(-10, 11));
  EXPECT_EQ("twelve", value.m_String.m_Text);
  EXPECT_EQ(-13, value.m_Integer);
  EXPECT_EQ(-14, value.m_Minimum);
  EXPECT_EQ(15, value.m_Maximum);
  EXPECT_EQ(16U, value.m_Step);
  EXPECT_EQ(18446744073709551615U, value.m_Number);
  EXPECT_EQ(1.5F, value.m_Float);
  EXPECT_TRUE(value.m_Bool);
  EXPECT_THAT(value.m_MultiValue.m_Values, testing::ElementsAre(17));
  EXPECT_THAT(value.m_MultiValue.m_Allowed, testing::ElementsAre(18, 19));
  EXPECT_THAT(value.m_MultiLong.m_Values, testing::ElementsAre(-20));
  EXPECT_EQ("<x/>", value.m_XML.m_Document);
  EXPECT_THAT(value.m_MultiString.m_Texts, testing::ElementsAre("a", ""));
  EXPECT_EQ(EveryPropertyField(), JsonOf(property));
}

TEST(RecordJson, OmitsDefaults) {
  EXPECT_EQ(json::object(), JsonOf(NewProperty()));
  EXPECT_EQ(json::parse(R"({"result": 0, "payload": {}})"),
            ToJson(PluginReply{0, PI::COperation()}));
}

// Returns an operation with a record of every type, all with every field.
json EveryOperationField() {
  const json property = {{"name_id", 1}};
  const json drive = {
      {"id", 2}, {"offset", 3}, {"properties", {property}}, {"size", 4}, {"flags", 5}};
  const json container = {{"drives", {drive}}};
  json event = {{"object_id", 6}, {"event_id", 7},      {"severity", 8},
                {"time", 9},      {"source_name", "s"}, {"place_holders", json::array()}};
  for (int i = 0; i < 14; ++i) event["place_holders"].push_back("p" + std::to_string(i));
  const json operation = {{"operation_id", 10}, {"name_id", 11}};
  const json object = {{"id", 12},
                       {"object_type", 13},
                       {"parents", {14}},
                       {"children", {15, 16}},
                       {"change_count", 17},
                       {"locked", true},
                       {"properties", {property}},
                       {"operations", {operation}}};
  const json logical = {{"level", 18},
                        {"properties", {property}},
                        {"size", 19},
                        {"flags", 20},
                        {"containers", {container}},
                        {"spares", {21}},
                        {"candidates", {22}},
                        {"members", {23}}};
  const json level = {{"level", 24}, {"depths", {25}}, {"flags", 26}, {"properties", {property}}};
  const json migration = {{"from", 27}, {"to", 28}, {"properties", {property}}};
  const json partition = {{"offset", 29}, {"size", 30}, {"name", "n"}, {"mount_point", "/m"}};
  return {{"operation_id", 31},
          {"name_id", 32},
          {"class", 33},
          {"properties", {property}},
          {"logical_drives", {logical}},
          {"levels", {level}},
          {"migrations", {migration}},
          {"events", {event}},
          {"partitions", {partition}},
          {"objects", {object}},
          {"access", 34},
          {"scope", 35},
          {"confirm_kind", 36},
          {"confirm_text", 37},
          {"timeout", -38},
          {"flags", 39},
          {"async", true}};
}

TEST(RecordJson, ConvertsEveryRecordInsideAnOperation) {
  const json sent = {
      {"command", "EXECUTE_OPERATION"}, {"object", 5}, {"payload", EveryOperationField()}};
  const PluginCommand command = CommandFromJson(sent);
  EXPECT_EQ(PI::CMD_EXECUTE_OPERATION, command.m_Command);
  EXPECT_EQ(5U, command.m_Object);
  EXPECT_EQ(sent, ToJson(command));
  const auto& operation = std::get<PI::COperation>(command.m_Payload);
  EXPECT_EQ(-38, operation.m_Timeout);
  EXPECT_EQ("p13", operation.m_Events.at(0).m_PlaceHolders[13]);
  EXPECT_EQ(16U, operation.m_Objects.at(0).m_Children.at(1));
  EXPECT_EQ("/m", operation.m_Partitions.at(0).m_MountPoint);
  EXPECT_EQ(3U, operation.m_LogicalDrives.at(0).m_Containers.at(0).m_Drives.at(0).m_Offset);
  EXPECT_EQ(28U, operation.m_Migrations.at(0).m_To);
  EXPECT_EQ(25U, operation.m_Levels.at(0).m_Depths.at(0));
}

struct CommandCase {
  const char* m_Name;
  std::uint32_t m_Number;
  const char* m_Payload;
};

const CommandCase kCommands[] = {
    {"INITIALIZE", PI::CMD_INITIALIZE,
     R"([{"name": "a", "segment": 1, "bus": 2, "device": 3, "function": 4,
                          "adapter_number": 5, "global_number": 6}])"},
    {"SET_ADAPTER_IDS", PI::CMD_SET_ADAPTER_IDS, R"([{"global_number": 7}])"},
    {"DEINITIALIZE", PI::CMD_DEINITIALIZE, "null"},
    {"GET_TOPOLOGY", PI::CMD_GET_TOPOLOGY, R"([{"id": 1}, {"id": 2}])"},
    {"GET_PROPERTIES", PI::CMD_GET_PROPERTIES, R"([{"name_id": 1}])"},
    {"GET_PROPERTY", PI::CMD_GET_PROPERTY, R"({"property_id": 1})"},
    {"SET_PROPERTY", PI::CMD_SET_PROPERTY, R"({"property_id": 1})"},
    {"GET_OPERATIONS", PI::CMD_GET_OPERATIONS, R"([{"operation_id": 2}])"},
    {"CHECK_OPERATION", PI::CMD_CHECK_OPERATION, R"({"operation_id": 2})"},
    {"EXECUTE_OPERATION", PI::CMD_EXECUTE_OPERATION, R"({"operation_id": 2})"},
};

TEST(RecordJson, ConvertsEveryCommandWithItsPayload) {
  for (const CommandCase& each : kCommands) {
    SCOPED_TRACE(each.m_Name);
    const json sent = {
        {"command", each.m_Name}, {"object", 9}, {"payload", json::parse(each.m_Payload)}};
    const PluginCommand command = CommandFromJson(sent);
    EXPECT_EQ(each.m_Number, command.m_Command);
    EXPECT_EQ(sent, ToJson(command));
    const json reply = {{"result", 4294967295U}, {"payload", sent["payload"]}};
    EXPECT_EQ(reply, ToJson(ReplyFromJson(command.m_Command, reply)));
  }
}

struct TextCase {
  std::string m_Text;
  json m_Json;
};

TEST(RecordJson, ConvertsAnyString) {
  const TextCase cases[] = {
      {"", nullptr},  // the default, which is omitted
      {"caf\xc3\xa9", "caf\xc3\xa9"},
      {std::string("\0\x1b\n", 3), std::string("\0\x1b\n", 3)},
      {"A\xff", {{"hex", "41ff"}}},
      {"\xc3", {{"hex", "c3"}}},
      {"\xed\xa0\x80", {{"hex", "eda080"}}},  // a surrogate
  };
  for (const TextCase& each : cases) {
    SCOPED_TRACE(each.m_Json.dump());
    HostKit::LoggedEvent event{};
    event.m_SourceName = each.m_Text;
    const json sent = ToJson(event);
    EXPECT_EQ(each.m_Json, sent.contains("source_name") ? sent["source_name"] : json());
    EXPECT_EQ(each.m_Text, Console::LoggedEventFromJson(json::parse(sent.dump())).m_SourceName);
  }
}

TEST(RecordJson, ConvertsAnyFloat) {
  const float infinity = std::numeric_limits<float>::infinity();
  for (const float value : {-1.25F, 3.4028235e38F, 1e-45F, infinity, -infinity}) {
    PI::CProperty property = NewProperty();
    property.m_Value.m_Float = value;
    EXPECT_EQ(value, PropertyOf(json::parse(JsonOf(property).dump())).m_Value.m_Float);
  }
  PI::CProperty property = NewProperty();
  property.m_Value.m_Float = std::nanf("");
  EXPECT_TRUE(std::isnan(PropertyOf(JsonOf(property)).m_Value.m_Float));
}

// Returns the error message, or "accepted".
std::string WhyRejected(const json& command) {
  try {
    CommandFromJson(command);
  } catch (const RecordError& error) {
    return error.what();
  }
  return "accepted";
}

std::string WhyPropertyRejected(const char* record) {
  return WhyRejected({{"command", "SET_PROPERTY"}, {"payload", json::parse(record)}});
}

struct PropertyCase {
  const char* m_Record;
  const char* m_Expected;
};

TEST(RecordJson, RejectsInvalidRecords) {
  const PropertyCase cases[] = {
      {"[]", "payload: expected an object"},
      {"null", "payload: expected an object"},
      {R"({"hue": 1})", "payload: unknown field hue"},
      {R"({"\u001b[2J": 1})", R"(payload: unknown field \x1b[2J)"},
      {R"({"visible": -1})", "payload.visible: expected an integer from 0 to 4294967295"},
      {R"({"visible": 4294967296})", "payload.visible: expected an integer from 0 to 4294967295"},
      {R"({"visible": 4294967295})", "accepted"},
      {R"({"visible": 1.0})", "payload.visible: expected an integer from 0 to 4294967295"},
      {R"({"visible": "1"})", "payload.visible: expected an integer from 0 to 4294967295"},
      {R"({"visible": true})", "payload.visible: expected an integer from 0 to 4294967295"},
      {R"({"integer": -2147483648})", "accepted"},
      {R"({"integer": -2147483649})",
       "payload.integer: expected an integer from -2147483648 to 2147483647"},
      {R"({"integer": 2147483647})", "accepted"},
      {R"({"integer": 2147483648})",
       "payload.integer: expected an integer from -2147483648 to 2147483647"},
      {R"({"multi_long": {"values": [-9223372036854775808]}})", "accepted"},
      {R"({"number": 18446744073709551616})",
       "payload.number: expected an integer from 0 to 18446744073709551615"},
      {R"({"bool": 1})", "payload.bool: expected true or false"},
      {R"({"float": 3.5e38})",
       R"(payload.float: expected a 32-bit number, "nan", "inf" or "-inf")"},
      {R"({"float": "Inf"})", R"(payload.float: expected a 32-bit number, "nan", "inf" or "-inf")"},
      {R"({"string": {"text": 5}})",
       R"(payload.string.text: expected a string or {"hex": "..."} with pairs of lowercase hexadecimal digits)"},
      {R"({"string": {"text": {"hex": "f"}}})",
       R"(payload.string.text: expected a string or {"hex": "..."} with pairs of lowercase hexadecimal digits)"},
      {R"({"string": {"text": {"hex": "FF"}}})",
       R"(payload.string.text: expected a string or {"hex": "..."} with pairs of lowercase hexadecimal digits)"},
      {R"({"string": {"text": {"hex": "ff", "x": 1}}})",
       R"(payload.string.text: expected a string or {"hex": "..."} with pairs of lowercase hexadecimal digits)"},
      {R"({"choice": {"allowed": 1}})", "payload.choice.allowed: expected an array"},
      {R"({"choice": {"allowed": [1, 2.5]}})",
       "payload.choice.allowed[1]: expected an integer from -2147483648 to 2147483647"},
  };
  for (const PropertyCase& each : cases) {
    EXPECT_EQ(each.m_Expected, WhyPropertyRejected(each.m_Record)) << each.m_Record;
  }
}

TEST(RecordJson, RejectsInvalidCommands) {
  EXPECT_EQ("document: expected an object", WhyRejected(json::array()));
  EXPECT_EQ("command: expected the name of a command", WhyRejected(json::object()));
  EXPECT_EQ("command: expected the name of a command", WhyRejected({{"command", 4}}));
  EXPECT_EQ("command: expected the name of a command", WhyRejected({{"command", "get_topology"}}));
  EXPECT_EQ("document: unknown field x", WhyRejected({{"command", "GET_TOPOLOGY"}, {"x", 1}}));
  EXPECT_EQ("object: expected an integer from 0 to 18446744073709551615",
            WhyRejected({{"command", "GET_TOPOLOGY"}, {"object", -1}}));
  EXPECT_EQ("payload: expected null", WhyRejected({{"command", "DEINITIALIZE"}, {"payload", 0}}));
}

TEST(RecordJson, RejectsInvalidReplies) {
  EXPECT_THROW(ReplyFromJson(PI::CMD_GET_TOPOLOGY, json::object()), RecordError);
  EXPECT_THROW(ReplyFromJson(PI::CMD_GET_TOPOLOGY, {{"result", 0}, {"more", 1}}), RecordError);
  EXPECT_EQ(3U, ReplyFromJson(PI::CMD_GET_TOPOLOGY, {{"result", 3}}).m_Result);
}

// Returns a command with `operations` nested operations. Each is in an object of the next one, and
// each operation and object adds two levels of JSON.
json MakeNested(int operations) {
  json operation = json::object();
  for (int i = 1; i < operations; ++i) {
    operation = {{"objects", {{{"operations", {operation}}}}}};
  }
  return {{"command", "EXECUTE_OPERATION"}, {"payload", operation}};
}

TEST(RecordJson, LimitsNesting) {
  EXPECT_EQ("accepted", WhyRejected(MakeNested(5)));
  EXPECT_THAT(WhyRejected(MakeNested(6)), testing::EndsWith(": nested too deeply"));
}

TEST(RecordJson, ConvertsEveryFieldOfALogEntry) {
  HostKit::LoggedEvent event{};
  event.m_Number = -1;
  event.m_Time = 18446744073709551615UL;
  event.m_Severity = 3;
  event.m_EventID = 4294967295U;
  event.m_ObjectID = 5;
  event.m_SourceName = "A\xff";
  event.m_Message = "message";
  event.m_SerialNumber = "S100";
  event.m_ObjectType = 19038;
  const json sent = ToJson(event);
  const json expected = {{"number", -1},         {"time", 18446744073709551615UL},
                         {"severity", 3},        {"event_id", 4294967295U},
                         {"object_id", 5},       {"source_name", {{"hex", "41ff"}}},
                         {"message", "message"}, {"serial_number", "S100"},
                         {"object_type", 19038}};
  EXPECT_EQ(expected, sent);
  EXPECT_EQ(sent, ToJson(Console::LoggedEventFromJson(sent)));
  EXPECT_THROW(Console::LoggedEventFromJson({{"number", "1"}}), RecordError);
}

TEST(RecordJson, ConvertsEveryFieldOfACount) {
  const json sent = ToJson(HostKit::EventCount{10967, 3, 7, "S100"});
  const json expected = {
      {"event_id", 10967}, {"severity", 3}, {"count", 7}, {"serial_number", "S100"}};
  EXPECT_EQ(expected, sent);
  EXPECT_EQ(sent, ToJson(Console::EventCountFromJson(sent)));
  EXPECT_THROW(Console::EventCountFromJson({{"number", 1}}), RecordError);
}

TEST(RecordJson, ConvertsATableOfRows) {
  const HostKit::RowTable table = {
      "host_drive_rows",
      {{"ID", HostKit::CellKind::Integer}, {"pd_name", HostKit::CellKind::Text}},
      {{"1", "A\xff"}, {"2", std::nullopt}}};
  const json sent = ToJson(table);
  const json expected = {
      {"name", "host_drive_rows"},
      {"columns", {{{"name", "ID"}, {"kind", 2}}, {{"name", "pd_name"}}}},
      {"rows", json::array({json::array({"1", {{"hex", "41ff"}}}), json::array({"2", nullptr})})}};
  EXPECT_EQ(expected, sent);
  EXPECT_EQ(sent, ToJson(Console::RowTableFromJson(sent)));
  json shorter = sent;
  shorter["rows"][1].erase(1);
  EXPECT_THROW(Console::RowTableFromJson(shorter), RecordError);
  json unknown = sent;
  unknown["columns"][0]["kind"] = 4;
  EXPECT_THROW(Console::RowTableFromJson(unknown), RecordError);
}

TEST(RecordJson, RejectsAnEventWithTooFewPlaceholders) {
  const json event = {{"place_holders", {"one"}}};
  EXPECT_EQ("payload.events[0].place_holders: expected an array of 14 elements",
            WhyRejected({{"command", "EXECUTE_OPERATION"}, {"payload", {{"events", {event}}}}}));
}

}  // namespace
