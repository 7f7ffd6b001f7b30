// The host's SQL database as a plug-in sees it. Declarations only; the host's database library
// defines the members.
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

// A statement failed. Independent of the database; may be copied and kept.
class HOST_API DatabaseException : public std::exception {
 public:
  // `text` says for people what failed and why.
  explicit DatabaseException(std::string text);
  ~DatabaseException() override;

  // The text, zero-terminated; it lives as long as the exception.
  const char* what() const noexcept override;

 private:
  std::string m_Text;
};

}  // namespace DBEXCEPTION

namespace DatabaseWrapper {

// A connection to the database, owned by the host. From any thread; statements of several threads
// run one after the other.
class HOST_API DatabaseDAO {
 public:
  virtual ~DatabaseDAO();

  // Runs the statements of `sql` in turn. Returns the cells of all result rows as one flat list,
  // row by row, as text; SQL's NULL is the text "NULL". Empty without result rows. Throws
  // `DBEXCEPTION::DatabaseException` if a statement fails; those before it remain in effect.
  virtual std::vector<std::string> query(std::string sql) = 0;
};

}  // namespace DatabaseWrapper

// The storage that the host has built, with its tables and field maps. Never null, and the same one
// at every call. May be called from any thread; the storage itself has no lock.
HOST_API std::shared_ptr<DatabaseORM::storage_t> getDatabasePointer();
