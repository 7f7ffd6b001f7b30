// Finds the map, table and columns of a row type. Several threads may search the lists
// simultaneously as long as no thread changes them.
//
// A list may contain entries for any row type. An entry is found by its type with dynamic_cast,
// even if a library of the host created it.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "models/FieldsMap.h"
#include "orm/failures.h"
#include "orm/table.h"

namespace DatabaseORM {

// The tables and field maps of a storage, normally one per row type. If several match, the first is
// used. Entries may be null.
using tables_t = std::vector<std::shared_ptr<tableBase_t>>;
using model_maps_t = std::vector<std::shared_ptr<RaidDataModels::dbModelFieldsMapBase>>;

// The map of one row type.
template <class Row>
using fields_map_t = RaidDataModels::dbModelFieldsMap<Row>;

// Returns the first of `entries` of type `Wanted`, or null. The result shares ownership, so it
// remains valid if the list changes.
template <class Wanted, class Entry>
std::shared_ptr<Wanted> find_entry(const std::vector<std::shared_ptr<Entry>>& entries) {
  for (const auto& entry : entries) {
    if (auto found = std::dynamic_pointer_cast<Wanted>(entry)) return found;
  }
  return nullptr;
}

// Returns the map of `Row`, never null. Throws `missing` if there is none. Ownership is shared.
template <class Row>
std::shared_ptr<fields_map_t<Row>> find_map(const model_maps_t& maps,
                                            failure_t missing = failure_t::no_map) {
  auto found = find_entry<fields_map_t<Row>>(maps);
  if (!found) fail(missing);
  return found;
}

// Returns the table of `Row`, never null. If there is none, returns a new table that has neither
// name nor columns, so statements contain no table name. Ownership is shared.
template <class Row>
std::shared_ptr<const table_t<Row>> find_table(const tables_t& tables) {
  auto found = find_entry<table_t<Row>>(tables);
  return found ? found : std::make_shared<table_t<Row>>();
}

// Returns the column name of `member`; the last one if the map has several. Throws
// `failure_t::no_column` if there is none or it is empty.
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
