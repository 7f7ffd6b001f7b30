// Strings with which a forged card could attack the host's database.
#pragma once

#include <string>
#include <vector>

// Statements that the database must reject from a plug-in.
inline const std::vector<std::string>& ForbiddenStatements() {
  static const std::vector<std::string> statements = {
      "DROP TABLE host_event_log",
      "DELETE FROM host_event_log",
      "UPDATE host_event_log SET message = 'forged'",
      "INSERT INTO host_event_log (time, severity, event_id, object_id, name, message) "
      "VALUES (1, 2, 3, 4, 'forged', 'forged')",
      "REPLACE INTO host_event_log (number, time, severity, event_id, object_id, name, message) "
      "VALUES (1, 1, 2, 3, 4, 'forged', 'forged')",
      "SELECT message FROM host_event_log",
      "DELETE FROM host_event_totals",
      "UPDATE host_event_totals SET count = 0",
      "UPDATE host_life SET number = 0",
      "DROP TRIGGER host_event_counted",
      "CREATE TRIGGER planted AFTER INSERT ON host_event_log BEGIN "
      "DELETE FROM host_event_log; END",
      "CREATE TRIGGER planted AFTER INSERT ON host_adapter_rows BEGIN "
      "DELETE FROM host_event_log; END",
      "CREATE TEMP TRIGGER planted AFTER INSERT ON host_adapter_rows BEGIN "
      "DELETE FROM host_event_log; END",
      "CREATE TABLE planted (v)",
      "CREATE TEMP TABLE planted (v)",
      "CREATE TABLE planted AS SELECT 1 AS v",
      "CREATE VIRTUAL TABLE planted USING fts5(v)",
      "CREATE VIEW planted AS SELECT 1",
      "CREATE TEMP VIEW host_plugin_rows AS SELECT 1",
      "CREATE INDEX planted ON host_adapter_rows (ad_name)",
      "ALTER TABLE host_adapter_rows RENAME TO planted",
      "ALTER TABLE host_adapter_rows ADD COLUMN planted",
      "ALTER TABLE host_adapter_rows DROP COLUMN ad_name",
      "DROP TABLE host_adapter_rows",
      "ATTACH 'planted.db' AS planted",
      "ATTACH ':memory:' AS planted",
      "DETACH main",
      "VACUUM",
      "VACUUM INTO 'planted.db'",
      "REINDEX",
      "ANALYZE",
      "BEGIN",
      "BEGIN EXCLUSIVE",
      "COMMIT",
      "ROLLBACK",
      "SAVEPOINT planted",
      "PRAGMA writable_schema = 1",
      "PRAGMA journal_mode = DELETE",
      "PRAGMA query_only = 1",
      "PRAGMA max_page_count = 1",
      "PRAGMA user_version = 7",
      "PRAGMA user_version",
      "PRAGMA foreign_keys",
      "PRAGMA foreign_keys = OFF",
      "SELECT * FROM pragma_table_info('host_event_log')",
      "SELECT sql FROM sqlite_schema",
      "DELETE FROM sqlite_schema",
      "DELETE FROM sqlite_sequence",
      "SELECT load_extension('planted')",
      "SELECT hex(randomblob(1000000))",
      "SELECT zeroblob(1000000000)",
      "SELECT printf('%1000000000d', 1)",
      "WITH RECURSIVE n (i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n) SELECT COUNT(*) FROM n",
      "WITH RECURSIVE n (i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n) "
      "INSERT INTO host_adapter_rows (ad_temperature) SELECT i FROM n"};
  return statements;
}

// Expressions that the database must reject where a string is expected.
inline const std::vector<std::string>& ForbiddenExpressions() {
  static const std::vector<std::string> expressions = {
      "(SELECT message FROM host_event_log)",
      "(SELECT sql FROM sqlite_schema)",
      "(SELECT name FROM pragma_database_list)",
      "(WITH RECURSIVE n (i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n) SELECT COUNT(*) FROM n)",
      "load_extension('planted')",
      "hex(zeroblob(1000000000))"};
  return expressions;
}

// Repeated("?", 3) returns "?, ?, ?".
inline std::string Repeated(const std::string& text, int count) {
  std::string all;
  for (int i = 0; i < count; ++i) all += (i == 0 ? "" : ", ") + text;
  return all;
}

// Returns strings that break out of the double quotes of an INSERT (with `valuesAfter` values after
// the string) or of an UPDATE, or out of the single quotes of a condition.
inline std::vector<std::string> InjectionStrings(
    int valuesAfter, const std::vector<std::string>& statements = ForbiddenStatements()) {
  const std::string rest = valuesAfter == 0 ? "" : ", " + Repeated("NULL", valuesAfter);
  std::vector<std::string> texts;
  for (const std::string& statement : statements) {
    texts.push_back("x\"" + rest + "); " + statement + "; --");
    texts.push_back("x\" WHERE 0; " + statement + "; --");
    texts.push_back("x'); " + statement + "; --");
    texts.push_back("x'; " + statement + "; --");
  }
  for (const std::string& expression : ForbiddenExpressions()) {
    texts.push_back("x\" || " + expression + " || \"");
    texts.push_back("x' || " + expression + " || '");
    texts.push_back("x') OR (1 = " + expression + ") --");
  }
  // Results that cannot be read as rows of adapters, drives or plug-ins.
  for (const int width : {149, 69, 11}) {
    texts.push_back("x') UNION SELECT " + Repeated("'warm'", width) + " --");
    texts.push_back("x') UNION SELECT " + Repeated("1e-310", width) + " --");
    texts.push_back("x') UNION SELECT " + Repeated("9223372036854775807", width) + " --");
    texts.push_back("x'); SELECT " + Repeated("'warm'", width) + " --");
  }
  texts.insert(texts.end(), {"x') OR 1 --", "x\" WHERE 1 --", "x\", ad_name = \"y", "\"", "'",
                             "x\"; DELETE FROM host_adapter_rows; --"});
  return texts;
}
