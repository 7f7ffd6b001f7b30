// Bars made of characters.
#pragma once

#include <cstddef>
#include <string>

namespace Console {

// Draws a bar of `columns` columns: empty for a ratio of 0 or less, full for 1 or more.
std::string Bar(double ratio, std::size_t columns, bool ascii);

}  // namespace Console
