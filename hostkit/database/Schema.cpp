#include "hostkit/database/Schema.h"

#include <boost/algorithm/string/replace.hpp>
#include <string>
#include <vector>

#include "hostkit/database/OwnTables.h"
#include "hostkit/database/Tables.h"

namespace HostKit {

namespace {

constexpr const char* kEventLogTable =
    "CREATE TABLE IF NOT EXISTS host_event_log ("
    "number INTEGER PRIMARY KEY AUTOINCREMENT, time INTEGER NOT NULL, severity INTEGER NOT NULL, "
    "event_id INTEGER NOT NULL, object_id INTEGER NOT NULL, name TEXT NOT NULL, "
    "message TEXT NOT NULL) STRICT;";

// The log drops its oldest events, but the counts must not decrease. A trigger counts every
// appended event, including those of an older version of the host. An empty table is initialized
// from the events in the log.
constexpr const char* kEventTotals =
    "CREATE TABLE IF NOT EXISTS host_event_totals (event_id INTEGER NOT NULL, "
    "severity INTEGER NOT NULL, serial_number TEXT NOT NULL, count INTEGER NOT NULL, "
    "PRIMARY KEY (event_id, severity, serial_number)) STRICT;"
    "INSERT INTO host_event_totals SELECT event_id, severity, serial_number, COUNT(*) "
    "FROM host_event_log WHERE NOT EXISTS (SELECT 1 FROM host_event_totals) "
    "GROUP BY event_id, severity, serial_number;";
// Earlier versions of the host did not count the events of each card. Events that are no longer in
// the log keep an empty serial number, so that no sum decreases.
constexpr const char* kMigrateCounts =
    "INSERT OR REPLACE INTO host_event_totals SELECT event_id, severity, '', count - "
    "(SELECT COUNT(*) FROM host_event_log WHERE event_id = counted.event_id "
    "AND severity = counted.severity AND serial_number <> '') AS rest "
    "FROM host_event_counts AS counted WHERE rest > 0;";
constexpr const char* kDropCounts = "DROP TABLE host_event_counts";
constexpr const char* kCountingTrigger =
    "CREATE TRIGGER host_event_counted AFTER INSERT ON host_event_log BEGIN "
    "INSERT INTO host_event_totals VALUES (new.event_id, new.severity, new.serial_number, 1) "
    "ON CONFLICT DO UPDATE SET count = count + 1; END";

const TableShape kRunTable = {
    "host_life", {}, "CREATE TABLE host_life (number INTEGER NOT NULL) STRICT", ""};

// In earlier versions of the host, a string from a card could create triggers (which would also run
// in this host), indexes that reject a second event, and views with the name of a table. SQL
// ignores the case of names. The tables of the log themselves are never dropped.
constexpr const char* kUnexpectedInLog =
    "SELECT type, name FROM sqlite_schema WHERE type <> 'table' AND name = ?1 COLLATE NOCASE "
    "OR type = 'trigger' AND sql <> ?2 "
    "AND (tbl_name = ?1 COLLATE NOCASE OR name = 'host_event_counted' COLLATE NOCASE) "
    "OR type = 'index' AND sql IS NOT NULL AND tbl_name = ?1 COLLATE NOCASE";
// For tables of the host that have no triggers or indexes and are kept across versions of the host.
constexpr const char* kUnexpectedInOwn =
    "SELECT type, name FROM sqlite_schema "
    "WHERE type IN ('index', 'trigger') AND sql IS NOT NULL AND tbl_name = ?1 COLLATE NOCASE "
    "OR name = ?1 COLLATE NOCASE AND type <> 'table'";
// The tables of rows have no triggers, and at most one index. A table with other columns is
// dropped: another version of the host created it, and its rows belong to another run.
constexpr const char* kUnexpectedInRows =
    "SELECT type, name FROM sqlite_schema "
    "WHERE type IN ('index', 'trigger') AND tbl_name = ?1 COLLATE NOCASE AND sql IS NOT ?3 "
    "OR name = ?1 COLLATE NOCASE AND (type <> 'table' OR sql <> ?2)";

// Columns added to the event log by later versions of the host. The log is kept across versions, so
// the table is altered and not recreated.
struct AddedColumn {
  const char* m_Name;
  const char* m_Sql;
};

constexpr AddedColumn kAddedToEventLog[] = {
    {"serial_number", "TEXT NOT NULL DEFAULT ''"},
    {"object_type", "INTEGER NOT NULL DEFAULT 0"},
};

// The statement that created a table, or an empty string.
std::string SqlOf(Connection& connection, const std::string& table) {
  Statement statement =
      connection.Prepare("SELECT sql FROM sqlite_schema WHERE type = 'table' AND name = ?");
  statement.Bind(table);
  return statement.Step() ? statement.Text(0) : std::string();
}

bool HasColumn(Connection& connection, const std::string& table, const std::string& column) {
  Statement statement = connection.Prepare("SELECT 1 FROM pragma_table_info(?) WHERE name = ?");
  return statement.Bind(table).Bind(column).Step();
}

void AddColumnsToEventLog(Connection& connection) {
  for (const AddedColumn& column : kAddedToEventLog) {
    if (HasColumn(connection, "host_event_log", column.m_Name)) continue;
    connection.Run(std::string("ALTER TABLE host_event_log ADD COLUMN ") + column.m_Name + " " +
                   column.m_Sql);
  }
}

std::string Quoted(const std::string& name) {
  return '"' + boost::replace_all_copy(name, "\"", "\"\"") + '"';
}

// Drops the objects that `query` returns. Dropping a table or view also drops its triggers and
// indexes, so they may no longer exist.
void DropUnexpected(Connection& connection, const char* query, const std::string& table,
                    const std::vector<std::string>& ownSql) {
  std::vector<std::string> drops;
  Statement statement = connection.Prepare(query);
  statement.Bind(table);
  for (const std::string& sql : ownSql) statement.Bind(sql);
  while (statement.Step()) {
    drops.push_back("DROP " + statement.Text(0) + " IF EXISTS " + Quoted(statement.Text(1)));
  }
  for (const std::string& drop : drops) connection.Run(drop);
}

void CreateEventTotals(Connection& connection) {
  const bool isNew = SqlOf(connection, "host_event_totals").empty();
  connection.Run(kEventTotals);
  if (SqlOf(connection, "host_event_counts").empty()) return;
  if (isNew) connection.Run(kMigrateCounts);
  connection.Run(kDropCounts);
}

// Whether an object was created with that statement.
bool HasObject(Connection& connection, const std::string& sql) {
  Statement statement = connection.Prepare("SELECT 1 FROM sqlite_schema WHERE sql = ?");
  return statement.Bind(sql).Step();
}

void EnsureCountingTrigger(Connection& connection) {
  if (!HasObject(connection, kCountingTrigger)) connection.Run(kCountingTrigger);
}

void EnsureRowTable(Connection& connection, const TableShape& shape) {
  DropUnexpected(connection, kUnexpectedInRows, shape.m_Name, {shape.m_Sql, shape.m_Index});
  if (SqlOf(connection, shape.m_Name).empty()) connection.Run(shape.m_Sql);
  if (!shape.m_Index.empty() && !HasObject(connection, shape.m_Index)) {
    connection.Run(shape.m_Index);
  }
}

bool BelongsToRun(Connection& connection, std::int64_t run) {
  Statement statement = connection.Prepare("SELECT 1 FROM host_life WHERE number = ?");
  return statement.Bind(run).Step();
}

void CopyRows(Connection& source, Connection& target, const TableShape& shape) {
  std::string placeholders = "?";
  for (std::size_t i = 1; i < shape.m_Columns.size(); ++i) placeholders += ", ?";
  Statement rows = source.Prepare("SELECT * FROM " + shape.m_Name);
  while (rows.Step()) {
    target.Prepare("INSERT INTO " + shape.m_Name + " VALUES (" + placeholders + ")")
        .BindRow(rows)
        .Step();
  }
}

void BeginRun(Connection& connection, std::int64_t run, Connection* pSource) {
  for (const TableShape& shape : RowTables()) {
    connection.Run("DELETE FROM " + shape.m_Name);
    if (pSource != nullptr) CopyRows(*pSource, connection, shape);
  }
  connection.Run("DELETE FROM host_life");
  Statement statement = connection.Prepare("INSERT INTO host_life VALUES (?)");
  statement.Bind(run).Step();
}

}  // namespace

void PrepareOwnTables(Connection& connection) {
  InTransaction(connection, [&] {
    for (const char* table : {"host_event_log", "host_event_totals"}) {
      DropUnexpected(connection, kUnexpectedInLog, table, {kCountingTrigger});
    }
    connection.Run(kEventLogTable);
    AddColumnsToEventLog(connection);
    CreateEventTotals(connection);
    EnsureCountingTrigger(connection);
  });
}

void PrepareRowTables(Connection& connection, std::int64_t run, Connection* pSource) {
  InTransaction(connection, [&] {
    EnsureRowTable(connection, kRunTable);
    for (const TableShape& shape : RowTables()) EnsureRowTable(connection, shape);
    if (!BelongsToRun(connection, run)) BeginRun(connection, run, pSource);
  });
}

void EnsureOwnTable(Connection& connection, const std::string& table, const std::string& sql) {
  DropUnexpected(connection, kUnexpectedInOwn, table, {});
  if (SqlOf(connection, table).empty()) connection.Run(sql);
}

}  // namespace HostKit
