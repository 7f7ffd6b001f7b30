#include "host/Database.h"
#include "orm/storage.h"

std::shared_ptr<DatabaseORM::storage_t> getDatabasePointer() {
  static const auto storage = std::make_shared<DatabaseORM::storage_t>();
  return storage;
}
