// Lines of a screen, and functions that fit strings to columns.
#pragma once

#include <cstddef>
#include <deque>
#include <string>
#include <vector>

#include "console/model/FieldTable.h"

namespace Console {

// A part of a line with one style.
struct Piece {
  std::string m_Text;
  Severity m_Severity = Severity::Neutral;
  bool m_Strong = false;
  bool m_Reverse = false;
};

using Line = std::vector<Piece>;

// Returns the number of columns that a string occupies on a terminal; control characters and
// invalid bytes occupy one each.
std::size_t ColumnsOf(const std::string& text);

// Truncate a string or pad it with spaces to exactly `columns` columns. `Fit` pads on the right,
// `FitRight` on the left. The result is printable.
std::string Fit(const std::string& text, std::size_t columns);
std::string FitRight(const std::string& text, std::size_t columns);

// Truncates a line to `columns` columns.
Line CutLine(const Line& line, std::size_t columns);

// Draws a bar of `columns` columns: empty for a ratio of 0 or less, full for 1 or more.
std::string Bar(double ratio, std::size_t columns, bool ascii);

// Draws the latest values as bars of different heights, the newest on the right, and NaN as a
// space. The scale spans at least `minSpan`, which must be above 0, so that noise appears
// as a flat line.
std::string Sparkline(const std::deque<double>& values, std::size_t columns, bool ascii,
                      double minSpan = 8);

}  // namespace Console
