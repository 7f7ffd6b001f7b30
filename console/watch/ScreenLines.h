// Lines of a screen, and texts fitted to columns.
#pragma once

#include <cstddef>
#include <deque>
#include <string>
#include <vector>

#include "console/model/FieldTable.h"

namespace Console {

struct Piece {
  std::string m_Text;
  Severity m_Severity = Severity::Neutral;
  bool m_Strong = false;
  bool m_Reverse = false;
};

using Line = std::vector<Piece>;

// Columns that a text takes on a terminal; control characters and invalid bytes take one each.
std::size_t ColumnsOf(const std::string& text);

// Truncated or padded with spaces to exactly that many columns, and printable.
std::string Fit(const std::string& text, std::size_t columns);
std::string FitRight(const std::string& text, std::size_t columns);

// The line truncated to that many columns.
Line CutLine(const Line& line, std::size_t columns);

// A bar of `columns`, filled from 0 to 1; more than 1 is full.
std::string Bar(double ratio, std::size_t columns, bool ascii);

// The last values as bars of different height, the newest on the right. The scale spans at least 8,
// so that noise stays flat.
std::string Sparkline(const std::deque<double>& values, std::size_t columns, bool ascii);

}  // namespace Console
