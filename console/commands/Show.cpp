// show: everything about one object.
#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>

#include "console/change/KnownOperations.h"
#include "console/cli/CommandTable.h"
#include "console/model/PropertyName.h"
#include "console/model/Selectors.h"
#include "console/render/CommandResult.h"
#include "console/render/ObjectTable.h"
#include "console/report/CommandContext.h"
#include "console/report/GroupedObject.h"
#include "hostkit/Texts.h"

namespace Console {
namespace {

constexpr const char* kLocateLed = "locate_led";

Json PropertyJson(const PI::CProperty& property) {
  const Value value = ReadProperty(property);
  const char* unit = UnitOf(value.m_Kind);
  Json json = {{"number", property.m_PropertyID},
               {"name", HostKit::NameOf(HostKit::Family::Property, property.m_PropertyID)},
               {"caption", HostKit::CaptionOf(HostKit::Family::Property, property.m_NameID)},
               {"writable", property.m_Writable},
               {"unit", unit == nullptr ? Json() : Json(unit)}};
  PutValue(json, "value", value);
  return json;
}

// `op list` also checks whether the operation is possible now.
Json OperationJson(const PI::COperation& operation) {
  return {{"number", operation.m_OperationID},
          {"name", HostKit::NameOf(HostKit::Family::Operation, operation.m_OperationID)},
          {"caption", HostKit::CaptionOf(HostKit::Family::Operation, operation.m_OperationID)},
          {"possible", nullptr},
          {"error", nullptr}};
}

Json ResultOf(const Model& model, const Object& object) {
  Json result = {{"object", object.m_Selector},
                 {"fields", ObjectJson(model, object)},
                 {"properties", Json::array()},
                 {"operations", Json::array()}};
  for (const PI::CProperty& property : object.m_Properties) {
    result["properties"].push_back(PropertyJson(property));
  }
  for (const PI::COperation& operation : object.m_Operations) {
    result["operations"].push_back(OperationJson(operation));
  }
  return result;
}

std::string Links(const Model& model, const std::vector<std::uint64_t>& ids) {
  std::vector<std::string> texts;
  for (const std::uint64_t id : ids) {
    texts.push_back(fmt::format("{} ({})", model.SelectorOf(id), IdText(id)));
  }
  return texts.empty() ? "-" : fmt::format("{}", fmt::join(texts, ", "));
}

std::string OperationNames(const Object& object) {
  std::vector<std::string> names;
  for (const PI::COperation& operation : object.m_Operations) {
    names.push_back(HostKit::NameOf(HostKit::Family::Operation, operation.m_OperationID));
  }
  return names.empty() ? "-" : fmt::format("{}", fmt::join(names, ","));
}

// Properties that are not in the field table are shown under their identifier.
void AddOtherProperties(Table& table, const Object& object, bool ascii) {
  const std::vector<Field>& fields = FieldsOf(object.m_Kind);
  for (const PI::CProperty& property : object.m_Properties) {
    const bool known = std::any_of(fields.begin(), fields.end(), [&](const Field& field) {
      return field.m_PropertyID == property.m_PropertyID;
    });
    if (known) continue;
    table.m_Rows.push_back(
        {{TextCell(DisplayName(property.m_PropertyID)), ValueCell(ReadProperty(property), ascii)},
         {}});
  }
}

Table TableOf(const Model& model, const Object& object, bool ascii) {
  Table table;
  table.m_Columns = {{"PROPERTY", "property", false}, {"VALUE", "value", false}};
  const auto add = [&](const std::string& name, const Cell& cell) {
    table.m_Rows.push_back({{TextCell(name), cell}, std::nullopt});
  };
  add("object", TextCell(object.m_Selector));
  add("type", TextCell(KindName(object.m_Kind)));
  add("id", TextCell(IdText(object)));
  add("parents", TextCell(Links(model, object.m_Parents)));
  add("children", TextCell(Links(model, object.m_Children)));
  for (const Field& field : FieldsOf(object.m_Kind)) {
    add(field.m_Name, ObjectCell(object, field.m_Name, ascii));
  }
  AddOtherProperties(table, object, ascii);
  add("operations", TextCell(OperationNames(object)));
  return table;
}

// The state of the locate LED; empty if the object has none.
std::string LocateLedText(Context& context, const Object& object) {
  if (!object.SupportsOperation(PI::OP_LOCATE_DEVICE)) return {};
  const std::string state = StateOf(context.Open(), object.m_ID, Aspect::LocateLed);
  return state.empty() ? "-" : state;
}

CommandResult Run(Context& context) {
  const Model model = context.Objects();
  const Object& object = Select(model, context.m_Arguments[0]);
  CommandResult result;
  result.m_Json = ResultOf(model, object);
  result.m_Table = TableOf(model, object, context.m_Style.m_Ascii);
  if (context.m_OutputFormat != "table") return result;
  Table table = result.m_Table;
  const std::string led = LocateLedText(context, object);
  if (!led.empty()) table.m_Rows.push_back({{TextCell(kLocateLed), TextCell(led)}, std::nullopt});
  result.m_Text = GroupedText(object, table, context.m_Style);
  return result;
}

}  // namespace

Command ShowCommand() {
  Command command;
  command.m_Group = Group::Inspect;
  command.m_Name = "show";
  command.m_Arguments = "OBJ";
  command.m_MinArguments = 1;
  command.m_MaxArguments = 1;
  command.m_Summary = "show all properties of one object";
  command.m_OutputFormats = {"table", "tsv", "json"};
  command.m_Run = Run;
  command.m_Description =
      "Shows all properties that the plug-in reports for the object, in groups and with units, "
      "bars for values with a limit, the state of the locate LED, and the operations that the "
      "object supports.";
  command.m_Examples = {{"show a0", "show an adapter"},
                        {"show a0/d0 -o json", "show a drive, for a script"}};
  return command;
}

}  // namespace Console
