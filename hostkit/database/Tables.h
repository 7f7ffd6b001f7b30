// The tables for the plug-ins' rows.
#pragma once

#include <string>
#include <vector>

#include "orm/storage.h"

namespace HostKit {

struct ColumnShape {
  std::string m_Name;
  DatabaseORM::column_kind_t m_Kind;
};

struct TableShape {
  std::string m_Name;
  std::vector<ColumnShape> m_Columns;
  std::string m_Sql;  // the statement that makes it
};

// One for each row type.
const std::vector<TableShape>& RowTables();

// Gives the storage the tables and field maps of the row types.
void DescribeTables(DatabaseORM::storage_t& storage);

}  // namespace HostKit
