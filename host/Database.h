// The host's SQL database as a plug-in sees it.
#pragma once

#include <exception>
#include <memory>
#include <string>
#include <vector>

#include "host/Visibility.h"

namespace DatabaseORM {
class storage_t;
}

namespace DBEXCEPTION {

// A statement failed. Keeps a copy of the text.
class HOST_API DatabaseException : public std::exception {
 public:
  explicit DatabaseException(std::string text);
  ~DatabaseException() override;

  const char* what() const noexcept override;

 private:
  std::string m_Text;
};

}  // namespace DBEXCEPTION

namespace DatabaseWrapper {

class HOST_API DatabaseDAO {
 public:
  virtual ~DatabaseDAO();

  // Runs the statements of `sql` in turn. Gives the cells of all result rows in one flat list, row
  // after row, an SQL NULL as the text "NULL". Throws `DBEXCEPTION::DatabaseException`.
  virtual std::vector<std::string> query(std::string sql) = 0;
};

}  // namespace DatabaseWrapper

// The storage that the host has built, with its tables and field maps; the same one at every call.
HOST_API std::shared_ptr<DatabaseORM::storage_t> getDatabasePointer();
