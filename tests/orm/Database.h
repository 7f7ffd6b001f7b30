// A database with scripted results that records the statements.
#pragma once

#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "orm/storage.h"

class ScriptedDatabase : public DatabaseWrapper::DatabaseDAO {
 public:
  // Queue the results of the next statements. Later statements return an empty result.
  void Answer(const std::vector<std::string>& cells);
  void Fail(const std::string& text);
  // The result is empty, unless `action` throws.
  void Call(std::function<void()> action);

  std::vector<std::string> query(std::string sql) override;

  std::vector<std::string> sent;

 private:
  std::deque<std::function<std::vector<std::string>()>> m_Script;
};

// The setup of a test table.
struct TableSetup {
  std::string name = "T1";
  std::string alias = "A";
  bool autoKey = false;  // the database assigns the first column
  bool foreignKeys = false;
  bool hasTable = true;
  bool hasMap = true;
};

template <class Field>
DatabaseORM::column_kind_t KindOf() {
  if (std::is_same_v<Field, std::string>) return DatabaseORM::string_column;
  if (std::is_same_v<Field, std::vector<std::string>>) return DatabaseORM::list_column;
  if (std::is_same_v<Field, int>) return DatabaseORM::int_column;
  return std::is_same_v<Field, double> ? DatabaseORM::double_column : DatabaseORM::ulong_column;
}

// Fills the map of `Row`, which is a singleton, from its list of fields.
template <class Row>
std::shared_ptr<RaidDataModels::dbModelFieldsMap<Row>> MapOf(const TableSetup& setup) {
  auto map = RaidDataModels::dbModelFieldsMap<Row>::instance();
  map->alias = setup.alias;
  map->columnCount = 0;
  map->intFields.clear();
  map->ulongFields.clear();
  map->stringFields.clear();
  map->listFields.clear();
  map->doubleFields.clear();
  Row::Columns([&](const char* name, auto member) {
    using Field = std::decay_t<decltype(std::declval<Row&>().*member)>;
    RaidDataModels::fields_of<Field>(*map).push_back({member, name, map->columnCount++});
  });
  return map;
}

template <class Row>
std::shared_ptr<DatabaseORM::table_t<Row>> TableOf(const TableSetup& setup) {
  auto table = std::make_shared<DatabaseORM::table_t<Row>>();
  table->name = setup.name;
  table->foreignKeys = setup.foreignKeys;
  Row::Columns([&](const char*, auto member) {
    using Field = std::decay_t<decltype(std::declval<Row&>().*member)>;
    using Column = DatabaseORM::column_t<Row>;
    table->columns.push_back(std::make_shared<Column>(Column{KindOf<Field>(), false}));
  });
  if (setup.autoKey) table->columns.front()->autoIncrement = true;
  return table;
}

template <class Row>
DatabaseORM::storage_t StorageOf(const std::shared_ptr<ScriptedDatabase>& database,
                                 const TableSetup& setup = {}) {
  DatabaseORM::storage_t storage;
  storage.dao = database;
  if (setup.hasMap) storage.modelMaps.push_back(MapOf<Row>(setup));
  if (setup.hasTable) storage.tables.push_back(TableOf<Row>(setup));
  return storage;
}
