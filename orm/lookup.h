// Finds the map, the table and the column of a row type. The lists are only read, so several
// threads may search them at the same time if none changes them.
//
// A list may have entries of any row type; an entry is found by its type, with dynamic_cast, also
// if the host's library has created it.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "models/FieldsMap.h"
#include "orm/failures.h"
#include "orm/table.h"

namespace DatabaseORM {

// What a storage knows: at most one table and one map per row type. If there are more, the first
// one is used. Entries may be null.
using tables_t = std::vector<std::shared_ptr<tableBase_t>>;
using model_maps_t = std::vector<std::shared_ptr<RaidDataModels::dbModelFieldsMapBase>>;

// The map of one row type.
template <class Row>
using fields_map_t = RaidDataModels::dbModelFieldsMap<Row>;

// The first of `entries` that is a `Wanted`, or null. The result shares the ownership: it remains
// valid if the list changes.
template <class Wanted, class Entry>
std::shared_ptr<Wanted> find_entry(const std::vector<std::shared_ptr<Entry>>& entries) {
  for (const auto& entry : entries) {
    if (auto found = std::dynamic_pointer_cast<Wanted>(entry)) return found;
  }
  return nullptr;
}

// The map of `Row`, never null, owned as by `find_entry`. Throws `missing` without one.
template <class Row>
std::shared_ptr<fields_map_t<Row>> find_map(const model_maps_t& maps,
                                            failure_t missing = failure_t::no_map) {
  auto found = find_entry<fields_map_t<Row>>(maps);
  if (!found) fail(missing);
  return found;
}

// The table of `Row`, never null, owned as by `find_entry`. Without one, a new table with neither
// name nor columns: the statement then lacks the table's name, and the database rejects it.
template <class Row>
std::shared_ptr<const table_t<Row>> find_table(const tables_t& tables) {
  auto found = find_entry<table_t<Row>>(tables);
  return found ? found : std::make_shared<table_t<Row>>();
}

// The name of the column of `member`; the last one if the map has several. Throws
// `failure_t::no_column` without one, or if that name is empty.
template <class Row, class Field>
std::string column_name(const fields_map_t<Row>& map, Field Row::*member) {
  std::string name;
  for (const auto& field : RaidDataModels::fields_of<Field>(map)) {
    if (field.member == member) name = field.name;
  }
  if (name.empty()) fail(failure_t::no_column);
  return name;
}

}  // namespace DatabaseORM
