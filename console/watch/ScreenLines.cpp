#include "console/watch/ScreenLines.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace Console {
namespace {

constexpr std::array<const char*, 8> kBlocks = {"▁", "▂", "▃", "▄", "▅", "▆", "▇", "█"};
constexpr std::array<const char*, 8> kAsciiBlocks = {"_", ".", ":", "-", "=", "+", "*", "#"};

}  // namespace

Line CutLine(const Line& line, std::size_t columns) {
  Line result;
  for (const Piece& piece : line) {
    Piece cut = piece;
    cut.m_Text = CutText(piece.m_Text, columns);
    columns -= ColumnsOf(cut.m_Text);
    result.push_back(cut);
  }
  return result;
}

Line ShortenLine(const Line& line, std::size_t columns, bool ascii) {
  Line result;
  std::size_t total = 0;
  for (const Piece& piece : line) total += ColumnsOf(piece.m_Text);
  for (const Piece& piece : line) {
    const std::size_t width = ColumnsOf(piece.m_Text);
    result.push_back(piece);
    total -= width;
    const bool isCut = width > columns || (width == columns && total > 0);
    // The ellipsis also stands for the pieces that follow.
    if (isCut)
      result.back().m_Text = Shorten(piece.m_Text + (total > 0 ? " " : ""), columns, ascii);
    if (isCut) return result;
    columns -= width;
  }
  return result;
}

std::string Sparkline(const std::deque<double>& values, std::size_t columns, bool ascii,
                      double minSpan) {
  const std::size_t count = std::min(values.size(), columns);
  std::string line(columns - count, ' ');
  if (count == 0) return line;
  const auto first = values.end() - static_cast<std::ptrdiff_t>(count);
  double minimum = std::numeric_limits<double>::infinity();
  double maximum = -minimum;
  for (auto value = first; value != values.end(); ++value) {
    minimum = std::fmin(minimum, *value);
    maximum = std::fmax(maximum, *value);
  }
  const double span = std::max(maximum - minimum, minSpan);
  const std::array<const char*, 8>& blocks = ascii ? kAsciiBlocks : kBlocks;
  for (auto value = first; value != values.end(); ++value) {
    const double height = (*value - minimum) / span * static_cast<double>(blocks.size() - 1);
    line += std::isnan(height) ? " " : blocks[static_cast<std::size_t>(std::lround(height))];
  }
  return line;
}

}  // namespace Console
