// get: raw values of one object.
#include <fmt/format.h>

#include "console/cli/CommandTable.h"
#include "console/model/PropertyName.h"
#include "console/model/Selectors.h"
#include "console/render/CommandResult.h"
#include "console/report/CommandContext.h"

namespace Console {
namespace {

std::vector<NamedValue> ReadAll(const Object& object) {
  std::vector<NamedValue> values;
  for (const Field& field : FieldsOf(object.m_Kind)) {
    values.push_back({field.m_Name, ReadField(object, field)});
  }
  return values;
}

CommandResult Run(Context& context) {
  const Model model = context.Objects();
  const Object& object = Select(model, context.m_Arguments[0]);
  std::vector<NamedValue> values;
  for (std::size_t i = 1; i < context.m_Arguments.size(); ++i) {
    values.push_back(ReadNamed(object, context.m_Arguments[i]));
  }
  if (context.m_Arguments.size() == 1) values = ReadAll(object);

  CommandResult result;
  result.m_Json = {{"object", object.m_Selector}, {"values", Json::object()}};
  result.m_Table.m_Columns = {{"PROPERTY", "property", false}, {"VALUE", "value", false}};
  for (const NamedValue& value : values) {
    PutValue(result.m_Json["values"], value.m_Name, value.m_Value);
    result.m_Values.push_back(BareText(value.m_Value));
    result.m_Table.m_Rows.push_back(
        {{TextCell(value.m_Name), ValueCell(value.m_Value, context.m_Style.m_Ascii)},
         std::nullopt});
  }
  return result;
}

}  // namespace

Command GetCommand() {
  Command command;
  command.m_Group = Group::Inspect;
  command.m_Name = "get";
  command.m_Arguments = "OBJ [PROP...]";
  command.m_MinArguments = 1;
  command.m_MaxArguments = kAnyNumber;
  command.m_Summary = "print raw values for scripts, one per line";
  command.m_OutputFormats = {"value", "table", "tsv", "json"};
  command.m_Run = Run;
  command.m_Description =
      "Prints values in base units, in the order requested. An unknown value is printed as '-'.";
  command.m_Exits = {{2, "the object has no such property"}};
  command.m_Examples = {{"get a0 temperature_celsius status", "print two values"},
                        {"get a0 -o tsv", "print all values with their names"}};
  return command;
}

}  // namespace Console
