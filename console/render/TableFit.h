// Fitting a table to the width of a terminal.
#pragma once

#include "console/render/Table.h"

namespace Console {

// Returns the table with shortened cells and without some columns, so that no line is longer than
// the style's width, as far as its columns permit. A table whose columns neither shrink nor have a
// rank is returned unchanged.
Table FitTable(const Table& table, const Style& style, bool tree);

// Draws a table like `DrawTable`, but does not fit it to the terminal.
std::string DrawUnfitted(const Table& table, const Style& style, bool tree);

}  // namespace Console
