// What a host may do with its database beyond handing it to plug-ins.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/Visibility.h"

namespace HostKit {

// Begins a new life of the host on the file that CORVANE_DATABASE names now: closes the old one,
// opens the new one, and clears the plug-ins' rows that an earlier life left in it. The pointer of
// `getDatabasePointer` stays good. A file that cannot be opened is tried again at each statement,
// and only they report it. From any thread; for a host that changes its file.
HOST_API void ReopenDatabase();

enum class RowKind { Adapter, Drive, Plugin };

// A list is one text with "?" between its elements.
enum class CellKind { Text, List, Integer, Real };

struct RowColumn {
  std::string m_Name;
  CellKind m_Kind = CellKind::Text;
};

struct RowTable {
  std::string m_Name;
  std::vector<RowColumn> m_Columns;
  std::vector<std::vector<std::optional<std::string>>> m_Rows;  // as wide; nothing for NULL
};

// What plug-ins have written of their objects of one kind, by the keys, which stand in the first
// column. Throws `DBEXCEPTION::DatabaseException`. From any thread.
HOST_API RowTable ReadRows(RowKind kind);

}  // namespace HostKit
