// Lines of a screen, and graphs made of characters.
#pragma once

#include <cstddef>
#include <deque>
#include <string>
#include <vector>

#include "console/model/FieldTable.h"
#include "console/render/Bar.h"
#include "console/render/TextWidth.h"

namespace Console {

// A part of a line with one style.
struct Piece {
  std::string m_Text;
  Severity m_Severity = Severity::Neutral;
  bool m_Strong = false;
  bool m_Reverse = false;
};

using Line = std::vector<Piece>;

// Truncates a line to `columns` columns.
Line CutLine(const Line& line, std::size_t columns);

// Truncates a line to `columns` columns, with an ellipsis at the end if it does not fit.
Line ShortenLine(const Line& line, std::size_t columns, bool ascii);

// Draws the latest values as bars of different heights, the newest on the right, and NaN as a
// space. The scale spans at least `minSpan`, which must be above 0, so that noise appears
// as a flat line.
std::string Sparkline(const std::deque<double>& values, std::size_t columns, bool ascii,
                      double minSpan = 8);

}  // namespace Console
