// The host's access to the database that its plug-ins write to. All functions are thread-safe.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "base/HeldLocks.h"
#include "host/Visibility.h"

namespace HostKit {

// Closes the database, opens the file that CORVANE_DATABASE now specifies, and clears the plug-ins'
// rows that an earlier run of a host left in it. The pointer returned by `getDatabasePointer`
// remains valid. Does not report errors: if the file cannot be opened, each statement tries again
// and throws on failure.
HOST_API void ReopenDatabase() HOST_BLOCKS;

// The tables that plug-ins write, one per kind of object.
enum class RowKind { Adapter, Drive, Plugin };

// The type of a cell. A list is one string with "?" between its elements.
enum class CellKind { Text, List, Integer, Real };

// A column of a table.
struct RowColumn {
  std::string m_Name;  // in the database
  CellKind m_Kind = CellKind::Text;
};

// A copy of a table.
struct RowTable {
  std::string m_Name;  // in the database
  std::vector<RowColumn> m_Columns;
  // One cell per column; std::nullopt for NULL.
  std::vector<std::vector<std::optional<std::string>>> m_Rows;
};

// Returns the rows that plug-ins have written for one kind of object, ordered by the key in the
// first column. Throws `DBEXCEPTION::DatabaseException` if the database cannot be read.
HOST_API RowTable ReadRows(RowKind kind) HOST_BLOCKS;

// While the object exists, a separate thread alone uses the database. Functions that need the
// database wait until that thread has run their statements, in the order of the calls. Without it,
// statements run on the calling threads. Create at most one.
class HOST_API DatabaseThread {
 public:
  // Throws `std::system_error` if the thread cannot be started.
  DatabaseThread();
  // Runs the waiting statements and ends the thread.
  ~DatabaseThread();
  DatabaseThread(const DatabaseThread&) = delete;
  DatabaseThread& operator=(const DatabaseThread&) = delete;
};

}  // namespace HostKit
