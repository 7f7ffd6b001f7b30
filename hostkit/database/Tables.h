// The tables for the plug-ins' rows.
#pragma once

#include <string>
#include <vector>

#include "orm/storage.h"

namespace HostKit {

// A column: its name in the database and its kind.
struct ColumnShape {
  std::string m_Name;
  DatabaseORM::column_kind_t m_Kind;
};

// A table of rows.
struct TableShape {
  std::string m_Name;
  std::vector<ColumnShape> m_Columns;
  std::string m_Sql;    // the statement that creates it
  std::string m_Index;  // the statement that creates its index; empty: none
};

// Returns one table per row type.
const std::vector<TableShape>& RowTables();

// Adds the tables and field maps of the row types to the storage.
void DescribeTables(DatabaseORM::storage_t& storage);

}  // namespace HostKit
