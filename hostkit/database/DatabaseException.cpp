#include <utility>

#include "host/Database.h"

namespace DBEXCEPTION {

DatabaseException::DatabaseException(std::string text) : m_Text(std::move(text)) {}
DatabaseException::~DatabaseException() = default;

const char* DatabaseException::what() const noexcept {
  return m_Text.c_str();
}

}  // namespace DBEXCEPTION

namespace DatabaseWrapper {

DatabaseDAO::~DatabaseDAO() = default;

}  // namespace DatabaseWrapper
