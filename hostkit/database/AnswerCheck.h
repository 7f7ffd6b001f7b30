// Keeps cells from the layer above that it cannot read.
#pragma once

#include <string>
#include <vector>

namespace HostKit {

// The layer reads rows by the place of their cells. A cell that is no number where it expects one,
// as from a statement that a card's text has changed or from a file that was tampered with, would
// throw in the thread that reads it, and end the host. Throws `SqliteError` for such an answer.
void RequireReadable(const std::string& sql, const std::vector<std::string>& cells);

}  // namespace HostKit
