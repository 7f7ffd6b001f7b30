#include "console/render/CommandResult.h"

#include <fmt/format.h>

#include "console/base/Timestamp.h"
#include "hostkit/Printable.h"

namespace Console {
namespace {

constexpr int kFormatMajor = 1;
constexpr int kFormatMinor = 0;

// The largest number up to which every reader of JSON keeps all digits.
constexpr std::uint64_t kExactInDouble = 1ULL << 53;

Json MessageJson(const Message& message) {
  Json json = {{"severity", message.m_Severity}, {"id", message.m_Id}, {"text", message.m_Text}};
  json["hint"] = nullptr;
  std::string hint;
  for (const std::string& line : message.m_Advice) hint += (hint.empty() ? "" : "\n") + line;
  if (!hint.empty()) json["hint"] = hint;
  return json;
}

Json PluginJson(const std::optional<PluginInfo>& info) {
  if (!info) return nullptr;
  return {{"file", info->m_File},
          {"module_id", info->m_ModuleID},
          {"interface_version", info->m_InterfaceVersion}};
}

std::string RenderLines(const Answer& answer, const Surroundings& around) {
  if (answer.m_Result.is_null()) return {};
  if (answer.m_Items == nullptr || answer.m_Result.at(answer.m_Items).empty()) {
    return Envelope(answer.m_Result, around, true);
  }
  std::string lines;
  for (const Json& item : answer.m_Result.at(answer.m_Items)) {
    lines += Envelope({{answer.m_Items, Json::array({item})}}, around, true);
  }
  return lines;
}

std::string RenderValues(const Answer& answer) {
  std::string lines;
  for (const std::string& value : answer.m_Values) lines += value + "\n";
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

}  // namespace

std::string Render(const Answer& answer, const std::string& form, const Style& style,
                   const Surroundings& around) {
  if (form == "json") return Envelope(answer.m_Result, around, false);
  if (form == "jsonl") return RenderLines(answer, around);
  if (form == "value") return RenderValues(answer);
  if (form == "tsv") return WriteTsv(answer.m_Table, style.m_Headings);
  if (answer.m_Text) return *answer.m_Text;
  return DrawTable(answer.m_Table, style, form == "tree");
}

std::string Envelope(const Json& result, const Surroundings& around, bool oneLine) {
  Json messages = Json::array();
  for (const Message& message : around.m_Messages) messages.push_back(MessageJson(message));
  const Json envelope = {
      {"format", {{"name", "corvane-host"}, {"major", kFormatMajor}, {"minor", kFormatMinor}}},
      {"command", around.m_Command.empty() ? Json() : Json(around.m_Command)},
      {"time", TimeText(NowMs())},
      {"plugin", PluginJson(around.m_Plugin)},
      {"exit_code", static_cast<int>(around.m_Code)},
      {"messages", messages},
      {"result", result},
  };
  return HostKit::PrintableJson(
             envelope.dump(oneLine ? -1 : 2, ' ', false, Json::error_handler_t::replace)) +
         "\n";
}

void PutValue(Json& into, const std::string& name, const Value& value) {
  into[name] = DataJson(value);
  const auto* number = std::get_if<std::uint64_t>(&value.m_Data);
  if (number != nullptr && *number > kExactInDouble) into[name + "_s"] = std::to_string(*number);
}

Json ObjectJson(const Model& model, const Object& object) {
  Json json = {{"object", object.m_Selector},
               {"type", KindName(object.m_Kind)},
               {"id", IdText(object.m_ID)},
               {"parents", IdsJson(object.m_Parents)},
               {"children", IdsJson(object.m_Children)}};
  json["owner"] = nullptr;
  if (const Object* owner = model.OwnerOf(object)) json["owner"] = owner->m_Selector;
  for (const Term& term : TermsOf(object.m_Kind)) {
    PutValue(json, term.m_Name, ReadTerm(object, term));
  }
  return json;
}

}  // namespace Console
