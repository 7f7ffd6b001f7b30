// list and tree: many objects at a glance.
#include <map>

#include "console/commands/All.h"
#include "console/render/CommandResult.h"
#include "console/render/ObjectTable.h"
#include "console/report/CommandContext.h"

namespace Console {
namespace {

using Names = std::vector<std::string>;

const Names kListColumns = {"object",
                            "name",
                            "status",
                            "temperature_celsius",
                            "reserve_space_ratio",
                            "formatted_size_bytes",
                            "pci_address",
                            "serial_number"};

const Names kLongColumns = {"object",
                            "id",
                            "parents",
                            "name",
                            "status",
                            "status_reasons",
                            "temperature_celsius",
                            "reserve_space_ratio",
                            "physical_size_bytes",
                            "formatted_size_bytes",
                            "sector_size_bytes",
                            "pci_address",
                            "serial_number"};

Names ChosenColumns(const Options& options, const Names& usual) {
  return options.m_Columns.empty() ? usual : options.m_Columns;
}

// One answer for both: the same rows, with or without the plug-in above them.
CommandResult Overview(Context& context, const Names& names, bool withPlugin) {
  CommandResult result;
  result.m_Items = "objects";
  result.m_Json = {{"objects", Json::array()}};
  result.m_Table.m_Columns = ObjectColumns(names);
  const Model model = context.Objects();
  std::map<std::size_t, std::size_t> rowOf;
  for (std::size_t i = 0; i < model.Objects().size(); ++i) {
    const Object& object = model.Objects()[i];
    if (object.m_Kind == Kind::Plugin && !withPlugin) continue;
    Row row;
    for (const Column& column : result.m_Table.m_Columns) {
      row.m_Cells.push_back(ObjectCell(model, object, column.m_Name, context.m_Style.m_Ascii));
    }
    const auto owner = object.m_Owner ? rowOf.find(*object.m_Owner) : rowOf.end();
    if (owner != rowOf.end()) row.m_Parent = owner->second;
    rowOf[i] = result.m_Table.m_Rows.size();
    result.m_Table.m_Rows.push_back(std::move(row));
    result.m_Values.push_back(object.m_Selector);
    result.m_Json["objects"].push_back(ObjectJson(model, object));
  }
  return result;
}

}  // namespace

CommandResult RunList(Context& context) {
  return Overview(context, ChosenColumns(context.m_Options, kListColumns), false);
}

CommandResult RunTree(Context& context) {
  const bool all = context.m_Options.m_Long || context.m_Options.m_Verbose;
  return Overview(context, ChosenColumns(context.m_Options, all ? kLongColumns : kListColumns),
                  true);
}

}  // namespace Console
