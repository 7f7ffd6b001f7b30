// show: everything about one object.
#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>

#include "console/cli/CommandTable.h"
#include "console/model/PropertyName.h"
#include "console/model/Selectors.h"
#include "console/render/CommandResult.h"
#include "console/render/ObjectTable.h"
#include "console/report/CommandContext.h"
#include "console/report/GroupedObject.h"
#include "console/report/SeveralObjects.h"
#include "hostkit/Texts.h"

namespace Console {
namespace {

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

Cell OperationsCell(const Object& object) {
  std::vector<std::string> names;
  for (const PI::COperation& operation : object.m_Operations) {
    names.push_back(HostKit::NameOf(HostKit::Family::Operation, operation.m_OperationID));
  }
  return ListCell(names);
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
  add("operations", OperationsCell(object));
  return table;
}

// Adds the object to each row, so that the rows of several objects can be told apart.
void AddObjectColumn(Table& table, const Object& object) {
  table.m_Columns.insert(table.m_Columns.begin(), {"OBJECT", "object", false});
  for (Row& row : table.m_Rows) {
    row.m_Cells.insert(row.m_Cells.begin(), TextCell(object.m_Selector));
  }
}

CommandResult ResultFor(const Context& context, const Model& model, const Object& object,
                        bool isSeveral) {
  CommandResult result;
  result.m_Json = ResultOf(model, object);
  result.m_Table = TableOf(model, object, context.m_Style.m_Ascii);
  if (context.m_OutputFormat == "table") {
    result.m_Text = GroupedText(object, result.m_Table, context.m_Style);
    if (isSeveral) result.m_Text = fmt::format("{}\n{}\n", object.m_Selector, *result.m_Text);
  }
  if (isSeveral) AddObjectColumn(result.m_Table, object);
  return result;
}

CommandResult Run(Context& context) {
  const Model model = context.Objects();
  const std::vector<NamedObject> named = FindSeveral(model, context.m_Arguments);
  const bool isSeveral =
      context.m_Arguments.size() > 1 || context.m_Arguments.front() == kAllObjects;
  std::vector<std::string> names;
  for (const NamedObject& each : named) names.push_back(each.m_Name);
  return RunForEach(context, names, isSeveral, [&](std::size_t i) {
    if (named[i].m_NotFound) throw Failure(*named[i].m_NotFound);
    return ResultFor(context, model, *named[i].m_pObject, isSeveral);
  });
}

}  // namespace

Command ShowCommand() {
  Command command;
  command.m_Group = Group::Inspect;
  command.m_Name = "show";
  command.m_Arguments = "OBJ...";
  command.m_MinArguments = 1;
  command.m_MaxArguments = kAnyNumber;
  command.m_Summary = "show all properties of an object";
  command.m_OutputFormats = {"table", "tsv", "json"};
  command.m_Run = Run;
  command.m_Description =
      "Shows all properties that the plug-in reports for the object, in groups and with units, "
      "bars for values with a limit, the state of the locate LED, and the operations that the "
      "object supports. OBJ may also be all, which selects all adapters.";
  command.m_Examples = {{"show a0", "show an adapter"},
                        {"show a0 a0/d0 -o json", "show a card and its drive, for a script"}};
  return command;
}

}  // namespace Console
