// Generates the SQL text of statements from rows, maps and tables, without running them. Values are
// not escaped. Thread-safe as long as no thread changes the maps and tables. Throws only
// std::bad_alloc, unless a comment names another exception.
//
// The SQL text is fixed, including spaces and semicolons, because a host may compare or log it. The
// comments show an example of each statement, for a table `table` with the alias `alias`.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "models/FieldsMap.h"
#include "orm/lookup.h"
#include "orm/table.h"
#include "orm/value_text.h"
#include "orm/words.h"

namespace DatabaseORM {

// Column names or values, indexed by the position of the column in the table.
using texts_t = std::vector<std::string>;

// Returns an empty string for each column of the table, according to the map's column count.
template <class Row>
texts_t empty_columns(const fields_map_t<Row>& map) {
  return texts_t(static_cast<std::size_t>(map.columnCount));
}

// Returns a reference to the text of a column. Throws `std::out_of_range` if the index is negative
// or past the last column.
inline std::string& at(texts_t& columns, int index) {
  return columns.at(static_cast<std::size_t>(index));
}

// Joins the strings that are not empty:
//
//   a, b
//
// Columns without a field have an empty string and are therefore omitted.
inline std::string joined_columns(const texts_t& columns) {
  std::string text;
  for (const std::string& column : columns) {
    text += column;
    if (!column.empty()) text += list_separator;
  }
  if (text.size() >= list_separator.size()) text.resize(text.size() - list_separator.size());
  return text;
}

// Returns the prefix of a statement that writes, which enables foreign key checks if the table
// requests them; otherwise empty.
//
//   PRAGMA foreign_keys = ON;
//
// The checks remain enabled on the connection, including for statements on other tables.
template <class Row>
std::string foreign_keys_text(const table_t<Row>& table) {
  return table.foreignKeys ? "PRAGMA foreign_keys = ON;" + word_separator : "";
}

// Whether the database assigns the table's key: true if a column has `autoIncrement`. The columns
// must not be null.
template <class Row>
bool has_auto_key(const table_t<Row>& table) {
  for (const auto& column : table.columns) {
    if (column->autoIncrement) return true;
  }
  return false;
}

// Whether a field is the key that the database assigns. The key is either an int in the first
// column of its table or an unsigned long in the last. Call only if `has_auto_key` is true for the
// table.
template <class Row>
bool is_key(const fields_map_t<Row>&, const RaidDataModels::dbModelField<Row, int>& field) {
  return field.index == 0;
}

template <class Row>
bool is_key(const fields_map_t<Row>& map,
            const RaidDataModels::dbModelField<Row, unsigned long>& field) {
  return field.index == map.columnCount - 1;
}

template <class Row, class Field>
bool is_key(const fields_map_t<Row>&, const RaidDataModels::dbModelField<Row, Field>&) {
  return false;
}

// Calls `visit` for each field of the map: ints, unsigned longs, strings, lists, doubles; within a
// type, in the order of the map. An exception from `visit` propagates.
template <class Row, class Visit>
void for_each_field(const fields_map_t<Row>& map, Visit visit) {
  for (const auto& field : map.intFields) visit(field);
  for (const auto& field : map.ulongFields) visit(field);
  for (const auto& field : map.stringFields) visit(field);
  for (const auto& field : map.listFields) visit(field);
  for (const auto& field : map.doubleFields) visit(field);
}

// Returns the INSERT statement for a row. The first form is for tables whose key the database
// assigns, the second for all others:
//
//   INSERT INTO table (name, size) VALUES("x", 1);
//   INSERT INTO table VALUES(3, "x", 1);
//
// The first form omits the key. The second form contains no column names, so the map must have a
// field for each column. Null values are written as NULL, and a list as one string. Throws
// `std::out_of_range` for a field index past the last column.
template <class Row>
std::string insert_text(const fields_map_t<Row>& map, const table_t<Row>& table, const Row& row) {
  const bool auto_key = has_auto_key(table);
  texts_t names = empty_columns(map);
  texts_t values = empty_columns(map);
  for_each_field(map, [&](const auto& field) {
    if (auto_key && is_key(map, field)) return;
    at(names, field.index) = field.name;
    at(values, field.index) = value_text(row.*field.member);
  });
  const std::string columns =
      auto_key ? "(" + joined_columns(names) + ")" + word_separator : std::string();
  return foreign_keys_text(table) + "INSERT INTO" + word_separator + table.name + word_separator +
         columns + "VALUES(" + joined_columns(values) + ");";
}

// Represents a missing key. No stored row has this key, because keys start at 1.
constexpr int no_key = -1;

// Returns the key of a row for UPDATE, given the value in its first column: the value itself if it
// is an int, its low 32 bits as an int if it is an unsigned long, or `no_key`. For an unsigned
// long, also sets `text`, the value's text in the statement, to that key.
template <class Field>
int key_of(const Field&, std::string&) {
  return no_key;
}

inline int key_of(int value, std::string&) {
  return value;
}

inline int key_of(unsigned long value, std::string& text) {
  const int key = static_cast<int>(value);
  text = number_text(key);
  return key;
}

// Returns the UPDATE statement that sets all columns of the row with the same key:
//
//   UPDATE table SET ID=3, name="x", size=1 WHERE ID = 3;
//
// The key is the value in the first column. The condition always uses the column name `ID`,
// regardless of the name in the map, so the statement cannot update a table whose key is its last
// column. If the key is null or not a number, the condition is `ID = -1`, which matches no stored
// row. Throws `std::out_of_range` for a field index past the last column.
template <class Row>
std::string update_text(const fields_map_t<Row>& map, const table_t<Row>& table, const Row& row) {
  texts_t pairs = empty_columns(map);
  int key = no_key;
  for_each_field(map, [&](const auto& field) {
    const auto& value = row.*field.member;
    std::string text = value_text(value);
    if (field.index == 0 && text != null_word) key = key_of(value, text);
    at(pairs, field.index) = field.name + "=" + text;
  });
  return foreign_keys_text(table) + "UPDATE" + word_separator + table.name + word_separator +
         "SET" + word_separator + joined_columns(pairs) + word_separator +
         "WHERE ID = " + number_text(key) + ";";
}

// Returns the statement that reads the largest value of a column, without a final semicolon:
//
//   SELECT MAX(size) FROM table
//
// Its result is one cell, NULL if the table is empty.
template <class Row>
std::string max_text(const table_t<Row>& table, const std::string& column) {
  return "SELECT" + word_separator + "MAX(" + column + ")" + word_separator + "FROM" +
         word_separator + table.name;
}

// Returns the statement that reads the rows that match `condition`, which starts with a space. The
// statement has no final semicolon:
//
//   SELECT * FROM table alias  WHERE alias.size = '1'
//
// Its result has one cell per column and row. The columns are in the order of the database, which
// must be the order of `table.columns`; the order of the rows is unspecified.
template <class Row>
std::string select_text(const table_t<Row>& table, const std::string& alias,
                        const std::string& condition) {
  return "SELECT" + word_separator + "*" + word_separator + "FROM" + word_separator + table.name +
         word_separator + alias + word_separator + condition;
}

// Returns the statement that deletes the rows that match `condition`, which starts with a space:
//
//   DELETE FROM table  WHERE size = '1'
//
// The condition must not contain the alias, because the statement does not define it.
template <class Row>
std::string delete_text(const table_t<Row>& table, const std::string& condition) {
  return foreign_keys_text(table) + "DELETE" + word_separator + "FROM" + word_separator +
         table.name + word_separator + condition;
}

}  // namespace DatabaseORM
