// Names that some commands take, for completion.
#pragma once

#include <string>
#include <vector>

namespace Console {

// All columns that list and tree have.
std::vector<std::string> ColumnNames();

// The tables of `rows`.
std::vector<std::string> RowTableNames();

}  // namespace Console
