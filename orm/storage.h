// The storage: the tables of the host's database, with functions that write, read and delete rows.
//
//   auto storage = getDatabasePointer();
//   auto rows = storage->get_all<Adapter>(where(is_equal(&Adapter::adapterNumber, 3) and
//                                               is_equal(&Adapter::hostName, "localhost")));
//
// Values in statements are not escaped. See orm/statement.h for the exact text of the statements.
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

// Created by the host, which fills in the tables and field maps, and shared with the plug-in. Not
// thread-safe; deleting rows changes `useAlias` temporarily.
//
// Each statement takes effect on its own, without a transaction. Failures, including those of
// the database, throw `DBEXCEPTION::DatabaseException` with a message from orm/failures.h. The
// comments below refer to failures by their names in `failure_t`. A failure does not affect later
// calls.
class CORVANE_API storage_t {
 public:
  bool useAlias = true;  // whether conditions prefix their columns with the table's alias
  std::shared_ptr<DatabaseWrapper::DatabaseDAO> dao;  // runs the statements; must be set
  tables_t tables;                                    // at most one per row type
  model_maps_t modelMaps;                             // at most one per row type

  // Inserts a row. Returns its key if the database assigns the table's keys, or 0.
  //
  // The key is predicted: a SELECT MAX before the INSERT reads the largest key, and the result is
  // that key plus 1, or 1 if the table is empty. The prediction is wrong if another writer adds a
  // row between the two statements, or if the database assigns keys in another way. Only the low 32
  // bits of the key are returned.
  //
  // Throws `no_map_in_insert` if `Row` has no map, `key` if the largest key cannot be read, `query`
  // if the database rejects the INSERT, and `std::out_of_range` for a field index past the last
  // column; no row is written in these cases. If `Row` has no table, the INSERT lacks the table
  // name.
  template <class Row>
  int insert(Row row) {
    const auto map = find_map<Row>(modelMaps, failure_t::no_map_in_insert);
    const auto table = find_table<Row>(tables);
    const int key = has_auto_key(*table) ? next_key(*map) : 0;
    run(insert_text(*map, *table, row));
    return key;
  }

  // Updates all columns of the stored row with the same key, using one UPDATE. If the key is null
  // or not in the table, nothing changes and no error is reported.
  //
  // Throws `no_map` if `Row` has no map, `query` if the database rejects the statement, and
  // `std::out_of_range` for a field index past the last column; the stored row is unchanged in
  // these cases.
  template <class Row>
  void update(Row row) {
    const auto map = find_map<Row>(modelMaps);
    run(update_text(*map, *find_table<Row>(tables), row));
  }

  // Returns the largest value of a column, where `Field` is int or unsigned long, using one SELECT
  // MAX. Returns 0 if the result is empty or not such a number. Also returns 0, without
  // running a statement, if the row type has no map or table. Callers cannot distinguish these
  // cases from a real maximum of 0. Throws `no_column` if the map does not contain the member, and
  // `query` if the database rejects the statement.
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

  // Returns the rows that match the condition, in the order in which the database returns them,
  // using one SELECT. If `Row` has no table, the statement lacks the table name; if the database
  // accepts it anyway, returns no rows.
  //
  // Throws `no_map` if `Row` or a row type in the condition has no map, `no_column` if a member in
  // the condition has no column, and `query` if the database rejects the statement. Throws
  // `std::invalid_argument` or `std::out_of_range` for a cell that does not fit its column's type.
  template <class Row, class Condition>
  std::vector<Row> get_all(where_t<Condition> where) {
    const auto map = find_map<Row>(modelMaps);
    const auto table = find_table<Row>(tables);
    const std::string alias = extractAlias<Row>();
    const std::string condition = process_single_condition(naming(), {}, where);
    return read_rows(*map, *table, run(select_text(*table, alias, condition)));
  }

  // Deletes the rows that match the condition, using one DELETE. Sets `useAlias` to true, even if
  // the call fails, unless `Row` has no map. Throws the same exceptions as `get_all`, except those
  // for cells; no row is deleted if it throws.
  template <class Row, class Condition>
  void remove_all(where_t<Condition> where) {
    find_map<Row>(modelMaps);
    const auto table = find_table<Row>(tables);
    const without_alias_t without_alias(useAlias);
    run(delete_text(*table, process_single_condition(naming(), {}, where)));
  }

  // Returns the table alias of `Row` from its map. Throws `no_map_for_alias` if `Row` has no map.
  template <class Row>
  std::string extractAlias() const {
    return alias_of<Row>(modelMaps);
  }

  // Returns the column name of a member from the map of `Row`. Throws `no_map` if `Row` has no map,
  // and `no_column` if the member has no column.
  template <class Row, class Field>
  std::string stringFromExpression(Field Row::*member) const {
    return column_name(*find_map<Row>(modelMaps), member);
  }

 private:
  // Sets `useAlias` to false for a DELETE, which defines no alias, and toggles it to true
  // afterwards.
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

  // Returns the key of the next row: the largest stored key plus 1.
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

  // Uses only the low 32 bits; the largest int is followed by the smallest.
  template <class Row, class Field>
  int next_key_of(Field Row::*member) {
    const Field largest = failing_as(failure_t::key, [&] { return max(member); });
    const auto low = static_cast<unsigned int>(largest);
    return static_cast<int>(low) == -1 ? 1 : static_cast<int>(low + 1);
  }
};

}  // namespace DatabaseORM
