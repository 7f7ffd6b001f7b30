// Rejects results that the persistence layer cannot read.
#pragma once

#include <string>
#include <vector>

namespace HostKit {

// The persistence layer reads cells by position and throws where a number is expected and the cell
// holds something else. That exception would terminate the host. Such a cell can come from a
// statement that a card's text has altered or from a database file that was tampered with. Throws
// `SqliteError` for such a result.
void RequireReadable(const std::string& sql, const std::vector<std::string>& cells);

}  // namespace HostKit
