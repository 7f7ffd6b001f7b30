// Builds the texts of statements from rows and metadata; runs nothing.
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

using texts_t = std::vector<std::string>;

// One place per column, each empty until a field fills it. A field whose index lies outside throws
// `std::out_of_range`.
template <class Row>
texts_t empty_columns(const fields_map_t<Row>& map) {
  return texts_t(static_cast<std::size_t>(map.columnCount));
}

inline std::string& at(texts_t& columns, int index) {
  return columns.at(static_cast<std::size_t>(index));
}

// Puts a separator behind each text but the empty ones, and takes the last one off.
inline std::string joined_columns(const texts_t& columns) {
  std::string text;
  for (const std::string& column : columns) {
    text += column;
    if (!column.empty()) text += list_separator;
  }
  if (text.size() >= list_separator.size()) text.resize(text.size() - list_separator.size());
  return text;
}

template <class Row>
std::string foreign_keys_text(const table_t<Row>& table) {
  return table.foreignKeys ? "PRAGMA foreign_keys = ON;" + word_separator : "";
}

template <class Row>
bool has_auto_key(const table_t<Row>& table) {
  for (const auto& column : table.columns) {
    if (column->autoIncrement) return true;
  }
  return false;
}

// Where a key that the database gives stands, by its type: an int comes first in its table, an
// unsigned long last.
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

// Calls `visit` with each field of the map, one type after the other.
template <class Row, class Visit>
void for_each_field(const fields_map_t<Row>& map, Visit visit) {
  for (const auto& field : map.intFields) visit(field);
  for (const auto& field : map.ulongFields) visit(field);
  for (const auto& field : map.stringFields) visit(field);
  for (const auto& field : map.listFields) visit(field);
  for (const auto& field : map.doubleFields) visit(field);
}

// Without a key of the database's own the values stand alone, so every column must be among them.
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

// What `update` takes as the key from a field: its value, when the field stands first in its table
// and is a number.
constexpr int no_key = -1;

// `text` may be changed to show the key as it is cut to an int.
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

// The row is known by the column `ID`, whatever the map calls the key. A row without a key changes
// nothing: no row has the key -1.
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

template <class Row>
std::string max_text(const table_t<Row>& table, const std::string& column) {
  return "SELECT" + word_separator + "MAX(" + column + ")" + word_separator + "FROM" +
         word_separator + table.name;
}

// `condition` brings its own blank.
template <class Row>
std::string select_text(const table_t<Row>& table, const std::string& alias,
                        const std::string& condition) {
  return "SELECT" + word_separator + "*" + word_separator + "FROM" + word_separator + table.name +
         word_separator + alias + word_separator + condition;
}

template <class Row>
std::string delete_text(const table_t<Row>& table, const std::string& condition) {
  return foreign_keys_text(table) + "DELETE" + word_separator + "FROM" + word_separator +
         table.name + word_separator + condition;
}

}  // namespace DatabaseORM
