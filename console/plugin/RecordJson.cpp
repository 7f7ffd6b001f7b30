#include "console/plugin/RecordJson.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>
#include <type_traits>
#include <utility>
#include <vector>

#include "base/Printable.h"
#include "console/plugin/RecordFields.h"

namespace Console {
namespace {

using Json = nlohmann::json;

// The maximum nesting depth. An operation may contain objects, which contain operations; no host
// nests them further.
constexpr int kMaxDepth = 16;

// The position of a value in the document, for messages and the depth limit.
struct Location {
  std::string m_Path;
  int m_Depth = 0;

  Location Field(const std::string& name) const {
    return {m_Path.empty() ? name : m_Path + "." + name, m_Depth + 1};
  }
  Location Element(std::size_t index) const {
    return {fmt::format("{}[{}]", m_Path, index), m_Depth + 1};
  }
};

[[noreturn]] void Reject(const Location& location, const std::string& why) {
  throw RecordError(
      fmt::format("{}: {}", location.m_Path.empty() ? "document" : location.m_Path, why));
}

template <class Record, class = void>
struct IsRecord : std::false_type {};
template <class Record>
struct IsRecord<Record, std::void_t<decltype(sizeof(RecordFields<Record>))>> : std::true_type {};

template <class Record>
Record CreateDefault() {
  return Record();
}

template <>
PI::CProperty CreateDefault() {
  return PI::CProperty(static_cast<PI::_PROPERTY_ID>(0), false);
}

Json Write(bool value) {
  return value;
}

template <class Number>
std::enable_if_t<std::is_integral_v<Number> || std::is_enum_v<Number>, Json> Write(Number value) {
  if constexpr (std::is_enum_v<Number>) {
    return static_cast<std::underlying_type_t<Number>>(value);
  } else {
    return value;
  }
}

Json Write(float value) {
  if (std::isnan(value)) return "nan";
  if (std::isinf(value)) return value > 0 ? "inf" : "-inf";
  return value;
}

Json Write(const std::string& text) {
  if (Base::IsUtf8(text)) return text;
  std::string digits;
  for (const char each : text) digits += fmt::format("{:02x}", static_cast<unsigned char>(each));
  return Json{{"hex", std::move(digits)}};
}

template <class Value>
Json Write(const std::optional<Value>& value) {
  return value ? Write(*value) : Json();
}

template <class Record>
std::enable_if_t<IsRecord<Record>::value, Json> Write(const Record& record);

template <class Element>
Json Write(const std::vector<Element>& list);

template <class List>
Json WriteList(const List& list) {
  Json json = Json::array();
  for (const auto& each : list) json.push_back(Write(each));
  return json;
}

template <class Element>
Json Write(const std::vector<Element>& list) {
  return WriteList(list);
}

template <class Element, std::size_t size>
Json Write(const std::array<Element, size>& list) {
  return WriteList(list);
}

template <class Record>
Json WriteAllFields(const Record& record) {
  Json json = Json::object();
  RecordFields<Record>::Visit(
      record, [&json](const char* name, const auto& member) { json[name] = Write(member); });
  return json;
}

template <class Record>
std::enable_if_t<IsRecord<Record>::value, Json> Write(const Record& record) {
  static const Json defaults = WriteAllFields(CreateDefault<Record>());
  Json json = Json::object();
  RecordFields<Record>::Visit(record, [&json](const char* name, const auto& member) {
    Json value = Write(member);
    if (value != defaults[name]) json[name] = std::move(value);
  });
  return json;
}

void Read(const Json& json, bool& value, const Location& location) {
  if (!json.is_boolean()) Reject(location, "expected true or false");
  value = json.get<bool>();
}

template <class Number>
[[noreturn]] void RejectRange(const Location& location) {
  Reject(location,
         fmt::format("expected an integer from {} to {}", std::numeric_limits<Number>::min(),
                     std::numeric_limits<Number>::max()));
}

template <class Number>
std::enable_if_t<std::is_integral_v<Number>> Read(const Json& json, Number& value,
                                                  const Location& location) {
  using Limits = std::numeric_limits<Number>;
  if (!json.is_number_integer()) RejectRange<Number>(location);
  const bool isNegative = !json.is_number_unsigned() && json.get<std::int64_t>() < 0;
  const bool fits = isNegative
                        ? json.get<std::int64_t>() >= static_cast<std::int64_t>(Limits::min())
                        : json.get<std::uint64_t>() <= static_cast<std::uint64_t>(Limits::max());
  if (!fits || (isNegative && std::is_unsigned_v<Number>)) RejectRange<Number>(location);
  value = json.get<Number>();
}

template <class Number>
std::enable_if_t<std::is_enum_v<Number>> Read(const Json& json, Number& value,
                                              const Location& location) {
  std::underlying_type_t<Number> number = 0;
  Read(json, number, location);
  value = static_cast<Number>(number);
}

void Read(const Json& json, float& value, const Location& location) {
  static const std::pair<const char*, float> special[] = {
      {"nan", std::numeric_limits<float>::quiet_NaN()},
      {"inf", std::numeric_limits<float>::infinity()},
      {"-inf", -std::numeric_limits<float>::infinity()}};
  for (const auto& [name, number] : special) {
    if (json == name) {
      value = number;
      return;
    }
  }
  const double number = json.is_number() ? json.get<double>() : HUGE_VAL;
  if (std::abs(number) > static_cast<double>(std::numeric_limits<float>::max())) {
    Reject(location, "expected a 32-bit number, \"nan\", \"inf\" or \"-inf\"");
  }
  value = static_cast<float>(number);
}

int HexDigit(char digit) {
  static const std::string digits = "0123456789abcdef";
  const auto position = digits.find(digit);
  return position == std::string::npos ? -1 : static_cast<int>(position);
}

bool ReadHex(const std::string& digits, std::string& text) {
  if (digits.size() % 2 != 0) return false;
  for (std::size_t i = 0; i < digits.size(); i += 2) {
    const int high = HexDigit(digits[i]);
    const int low = HexDigit(digits[i + 1]);
    if (high < 0 || low < 0) return false;
    text += static_cast<char>(high * 16 + low);
  }
  return true;
}

void Read(const Json& json, std::string& text, const Location& location) {
  if (json.is_string()) {
    text = json.get<std::string>();
    return;
  }
  const bool isHex =
      json.is_object() && json.size() == 1 && json.contains("hex") && json["hex"].is_string();
  text.clear();
  if (!isHex || !ReadHex(json["hex"].get<std::string>(), text)) {
    Reject(location,
           "expected a string or {\"hex\": \"...\"} with pairs of lowercase hexadecimal digits");
  }
}

template <class Value>
void Read(const Json& json, std::optional<Value>& value, const Location& location) {
  value.reset();
  if (!json.is_null()) Read(json, value.emplace(), location);
}

template <class Record>
std::enable_if_t<IsRecord<Record>::value> Read(const Json& json, Record& record,
                                               const Location& location);

template <class Element>
void Read(const Json& json, std::vector<Element>& list, const Location& location) {
  if (!json.is_array()) Reject(location, "expected an array");
  list.clear();
  for (const Json& each : json) {
    list.push_back(CreateDefault<Element>());
    Read(each, list.back(), location.Element(list.size() - 1));
  }
}

template <class Element, std::size_t size>
void Read(const Json& json, std::array<Element, size>& list, const Location& location) {
  if (!json.is_array() || json.size() != size) {
    Reject(location, fmt::format("expected an array of {} elements", size));
  }
  for (std::size_t i = 0; i < size; ++i) Read(json[i], list[i], location.Element(i));
}

// Rejects a JSON object that has a field that is not in `known`; names the first such field.
void RequireKnown(const Json& json, const std::vector<std::string>& known,
                  const Location& location) {
  for (const auto& [name, value] : json.items()) {
    if (std::find(known.begin(), known.end(), name) != known.end()) continue;
    Reject(location, fmt::format("unknown field {}", Base::Printable(name)));
  }
}

template <class Record>
std::enable_if_t<IsRecord<Record>::value> Read(const Json& json, Record& record,
                                               const Location& location) {
  if (!json.is_object()) Reject(location, "expected an object");
  if (location.m_Depth > kMaxDepth) Reject(location, "nested too deeply");
  std::vector<std::string> known;
  RecordFields<Record>::Visit(record, [&](const char* name, auto& member) {
    known.push_back(name);
    const auto found = json.find(name);
    if (found != json.end()) Read(*found, member, location.Field(name));
  });
  RequireKnown(json, known, location);
}

Json Write(const std::monostate&) {
  return nullptr;
}

void Read(const Json& json, std::monostate&, const Location& location) {
  if (!json.is_null()) Reject(location, "expected null");
}

Json WritePayload(const Payload& payload) {
  return std::visit([](const auto& record) { return Write(record); }, payload);
}

Payload ReadPayload(const Json& json, const CommandRow& row) {
  Payload payload = row.m_EmptyPayload();
  const auto found = json.find("payload");
  if (found == json.end()) return payload;
  const Location location = {"payload", 0};
  std::visit([&](auto& record) { Read(*found, record, location); }, payload);
  return payload;
}

void RequireObject(const Json& json, const std::vector<std::string>& known) {
  if (!json.is_object()) Reject({}, "expected an object");
  RequireKnown(json, known, {});
}

template <class Number>
Number RequiredNumber(const Json& json, const char* name) {
  Number number = 0;
  Read(json.contains(name) ? json[name] : Json(), number, {name, 0});
  return number;
}

const CommandRow& RequiredCommand(const Json& json) {
  const auto found = json.find("command");
  const bool isText = found != json.end() && found->is_string();
  const CommandRow* row = isText ? FindCommand(found->get<std::string>()) : nullptr;
  if (row == nullptr) Reject({"command", 0}, "expected the name of a command");
  return *row;
}

}  // namespace

Json ToJson(const PluginCommand& command) {
  const CommandRow* const row = FindCommand(command.m_Command);
  if (row == nullptr)
    throw RecordError(fmt::format("command: unknown number {}", command.m_Command));
  return {{"command", row->m_Name},
          {"object", command.m_Object},
          {"payload", WritePayload(command.m_Payload)}};
}

PluginCommand CommandFromJson(const Json& json) {
  RequireObject(json, {"command", "object", "payload"});
  const CommandRow& row = RequiredCommand(json);
  PluginCommand command;
  command.m_Command = row.m_Command;
  if (json.contains("object")) command.m_Object = RequiredNumber<std::uint64_t>(json, "object");
  command.m_Payload = ReadPayload(json, row);
  return command;
}

Json ToJson(const PluginReply& reply) {
  Json json = {{"result", reply.m_Result}, {"payload", WritePayload(reply.m_Payload)}};
  if (reply.m_CardError) {
    json["card_error"] = {{"function", reply.m_CardError->m_Function},
                          {"code", reply.m_CardError->m_Code},
                          {"text", reply.m_CardError->m_Text}};
  }
  return json;
}

namespace {

CardError CardErrorFromJson(const Json& json) {
  RequireObject(json, {"function", "code", "text"});
  CardError error;
  Read(json.contains("function") ? json["function"] : Json(), error.m_Function, {"function", 0});
  error.m_Code = RequiredNumber<std::uint64_t>(json, "code");
  Read(json.contains("text") ? json["text"] : Json(), error.m_Text, {"text", 0});
  return error;
}

}  // namespace

PluginReply ReplyFromJson(PI::_COMMAND command, const Json& json) {
  const CommandRow* const row = FindCommand(command);
  if (row == nullptr) throw RecordError(fmt::format("command: unknown number {}", command));
  RequireObject(json, {"result", "payload", "card_error"});
  PluginReply reply = {RequiredNumber<std::uint32_t>(json, "result"), ReadPayload(json, *row)};
  if (json.contains("card_error")) reply.m_CardError = CardErrorFromJson(json["card_error"]);
  return reply;
}

nlohmann::ordered_json ToJson(const PluginInfo& info) {
  return {{"file", info.m_File},
          {"module_id", info.m_ModuleID},
          {"interface_version", info.m_InterfaceVersion}};
}

PluginInfo PluginInfoFromJson(const Json& json) {
  RequireObject(json, {"file", "module_id", "interface_version"});
  PluginInfo info;
  Read(json.contains("file") ? json["file"] : Json(), info.m_File, {"file", 0});
  info.m_ModuleID = RequiredNumber<std::uint32_t>(json, "module_id");
  info.m_InterfaceVersion = RequiredNumber<std::uint32_t>(json, "interface_version");
  return info;
}

Json ToJson(const CardRecords& records) {
  return Write(records);
}

CardRecords CardRecordsFromJson(const Json& json) {
  CardRecords records;
  Read(json, records, {});
  return records;
}

Json ToJson(const CardTimes& times) {
  return Write(times);
}

CardTimes CardTimesFromJson(const Json& json) {
  CardTimes times;
  Read(json, times, {});
  return times;
}

Json ToJson(const HostKit::LoggedEvent& event) {
  return Write(event);
}

HostKit::LoggedEvent LoggedEventFromJson(const Json& json) {
  auto event = CreateDefault<HostKit::LoggedEvent>();
  Read(json, event, {});
  return event;
}

Json ToJson(const HostKit::EventCount& count) {
  return Write(count);
}

HostKit::EventCount EventCountFromJson(const Json& json) {
  auto count = CreateDefault<HostKit::EventCount>();
  Read(json, count, {});
  return count;
}

Json ToJson(const HostKit::RowTable& table) {
  return Write(table);
}

HostKit::RowTable RowTableFromJson(const Json& json) {
  auto table = CreateDefault<HostKit::RowTable>();
  Read(json, table, {});
  for (const HostKit::RowColumn& column : table.m_Columns) {
    const bool isKnown =
        column.m_Kind >= HostKit::CellKind::Text && column.m_Kind <= HostKit::CellKind::Real;
    if (!isKnown) Reject({"columns", 0}, "unknown kind of column");
  }
  for (const auto& cells : table.m_Rows) {
    if (cells.empty() || cells.size() != table.m_Columns.size()) {
      Reject({"rows", 0}, "expected one cell per column");
    }
  }
  return table;
}

}  // namespace Console
