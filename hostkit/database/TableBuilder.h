// Builds the columns of a row type's table: the key, then the fields in order of declaration.
//
// The persistence layer writes strings in double quotes, and SQLite treats such a string as a
// column name if there is a column with that name. Column names therefore start with a prefix that
// values do not have, as in "ad_serial_number". The key is always named ID.
#pragma once

#include <boost/algorithm/string/replace.hpp>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "hostkit/database/Tables.h"
#include "models/FieldsMap.h"
#include "orm/lookup.h"
#include "orm/table.h"

namespace HostKit {

// Converts "serialNumber" to "serial_number".
inline std::string SnakeCase(const std::string& field) {
  std::string text;
  for (const char character : field) {
    const bool capital = character >= 'A' && character <= 'Z';
    if (capital) text += '_';
    text += capital ? static_cast<char>(character - 'A' + 'a') : character;
  }
  return text;
}

// The kind and SQL declaration of a column, determined by the type of its field. Tables are strict
// and check ranges, because a cell that the persistence layer cannot read would terminate the host.
//
// SQLite's integers are signed, so the upper half of the unsigned range is rejected on writing.
// SQLite returns doubles as strings of 15 digits. The layer cannot read a string that was rounded
// to more than the largest double, or one below the smallest normal double.
struct ColumnType {
  DatabaseORM::column_kind_t m_Kind;
  const char* m_Sql;
  const char* m_Range;  // empty, or a condition, with "$" for the column's name
};

constexpr ColumnType TypeOf(const std::string*) {
  return {DatabaseORM::string_column, "TEXT", ""};
}
constexpr ColumnType TypeOf(const RaidDataModels::string_list*) {
  return {DatabaseORM::list_column, "TEXT", ""};
}
constexpr ColumnType TypeOf(const int*) {
  return {DatabaseORM::int_column, "INTEGER", "$ BETWEEN -2147483648 AND 2147483647"};
}
constexpr ColumnType TypeOf(const unsigned long*) {
  return {DatabaseORM::ulong_column, "INTEGER", "$ >= 0"};
}
constexpr ColumnType TypeOf(const double*) {
  return {DatabaseORM::double_column, "REAL",
          "$ = 0 OR $ BETWEEN 2.2250738585073e-308 AND 1.7976931348623e308 "
          "OR $ BETWEEN -1.7976931348623e308 AND -2.2250738585073e-308"};
}

// Builds the table and the map of one row type at the same time, so that they agree. Not
// thread-safe. Use one builder per row type, because a row type has one map per process.
template <class Row>
class TableBuilder {
 public:
  // Starts a table that has only the key column ID. The alias is also the prefix of column names.
  TableBuilder(const std::string& name, const std::string& alias)
      : m_pMap(RaidDataModels::dbModelFieldsMap<Row>::instance()),
        m_pTable(std::make_shared<DatabaseORM::table_t<Row>>()) {
    m_pMap->alias = alias;
    m_pTable->name = name;
    m_Sql = "ID INTEGER PRIMARY KEY" + CheckClause("ID", TypeOf(static_cast<const int*>(nullptr)));
    Append("ID", &Row::id, true);
  }

  // Appends the column of a field. Skips the key, which already has its column.
  template <class Field>
  TableBuilder& Add(const char* name, Field Row::*member) {
    if constexpr (std::is_same_v<Field, int>) {
      if (member == &Row::id) return *this;
    }
    const std::string column = m_pMap->alias + "_" + SnakeCase(name);
    constexpr ColumnType type = TypeOf(static_cast<const Field*>(nullptr));
    m_Sql += ", " + column + " " + type.m_Sql + CheckClause(column, type);
    Append(column, member, false);
    return *this;
  }

  // Adds an index for reading rows by that field, which must have been added.
  template <class Field>
  TableBuilder& Index(Field Row::*member) {
    const std::string column = DatabaseORM::column_name(*m_pMap, member);
    m_Index = "CREATE INDEX " + m_pTable->name + "_by_" + column + " ON " + m_pTable->name + " (" +
              column + ")";
    return *this;
  }

  // Returns the finished table. Without AUTOINCREMENT, the key of a new row is the largest existing
  // key plus 1, as plug-ins expect.
  TableShape Shape() const {
    return {m_pTable->name, m_Columns, "CREATE TABLE " + m_pTable->name + " (" + m_Sql + ") STRICT",
            m_Index};
  }

  // Adds the table and the map to those of the storage, which shares their ownership.
  void Describe(DatabaseORM::storage_t& storage) const {
    storage.modelMaps.push_back(m_pMap);
    storage.tables.push_back(m_pTable);
  }

 private:
  static std::string CheckClause(const std::string& column, const ColumnType& type) {
    const std::string range = boost::replace_all_copy(std::string(type.m_Range), "$", column);
    return range.empty() ? range : " CHECK (" + range + ")";
  }

  template <class Field>
  void Append(const std::string& column, Field Row::*member, bool isKey) {
    using DatabaseORM::column_t;
    RaidDataModels::fields_of<Field>(*m_pMap).push_back({member, column, m_pMap->columnCount++});
    const auto kind = TypeOf(static_cast<const Field*>(nullptr)).m_Kind;
    m_pTable->columns.push_back(std::make_shared<column_t<Row>>(column_t<Row>{kind, isKey}));
    m_Columns.push_back({column, kind});
  }

  const std::shared_ptr<RaidDataModels::dbModelFieldsMap<Row>> m_pMap;
  const std::shared_ptr<DatabaseORM::table_t<Row>> m_pTable;
  std::vector<ColumnShape> m_Columns;
  std::string m_Sql;
  std::string m_Index;
};

}  // namespace HostKit
