// The part of the persistence layer that the host's database library provides.
#pragma once

#include <exception>
#include <memory>
#include <string>
#include <vector>

#include "sdk/own/export.h"

namespace DatabaseORM {
class storage_t;
}

namespace DBEXCEPTION {

class OWN_EXPORT DatabaseException : public std::exception {
 public:
  explicit DatabaseException(std::string);
  ~DatabaseException() override;
  const char* what() const noexcept override;

 private:
  std::string m_OwnText;
};

}  // namespace DBEXCEPTION

namespace DatabaseWrapper {

class OWN_EXPORT DatabaseDAO {
 public:
  virtual void OwnOpen() = 0;
  virtual std::vector<std::string> query(std::string) = 0;
  virtual ~DatabaseDAO();
};

}  // namespace DatabaseWrapper

OWN_EXPORT std::shared_ptr<DatabaseORM::storage_t> getDatabasePointer();
