// A host without a database.
#include "host/Database.h"

#include <utility>

namespace DBEXCEPTION {

DatabaseException::DatabaseException(std::string text) : m_OwnText(std::move(text)) {}
DatabaseException::~DatabaseException() = default;
const char* DatabaseException::what() const noexcept {
  return m_OwnText.c_str();
}

}  // namespace DBEXCEPTION

DatabaseWrapper::DatabaseDAO::~DatabaseDAO() = default;

std::shared_ptr<DatabaseORM::storage_t> getDatabasePointer() {
  return nullptr;
}
