// The tables of the host's database and the way to run statements on them.
#pragma once

#include <memory>
#include <vector>

#include "host/Database.h"
#include "host/Visibility.h"
#include "models/FieldsMap.h"

namespace DatabaseORM {

// Lets tables of different row types stand in one list.
class HOST_API tableBase_t {
 public:
  virtual ~tableBase_t() = default;
};

// Built by the host, which fills in its tables and field maps, and shared with the plug-in. It has
// no lock: one thread at a time.
class HOST_API storage_t {
 public:
  bool useAlias = true;  // whether a condition prefixes its columns with the table's alias
  std::shared_ptr<DatabaseWrapper::DatabaseDAO> dao;
  std::vector<std::shared_ptr<tableBase_t>> tables;
  std::vector<std::shared_ptr<RaidDataModels::dbModelFieldsMapBase>> modelMaps;
};

}  // namespace DatabaseORM
