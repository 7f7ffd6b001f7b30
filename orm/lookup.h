// Finds the map, the table and the column of a row type.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "models/FieldsMap.h"
#include "orm/failures.h"
#include "orm/table.h"

namespace DatabaseORM {

using tables_t = std::vector<std::shared_ptr<tableBase_t>>;
using model_maps_t = std::vector<std::shared_ptr<RaidDataModels::dbModelFieldsMapBase>>;

template <class Row>
using fields_map_t = RaidDataModels::dbModelFieldsMap<Row>;

// The first of `entries` that is a `Wanted`, kept alive by the result, or null.
template <class Wanted, class Entry>
std::shared_ptr<Wanted> find_entry(const std::vector<std::shared_ptr<Entry>>& entries) {
  for (const auto& entry : entries) {
    if (auto found = std::dynamic_pointer_cast<Wanted>(entry)) return found;
  }
  return nullptr;
}

// The map of `Row`; without one, throws what `missing` says.
template <class Row>
std::shared_ptr<fields_map_t<Row>> find_map(const model_maps_t& maps,
                                            failure_t missing = failure_t::no_map) {
  auto found = find_entry<fields_map_t<Row>>(maps);
  if (!found) fail(missing);
  return found;
}

// The table of `Row`. Without one, a table without a name and without columns: the statement then
// shows what is missing, and the database refuses it.
template <class Row>
std::shared_ptr<const table_t<Row>> find_table(const tables_t& tables) {
  auto found = find_entry<table_t<Row>>(tables);
  return found ? found : std::make_shared<table_t<Row>>();
}

// The column of `member`; the last one, should the map have several. Throws for none.
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
