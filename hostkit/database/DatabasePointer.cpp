#include "hostkit/database/HostDatabase.h"
#include "hostkit/database/Tables.h"
#include "orm/storage.h"

std::shared_ptr<DatabaseORM::storage_t> getDatabasePointer() {
  static const auto storage = [] {
    auto made = std::make_shared<DatabaseORM::storage_t>();
    made->dao = HostKit::TheRowsDatabase();
    HostKit::DescribeTables(*made);
    return made;
  }();
  return storage;
}
