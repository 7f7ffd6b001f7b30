#include "hostkit/database/HostDatabase.h"
#include "hostkit/database/Tables.h"
#include "orm/storage.h"

std::shared_ptr<DatabaseORM::storage_t> getDatabasePointer() {
  static const auto storage = [] {
    auto created = std::make_shared<DatabaseORM::storage_t>();
    created->dao = HostKit::TheRowsDatabase();
    HostKit::DescribeTables(*created);
    return created;
  }();
  return storage;
}
