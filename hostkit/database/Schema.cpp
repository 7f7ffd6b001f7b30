#include "hostkit/database/Schema.h"

#include "hostkit/database/Tables.h"

namespace HostKit {

namespace {

constexpr const char* kOwnTables =
    "CREATE TABLE IF NOT EXISTS host_life (number INTEGER NOT NULL) STRICT;"
    "CREATE TABLE IF NOT EXISTS host_event_log ("
    "number INTEGER PRIMARY KEY AUTOINCREMENT, time INTEGER NOT NULL, severity INTEGER NOT NULL, "
    "event_id INTEGER NOT NULL, object_id INTEGER NOT NULL, name TEXT NOT NULL, "
    "message TEXT NOT NULL) STRICT;";

// The statement that made a table, or an empty text.
std::string SqlOf(Connection& connection, const std::string& table) {
  Statement statement =
      connection.Prepare("SELECT sql FROM sqlite_schema WHERE type = 'table' AND name = ?");
  statement.Bind(table);
  return statement.Step() ? statement.Text(0) : std::string();
}

// A table with other columns was made by another version of the host. Its rows are of another life.
void MakeRowTable(Connection& connection, const TableShape& shape) {
  const std::string found = SqlOf(connection, shape.m_Name);
  if (found == shape.m_Sql) return;
  if (!found.empty()) connection.Run("DROP TABLE " + shape.m_Name);
  connection.Run(shape.m_Sql);
}

bool IsOfLife(Connection& connection, std::int64_t life) {
  Statement statement = connection.Prepare("SELECT 1 FROM host_life WHERE number = ?");
  return statement.Bind(life).Step();
}

void BeginLife(Connection& connection, std::int64_t life) {
  for (const TableShape& shape : RowTables()) connection.Run("DELETE FROM " + shape.m_Name);
  connection.Run("DELETE FROM host_life");
  Statement statement = connection.Prepare("INSERT INTO host_life VALUES (?)");
  statement.Bind(life).Step();
}

}  // namespace

void PrepareTables(Connection& connection, std::int64_t life) {
  try {
    connection.Run("BEGIN IMMEDIATE");
    connection.Run(kOwnTables);
    for (const TableShape& shape : RowTables()) MakeRowTable(connection, shape);
    if (!IsOfLife(connection, life)) BeginLife(connection, life);
    connection.Run("COMMIT");
  } catch (...) {
    connection.RollBack();
    throw;
  }
}

}  // namespace HostKit
