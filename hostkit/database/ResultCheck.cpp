#include "hostkit/database/ResultCheck.h"

#include <sqlite3.h>

#include <stdexcept>

#include "hostkit/database/Connection.h"
#include "hostkit/database/Tables.h"
#include "models/Adapter.h"
#include "orm/row_reader.h"

namespace HostKit {

namespace {

template <class Value>
bool CanBeReadAs(const std::string& cell) {
  Value value{};
  try {
    DatabaseORM::read_cell(cell, value);
    return true;
  } catch (const std::invalid_argument&) {
  } catch (const std::out_of_range&) {
  }
  return false;
}

bool CanBeRead(const std::string& cell, DatabaseORM::column_kind_t kind) {
  switch (kind) {
    case DatabaseORM::int_column:
      return CanBeReadAs<int>(cell);
    case DatabaseORM::ulong_column:
      return CanBeReadAs<unsigned long>(cell);
    case DatabaseORM::double_column:
      return CanBeReadAs<double>(cell);
    case DatabaseORM::string_column:
    case DatabaseORM::list_column:
      break;
  }
  return true;
}

void RequireReadable(const TableShape& table, const std::vector<std::string>& cells) {
  const std::size_t width = table.m_Columns.size();
  if (cells.size() % width != 0) {
    throw SqliteError(SQLITE_MISMATCH, "the result contains an incomplete row of " + table.m_Name);
  }
  for (std::size_t i = 0; i < cells.size(); ++i) {
    const ColumnShape& column = table.m_Columns[i % width];
    if (CanBeRead(cells[i], column.m_Kind)) continue;
    throw SqliteError(SQLITE_MISMATCH, "invalid value in " + table.m_Name + "." + column.m_Name);
  }
}

}  // namespace

void RequireReadable(const std::string& sql, const std::vector<std::string>& cells) {
  for (const TableShape& table : RowTables()) {
    const std::string begin = "SELECT * FROM " + table.m_Name + " ";
    if (sql.rfind(begin, 0) == 0) RequireReadable(table, cells);
  }
}

}  // namespace HostKit
