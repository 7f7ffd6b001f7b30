#include "console/render/CommandResult.h"

#include <fmt/format.h>
#include <limits.h>
#include <unistd.h>

#include <array>

#include "base/Printable.h"
#include "console/base/Timestamp.h"
#include "console/plugin/RecordJson.h"

namespace Console {
namespace {

constexpr int kFormatMajor = 2;
constexpr int kFormatMinor = 0;

// JSON readers that store numbers as doubles keep all digits of integers up to this one.
constexpr std::uint64_t kExactInDouble = 1ULL << 53;

std::string RenderLines(const CommandResult& result, const Envelope& envelope) {
  if (result.m_Json.is_null()) return {};
  if (result.m_Items == nullptr || result.m_Json.at(result.m_Items).empty()) {
    return RenderEnvelope(result.m_Json, envelope, true);
  }
  std::string lines;
  for (const Json& item : result.m_Json.at(result.m_Items)) {
    lines += RenderEnvelope({{result.m_Items, Json::array({item})}}, envelope, true);
  }
  return lines;
}

std::string RenderValues(const CommandResult& result) {
  std::string lines;
  for (const std::string& value : result.m_Values) lines += value + "\n";
  return lines;
}

Json DataJson(const Value& value) {
  return std::visit(
      [](const auto& data) -> Json {
        if constexpr (std::is_same_v<std::decay_t<decltype(data)>, std::monostate>) {
          return nullptr;
        } else {
          return data;
        }
      },
      value.m_Data);
}

Json IdsJson(const std::vector<std::uint64_t>& ids) {
  Json list = Json::array();
  for (const std::uint64_t id : ids) list.push_back(IdText(id));
  return list;
}

// Returns the name of the machine that created the document; null if it cannot be read.
Json HostName() {
  std::array<char, HOST_NAME_MAX + 1> name = {};
  return gethostname(name.data(), name.size() - 1) == 0 ? Json(name.data()) : Json();
}

}  // namespace

std::string Render(const CommandResult& result, const std::string& format, const Style& style,
                   const Envelope& context) {
  Envelope envelope = context;
  envelope.m_Changed = result.m_Changed;
  if (format == "json") return RenderEnvelope(result.m_Json, envelope, false);
  if (format == "jsonl") return RenderLines(result, envelope);
  if (format == "value") return RenderValues(result);
  if (format == "tsv") return WriteTsv(result.m_Table, style.m_Headings);
  if (result.m_Text) return *result.m_Text;
  return DrawTable(result.m_Table, style, format == "tree");
}

std::string RenderEnvelope(const Json& result, const Envelope& envelope, bool oneLine) {
  Json messages = Json::array();
  for (const Message& message : envelope.m_Messages) messages.push_back(MessageJson(message));
  const Json json = {
      {"format", {{"name", "corvane-host"}, {"major", kFormatMajor}, {"minor", kFormatMinor}}},
      {"command", envelope.m_Command.empty() ? Json() : Json(envelope.m_Command)},
      {"host", HostName()},
      {"time", TimeText(NowMs())},
      {"observed_at", TimeJson(envelope.m_ObservedAt)},
      {"plugin", envelope.m_Plugin ? ToJson(*envelope.m_Plugin) : Json()},
      {"exit_code", static_cast<int>(envelope.m_Code)},
      {"changed", envelope.m_Changed ? Json(*envelope.m_Changed) : Json()},
      {"messages", messages},
      {"result", result},
  };
  return Base::PrintableJson(
             json.dump(oneLine ? -1 : 2, ' ', false, Json::error_handler_t::replace)) +
         "\n";
}

Json MessageJson(const Message& message) {
  Json json = {{"severity", message.m_Severity}, {"id", message.m_Id}, {"text", message.m_Text}};
  json["hint"] = nullptr;
  std::string hint;
  for (const std::string& line : message.m_Advice) hint += (hint.empty() ? "" : "\n") + line;
  if (!hint.empty()) json["hint"] = hint;
  return json;
}

void PutValue(Json& into, const std::string& name, const Value& value) {
  into[name] = DataJson(value);
  const auto* number = std::get_if<std::uint64_t>(&value.m_Data);
  if (number != nullptr && *number > kExactInDouble) into[name + "_s"] = std::to_string(*number);
}

Json WouldChangeJson(bool dryRun, bool differs) {
  return dryRun ? Json(differs) : Json();
}

Json TimeJson(std::uint64_t milliseconds) {
  return milliseconds == 0 ? Json() : Json(TimeText(milliseconds));
}

Json IdJson(const Object& object) {
  return object.m_IsReported ? Json(IdText(object.m_ID)) : Json();
}

Json ObjectJson(const Model& model, const Object& object) {
  Json json = {{"object", object.m_Selector},
               {"type", KindName(object.m_Kind)},
               {"id", IdJson(object)},
               {"parents", IdsJson(object.m_Parents)},
               {"children", IdsJson(object.m_Children)}};
  json["owner"] = nullptr;
  if (const Object* owner = model.OwnerOf(object)) json["owner"] = owner->m_Selector;
  for (const Field& field : FieldsOf(object.m_Kind)) {
    PutValue(json, field.m_Name, ReadField(object, field));
  }
  return json;
}

}  // namespace Console
