#include "console/report/ObjectOverview.h"

#include <map>

#include "console/render/ObjectTable.h"

namespace Console {

const std::vector<std::string>& DefaultColumns() {
  static const std::vector<std::string> columns = {"object",
                                                   "name",
                                                   "status",
                                                   "temperature_celsius",
                                                   "reserve_space_ratio",
                                                   "formatted_size_bytes",
                                                   "pci_address",
                                                   "serial_number"};
  return columns;
}

CommandResult ObjectOverview(Context& context, const std::vector<std::string>& defaults,
                             bool withPlugin) {
  const std::vector<std::string>& chosen = context.m_Options.m_Columns;
  CommandResult result;
  result.m_Items = "objects";
  result.m_Json = {{"objects", Json::array()}};
  result.m_Table.m_Columns = ObjectColumns(chosen.empty() ? defaults : chosen);
  const Model model = context.Objects();
  std::map<std::size_t, std::size_t> rowOf;
  for (std::size_t i = 0; i < model.Objects().size(); ++i) {
    const Object& object = model.Objects()[i];
    if (object.m_Kind == Kind::Plugin && !withPlugin) continue;
    Row row;
    for (const Column& column : result.m_Table.m_Columns) {
      row.m_Cells.push_back(ObjectCell(object, column.m_Name, context.m_Style.m_Ascii));
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

}  // namespace Console
