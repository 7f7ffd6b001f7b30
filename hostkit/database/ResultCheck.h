// Rejects results that the persistence layer cannot read.
#pragma once

#include <string>
#include <vector>

namespace HostKit {

// Throws `SqliteError` if `cells`, the result of `sql`, cannot be read by the persistence layer.
// The layer reads cells by position and throws if a cell does not contain the number that it
// expects, which would terminate the host. Such a cell can come from a database file that another
// program has changed, or from a statement that a card's string has altered.
void RequireReadable(const std::string& sql, const std::vector<std::string>& cells);

}  // namespace HostKit
