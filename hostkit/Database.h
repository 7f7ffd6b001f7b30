// What a host can do with its database besides handing it to plug-ins. From any thread.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/Visibility.h"

namespace HostKit {

// Starts over with the file that CORVANE_DATABASE names now: closes the old file, opens the new
// one, and clears the plug-ins' rows that an earlier run of a host left in it. The pointer of
// `getDatabasePointer` remains valid. Reports nothing: a file that cannot be opened is tried again
// at each statement, which then throws.
HOST_API void ReopenDatabase();

// The tables that plug-ins write, by what their rows are about.
enum class RowKind { Adapter, Drive, Plugin };

// How to read a cell. A list is one text with "?" between its elements.
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

// The rows that plug-ins have written for one kind of object, ordered by key, which is the first
// column. Throws `DBEXCEPTION::DatabaseException` if the database cannot be read.
HOST_API RowTable ReadRows(RowKind kind);

}  // namespace HostKit
