// The interface of the host's SQL database for plug-ins. Declarations only; the host's database
// library defines the members.
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

// The exception thrown when a statement fails. Refers to no other object, so it can be copied and
// kept.
class HOST_API DatabaseException : public std::exception {
 public:
  // `text` is a human-readable message with the failure and its cause.
  explicit DatabaseException(std::string text);
  ~DatabaseException() override;

  // Returns the text; valid for the lifetime of the exception.
  const char* what() const noexcept override;

 private:
  std::string m_Text;
};

}  // namespace DBEXCEPTION

namespace DatabaseWrapper {

// A connection to the database, owned by the host. Thread-safe; statements from different threads
// are serialized.
class HOST_API DatabaseDAO {
 public:
  virtual ~DatabaseDAO();

  // Runs the statements of `sql` in order. Returns the cells of all result rows as strings, in one
  // flat list, row by row; SQL NULL becomes "NULL". The list is empty if there are no result
  // rows. Throws `DBEXCEPTION::DatabaseException` if a statement fails; the statements before the
  // failed one remain in effect.
  virtual std::vector<std::string> query(std::string sql) = 0;
};

}  // namespace DatabaseWrapper

// Returns the host's storage, including its tables and field maps. Never null, and the same object
// at each call. Thread-safe, but the storage itself is not.
HOST_API std::shared_ptr<DatabaseORM::storage_t> getDatabasePointer();
