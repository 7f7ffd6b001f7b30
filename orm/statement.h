// Generates the SQL text of statements from rows, maps and tables, without running them. Values are
// not escaped. Thread-safe as long as no thread changes the maps and tables. Throws only
// std::bad_alloc, unless a comment names another exception.
//
// The SQL text is fixed, including spaces and semicolons, because a host may compare or log it. The
// comments show an example of each statement, for a table `table` with the alias `alias`.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "models/FieldsMap.h"
#include "orm/lookup.h"
#include "orm/table.h"
#include "orm/value_text.h"
#include "orm/words.h"

namespace DatabaseORM {

// The columns of a statement. The fields of a map are grouped by type, while a statement lists them
// by position in the table; all texts are therefore collected in one string, from which the
// statement is assembled.
class columns_t {
 public:
  // Creates `count` columns without a field.
  explicit columns_t(int count) : m_columns(static_cast<std::size_t>(count)) {
    constexpr std::size_t usual_value = 12;
    m_values.reserve(m_columns.size() * usual_value);
  }

  // Sets the name and the value of the column at `index`. The name is not copied and must outlive
  // this object. Throws `std::out_of_range` if the index is negative or past the last column.
  template <class Value>
  void set(int index, const std::string& name, const Value& value) {
    column_t& column = m_columns.at(static_cast<std::size_t>(index));
    column.name = &name;
    column.begin = m_values.size();
    append_value(value, m_values);
    column.size = m_values.size() - column.begin;
    m_names_size += name.size() + list_separator.size();
  }

  // Like `set`, for the text of a value.
  void set_text(int index, const std::string& name, std::string_view text) {
    m_columns.at(static_cast<std::size_t>(index)) = {&name, m_values.size(), text.size()};
    m_values += text;
    m_names_size += name.size() + list_separator.size();
  }

  // Whether the value of a column that was set is null.
  bool is_null(std::size_t index) const { return value_of(m_columns[index]) == null_word; }

  // Appends the names of the columns that have a field, except empty ones:
  //
  //   a, b
  void append_names(std::string& text) const {
    append_list(text, [](const column_t& column, std::string& out) { out += *column.name; });
  }
  // Appends the values of the columns that have a field:
  //
  //   1, "x"
  void append_values(std::string& text) const {
    append_list(text,
                [this](const column_t& column, std::string& out) { out += value_of(column); });
  }
  // Appends the names and values of the columns that have a field:
  //
  //   a=1, b="x"
  void append_pairs(std::string& text) const {
    append_list(text, [this](const column_t& column, std::string& out) {
      out += *column.name;
      out += '=';
      out += value_of(column);
    });
  }

  // Returns an upper bound for the size of all names and values in a list.
  std::size_t size() const {
    return m_names_size + m_values.size() + m_columns.size() * list_separator.size();
  }

 private:
  struct column_t {
    const std::string* name = nullptr;  // null: no field
    std::size_t begin = 0;              // of the value, in `m_values`
    std::size_t size = 0;
  };

  std::string_view value_of(const column_t& column) const {
    return std::string_view(m_values).substr(column.begin, column.size);
  }

  template <class Append>
  void append_list(std::string& text, Append append) const {
    const std::size_t begin = text.size();
    for (const column_t& column : m_columns) {
      if (column.name == nullptr) continue;
      const std::size_t before = text.size();
      append(column, text);
      if (text.size() > before) text += list_separator;
    }
    if (text.size() > begin) text.resize(text.size() - list_separator.size());
  }

  std::vector<column_t> m_columns;
  std::string m_values;
  std::size_t m_names_size = 0;
};

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

// An upper bound for the size of the words of a statement.
constexpr std::size_t words_size = 96;

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
  columns_t columns(map.columnCount);
  for_each_field(map, [&](const auto& field) {
    if (auto_key && is_key(map, field)) return;
    columns.set(field.index, field.name, row.*field.member);
  });
  std::string text = foreign_keys_text(table);
  text.reserve(columns.size() + table.name.size() + words_size);
  text += "INSERT INTO" + word_separator + table.name + word_separator;
  if (auto_key) {
    text += '(';
    columns.append_names(text);
    text += ")" + word_separator;
  }
  text += "VALUES(";
  columns.append_values(text);
  text += ");";
  return text;
}

// Represents a missing key. No stored row has this key, because keys start at 1.
constexpr int no_key = -1;

// Returns the key of a row for UPDATE, given the value in its first column: the value itself if it
// is an int, its low 32 bits as an int if it is an unsigned long, or `no_key`.
template <class Field>
int key_of(const Field&) {
  return no_key;
}

inline int key_of(int value) {
  return value;
}

inline int key_of(unsigned long value) {
  return static_cast<int>(value);
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
  columns_t columns(map.columnCount);
  int key = no_key;
  for_each_field(map, [&](const auto& field) {
    const auto& value = row.*field.member;
    columns.set(field.index, field.name, value);
    if (field.index != 0 || columns.is_null(0)) return;
    key = key_of(value);
    // The statement shows the low 32 bits of a longer key.
    if (std::is_same_v<decltype(value), const unsigned long&>)
      columns.set_text(0, field.name, number_text(key));
  });
  std::string text = foreign_keys_text(table);
  text.reserve(columns.size() + table.name.size() + words_size);
  text += "UPDATE" + word_separator + table.name + word_separator + "SET" + word_separator;
  columns.append_pairs(text);
  text += word_separator + "WHERE ID = " + number_text(key) + ";";
  return text;
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
