// Builds the texts of statements from rows, maps and tables. Runs nothing and changes nothing;
// throws nothing but std::bad_alloc unless a comment says otherwise. No value is escaped. From any
// thread, as long as the maps and tables do not change.
//
// The texts are exact, including blanks and semicolons: a host may compare or log them. The
// comments show an example of each, for a table `table` with the alias `alias`.
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

// Names or values, by the position of their column in the table.
using texts_t = std::vector<std::string>;

// One text per column of the table, by the map's count, each empty until a field fills it.
template <class Row>
texts_t empty_columns(const fields_map_t<Row>& map) {
  return texts_t(static_cast<std::size_t>(map.columnCount));
}

// The text of a column, for reading or writing; valid as long as `columns`. Throws
// `std::out_of_range` for an index that the table does not have, also a negative one.
inline std::string& at(texts_t& columns, int index) {
  return columns.at(static_cast<std::size_t>(index));
}

// The texts that are not empty, separated:
//
//   a, b
//
// Empty if all are. An empty text takes no place: a column that no field fills is left out.
inline std::string joined_columns(const texts_t& columns) {
  std::string text;
  for (const std::string& column : columns) {
    text += column;
    if (!column.empty()) text += list_separator;
  }
  if (text.size() >= list_separator.size()) text.resize(text.size() - list_separator.size());
  return text;
}

// The beginning of a statement that writes: switches the checks of foreign keys on if the table
// wants that, else nothing.
//
//   PRAGMA foreign_keys = ON;
//
// The connection then keeps them on, for the statements on other tables too.
template <class Row>
std::string foreign_keys_text(const table_t<Row>& table) {
  return table.foreignKeys ? "PRAGMA foreign_keys = ON;" + word_separator : "";
}

// Whether the database assigns the table's key, because one of its columns says so. No column may
// be null.
template <class Row>
bool has_auto_key(const table_t<Row>& table) {
  for (const auto& column : table.columns) {
    if (column->autoIncrement) return true;
  }
  return false;
}

// Whether a field is the key that the database assigns, by its position: an int is the first column
// of its table, an unsigned long the last. Fields of other types never are. Meaningful only for a
// table with `has_auto_key`: a position alone does not make a key.
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

// Calls `visit` with each field of the map: ints, unsigned longs, texts, lists, doubles; in the
// order of the map within a type. If `visit` throws, the exception propagates and the remaining
// fields are not visited.
template <class Row, class Visit>
void for_each_field(const fields_map_t<Row>& map, Visit visit) {
  for (const auto& field : map.intFields) visit(field);
  for (const auto& field : map.ulongFields) visit(field);
  for (const auto& field : map.stringFields) visit(field);
  for (const auto& field : map.listFields) visit(field);
  for (const auto& field : map.doubleFields) visit(field);
}

// A new row, whose key the database assigns or not:
//
//   INSERT INTO table (name, size) VALUES("x", 1);
//   INSERT INTO table VALUES(3, "x", 1);
//
// The first form leaves the key out. The second one names no columns, so the map must have a field
// for each. Null values are the word NULL, and a list is one text. Throws `std::out_of_range` for a
// field beyond the table.
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

// For a row without a key. No stored row has it.
constexpr int no_key = -1;

// The key that `update` takes from the first field of a table: its value if it is an int or an
// unsigned long, else `no_key`. An unsigned long is truncated to its low 32 bits as an int, and
// `text`, which is the field's value in the statement, changed accordingly; otherwise `text` is
// unchanged.
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

// All columns of the row with the same key:
//
//   UPDATE table SET ID=3, name="x", size=1 WHERE ID = 3;
//
// The key is the first column, and the column compared is `ID`, whatever the map calls it: a table
// whose key is its last column is never changed. For a row whose key is null, or not a number, the
// condition is `ID = -1`, which no stored row meets. Throws `std::out_of_range` for a field beyond
// the table.
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

// The largest value of a column:
//
//   SELECT MAX(size) FROM table
//
// One cell, NULL if the table is empty. No semicolon ends it.
template <class Row>
std::string max_text(const table_t<Row>& table, const std::string& column) {
  return "SELECT" + word_separator + "MAX(" + column + ")" + word_separator + "FROM" +
         word_separator + table.name;
}

// The rows that meet `condition`, which begins with a blank:
//
//   SELECT * FROM table alias  WHERE alias.size = '1'
//
// One cell per column and row, in the order in which the database has the columns: that must be the
// order of `table.columns`. The order of rows is up to the database. No semicolon ends it.
template <class Row>
std::string select_text(const table_t<Row>& table, const std::string& alias,
                        const std::string& condition) {
  return "SELECT" + word_separator + "*" + word_separator + "FROM" + word_separator + table.name +
         word_separator + alias + word_separator + condition;
}

// Deletes the rows that meet `condition`, which begins with a blank:
//
//   DELETE FROM table  WHERE size = '1'
//
// The condition must not have the alias, since the statement does not declare it.
template <class Row>
std::string delete_text(const table_t<Row>& table, const std::string& condition) {
  return foreign_keys_text(table) + "DELETE" + word_separator + "FROM" + word_separator +
         table.name + word_separator + condition;
}

}  // namespace DatabaseORM
