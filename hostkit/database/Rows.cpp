#include <string>

#include "hostkit/Database.h"
#include "hostkit/database/HostDatabase.h"
#include "hostkit/database/Tables.h"
#include "models/Adapter.h"
#include "models/PD.h"
#include "models/Plugin.h"
#include "orm/statement.h"

namespace HostKit {

namespace {

CellKind KindOf(const std::string&) {
  return CellKind::Text;
}
CellKind KindOf(const RaidDataModels::string_list&) {
  return CellKind::List;
}
CellKind KindOf(int) {
  return CellKind::Integer;
}
CellKind KindOf(unsigned long) {
  return CellKind::Integer;
}
CellKind KindOf(double) {
  return CellKind::Real;
}

template <class Row>
std::vector<RowColumn> ColumnsOf() {
  const auto map = RaidDataModels::dbModelFieldsMap<Row>::instance();
  std::vector<RowColumn> columns(static_cast<std::size_t>(map->columnCount));
  DatabaseORM::for_each_field(*map, [&columns](const auto& field) {
    columns.at(static_cast<std::size_t>(field.index)) = {field.name, KindOf(Row().*field.member)};
  });
  return columns;
}

using ColumnsFunction = std::vector<RowColumn> (*)();
// In the order of `RowKind` and `RowTables`. Call `RowTables` first: it fills the field maps.
constexpr ColumnsFunction kColumns[] = {ColumnsOf<RaidDataModels::Adapter>,
                                        ColumnsOf<RaidDataModels::PD>,
                                        ColumnsOf<RaidDataModels::Plugin>};

}  // namespace

RowTable ReadRows(RowKind kind) {
  const auto index = static_cast<std::size_t>(kind);
  RowTable table;
  table.m_Name = RowTables().at(index).m_Name;
  table.m_Columns = kColumns[index]();
  const std::size_t width = table.m_Columns.size();
  const auto cells = TheDatabase()->query("SELECT * FROM " + table.m_Name + " ORDER BY ID");
  table.m_Rows.resize(cells.size() / width);
  for (std::size_t i = 0; i < cells.size(); ++i) {
    auto& row = table.m_Rows[i / width];
    row.push_back(cells[i] == "NULL" ? std::nullopt : std::optional(cells[i]));
  }
  return table;
}

}  // namespace HostKit
