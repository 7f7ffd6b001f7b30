// The tables of the host's database, and the statements that write, read and delete their rows.
//
//   auto storage = getDatabasePointer();
//   auto rows = storage->get_all<Adapter>(where(is_equal(&Adapter::adapterNumber, 3) and
//                                               is_equal(&Adapter::hostName, "localhost")));
//
// Statements are plain text; values are not escaped. orm/statement.h has their exact form.
#pragma once

#include <locale>
#include <memory>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "host/Database.h"
#include "models/FieldsMap.h"
#include "models/Visibility.h"
#include "orm/condition.h"
#include "orm/failures.h"
#include "orm/lookup.h"
#include "orm/row_reader.h"
#include "orm/statement.h"
#include "orm/table.h"

namespace DatabaseORM {

// Built by the host, which fills in its tables and field maps, and shared with the plug-in. It has
// no lock, and deleting changes `useAlias` temporarily: one thread at a time.
//
// There are no transactions; every statement takes effect by itself. Failures, also of the
// database, throw `DBEXCEPTION::DatabaseException` with the texts of orm/failures.h. The comments
// below name them as `failure_t` does. A failure does not affect later calls.
//
// Rows are passed and returned by value; no member keeps a reference to one.
class CORVANE_API storage_t {
 public:
  bool useAlias = true;  // whether conditions prefix their columns with the table's alias
  std::shared_ptr<DatabaseWrapper::DatabaseDAO> dao;  // runs the statements; must be set
  tables_t tables;                                    // at most one per row type
  model_maps_t modelMaps;                             // at most one per row type

  // Writes a new row: one INSERT. Returns its key if the database assigns the table's key, else 0.
  //
  // The key is predicted: a SELECT MAX before the INSERT reads the largest one, and the result
  // is that plus 1, or 1 if the table is empty. It is wrong if another writer adds a row in
  // between, or if the database does not assign keys that way. Only its low 32 bits are returned.
  //
  // If it throws, no row has been written. Throws `no_map_in_insert` without a map for `Row`, `key`
  // if the largest key cannot be read, `query` if the database rejects the INSERT, and
  // `std::out_of_range` for a field beyond the table. Without a table for `Row`, the INSERT lacks
  // the table's name.
  template <class Row>
  int insert(Row row) {
    const auto map = find_map<Row>(modelMaps, failure_t::no_map_in_insert);
    const auto table = find_table<Row>(tables);
    const int key = has_auto_key(*table) ? next_key(*map) : 0;
    run(insert_text(*map, *table, row));
    return key;
  }

  // Writes all columns of the row with the same key: one UPDATE. A row whose key is null, or that
  // the table does not have, changes nothing, and no failure reports that.
  //
  // The stored row is unchanged after an exception. Throws `no_map` without a map for `Row`,
  // `query` if the database rejects the statement, and `std::out_of_range` for a field beyond the
  // table.
  template <class Row>
  void update(Row row) {
    const auto map = find_map<Row>(modelMaps);
    run(update_text(*map, *find_table<Row>(tables), row));
  }

  // The largest value of a column, where `Field` is int or unsigned long: one SELECT MAX. 0 if
  // no value exists, if the result is not such a number, and, without running a statement, if the
  // row type has no map or table. A caller cannot distinguish these from a largest value of 0.
  // Throws `no_column` if the map does not have the member, `query` if the database rejects the
  // statement.
  template <class Field, class Row>
  Field max(Field Row::*member) {
    const auto map = find_entry<fields_map_t<Row>>(modelMaps);
    const auto table = find_entry<table_t<Row>>(tables);
    if (!map || !table) return 0;
    const auto cells = run(max_text(*table, stringFromExpression(member)));
    if (cells.empty()) return 0;
    std::istringstream cell(cells.front());
    cell.imbue(std::locale::classic());
    Field value = 0;
    return cell >> value ? value : 0;
  }

  // The rows that meet the condition, in the database's order: one SELECT. None without a table for
  // `Row`, if the database accepts a statement without the table's name.
  //
  // Throws `no_map` without a map for `Row` or for a row type of the condition, `no_column` if the
  // condition has a member without a column, `query` if the database rejects the statement. A cell
  // that does not fit its column's type throws `std::invalid_argument` or `std::out_of_range`.
  template <class Row, class Condition>
  std::vector<Row> get_all(where_t<Condition> where) {
    const auto map = find_map<Row>(modelMaps);
    const auto table = find_table<Row>(tables);
    const std::string alias = extractAlias<Row>();
    const std::string condition = process_single_condition(naming(), {}, where);
    return read_rows(*map, *table, run(select_text(*table, alias, condition)));
  }

  // Deletes the rows that meet the condition, if any: one DELETE. Always sets `useAlias` to true,
  // even if it fails. Throws the same exceptions as `get_all`, except those for cells; no row is
  // deleted in that case.
  template <class Row, class Condition>
  void remove_all(where_t<Condition> where) {
    find_map<Row>(modelMaps);
    const auto table = find_table<Row>(tables);
    const without_alias_t without_alias(useAlias);
    run(delete_text(*table, process_single_condition(naming(), {}, where)));
  }

  // The alias of the table of `Row`. Runs no statement. Throws `no_map_for_alias` without a map.
  template <class Row>
  std::string extractAlias() const {
    return alias_of<Row>(modelMaps);
  }

  // The name of a member's column. Runs no statement. Throws `no_map` without a map, `no_column`
  // without a column.
  template <class Row, class Field>
  std::string stringFromExpression(Field Row::*member) const {
    return column_name(*find_map<Row>(modelMaps), member);
  }

 private:
  // A statement that deletes has no alias.
  class without_alias_t {
   public:
    explicit without_alias_t(bool& use_alias) : m_use_alias(use_alias) { m_use_alias = false; }
    ~without_alias_t() { m_use_alias ^= true; }
    without_alias_t(const without_alias_t&) = delete;
    without_alias_t& operator=(const without_alias_t&) = delete;

   private:
    bool& m_use_alias;
  };

  naming_t naming() const { return {modelMaps, useAlias}; }

  std::vector<std::string> run(std::string sql) {
    return failing_as(failure_t::query, [&] { return dao->query(std::move(sql)); });
  }

  // The key of the next row: the largest stored one, plus 1.
  template <class Row>
  int next_key(const fields_map_t<Row>& map) {
    int key = 0;
    for (const auto& field : map.intFields) {
      if (is_key(map, field)) key = next_key_of(field.member);
    }
    for (const auto& field : map.ulongFields) {
      if (is_key(map, field)) key = next_key_of(field.member);
    }
    return key;
  }

  // Only the low 32 bits are used. After the largest int comes the smallest.
  template <class Row, class Field>
  int next_key_of(Field Row::*member) {
    const Field largest = failing_as(failure_t::key, [&] { return max(member); });
    const auto low = static_cast<unsigned int>(largest);
    return static_cast<int>(low) == -1 ? 1 : static_cast<int>(low + 1);
  }
};

}  // namespace DatabaseORM
