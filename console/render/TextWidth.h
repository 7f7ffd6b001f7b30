// The width of strings on a terminal, and functions that fit strings to columns. Widths follow the
// locale, which must use UTF-8. All functions are thread-safe and throw only std::bad_alloc.
#pragma once

#include <cstddef>
#include <string>

namespace Console {

// Returns the number of columns that a string occupies on a terminal: two for a wide character,
// none for a combining one. Control characters and invalid bytes count as one column each.
std::size_t ColumnsOf(const std::string& text);

// Returns the start of a string that occupies at most `columns` columns. Control characters and
// invalid bytes become question marks.
std::string CutText(const std::string& text, std::size_t columns);

// Returns the string if it fits into `columns` columns. Otherwise cuts it and ends it with an
// ellipsis, which is three dots if `ascii`.
std::string Shorten(const std::string& text, std::size_t columns, bool ascii);

// Shorten a string or pad it with spaces to exactly `columns` columns. `Fit` pads on the right,
// `FitRight` on the left.
std::string Fit(const std::string& text, std::size_t columns, bool ascii = false);
std::string FitRight(const std::string& text, std::size_t columns, bool ascii = false);

// Breaks a line between words so that no line exceeds `columns` columns; 0 means no limit. A longer
// word is broken too. Lines after the first are indented by `indent` spaces, and all lines end with
// a line feed.
std::string WrapText(const std::string& line, std::size_t columns, std::size_t indent);

}  // namespace Console
