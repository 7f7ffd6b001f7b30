#include "console/watch/Graph.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "console/render/TextWidth.h"

namespace Console {
namespace {

constexpr double kUnknown = std::numeric_limits<double>::quiet_NaN();

struct Range {
  double m_Minimum;
  double m_Maximum;
};

// The dots of one character. A Braille character has two columns of four dots.
struct Cell {
  std::size_t m_Columns;
  std::size_t m_Rows;
};

constexpr Cell kBraille = {2, 4};
constexpr Cell kAscii = {1, 1};

// Bits of the dots in a Braille character, by row and column.
constexpr unsigned kDotBits[4][2] = {{0x01, 0x08}, {0x02, 0x10}, {0x04, 0x20}, {0x40, 0x80}};
constexpr char32_t kEmptyBraille = 0x2800;

std::string Utf8(char32_t character) {
  return {static_cast<char>(0xE0 | (character >> 12)),
          static_cast<char>(0x80 | ((character >> 6) & 0x3F)),
          static_cast<char>(0x80 | (character & 0x3F))};
}

// A grid of dots that is drawn as characters.
class Canvas {
 public:
  Canvas(std::size_t columns, std::size_t rows, bool ascii)
      : m_Cell(ascii ? kAscii : kBraille),
        m_Width(columns * m_Cell.m_Columns),
        m_Height(rows * m_Cell.m_Rows),
        m_Dots(m_Width * m_Height, false),
        m_Ascii(ascii) {}

  std::size_t Width() const { return m_Width; }
  std::size_t Height() const { return m_Height; }

  // Sets the dots of a column between two rows, which are counted from the bottom.
  void Set(std::size_t column, std::size_t one, std::size_t other) {
    for (std::size_t row = std::min(one, other); row <= std::max(one, other); ++row) {
      m_Dots[(m_Height - 1 - row) * m_Width + column] = true;
    }
  }

  std::string Line(std::size_t row) const {
    std::string line;
    for (std::size_t column = 0; column < m_Width; column += m_Cell.m_Columns) {
      unsigned bits = 0;
      for (std::size_t y = 0; y < m_Cell.m_Rows; ++y) {
        for (std::size_t x = 0; x < m_Cell.m_Columns; ++x) {
          const bool dot = m_Dots[(row * m_Cell.m_Rows + y) * m_Width + column + x];
          if (dot) bits |= kDotBits[y][x];
        }
      }
      if (bits == 0) {
        line += ' ';
      } else {
        line += m_Ascii ? "*" : Utf8(kEmptyBraille + bits);
      }
    }
    return line;
  }

 private:
  const Cell m_Cell;
  const std::size_t m_Width;
  const std::size_t m_Height;
  std::vector<bool> m_Dots;
  const bool m_Ascii;
};

// Returns the known mean of the values in [first, last), or NaN if none is known.
double MeanOf(const std::vector<double>& values, std::size_t first, std::size_t last) {
  double sum = 0, count = 0;
  for (std::size_t i = first; i < last; ++i) {
    if (std::isnan(values[i])) continue;
    sum += values[i];
    ++count;
  }
  return count == 0 ? kUnknown : sum / count;
}

// Returns one value per column: means if there are more values than columns, else the values with
// straight lines between them.
std::vector<double> Resample(const std::vector<double>& values, std::size_t columns) {
  std::vector<double> result;
  const std::size_t count = values.size();
  for (std::size_t i = 0; i < columns; ++i) {
    if (count > columns) {
      result.push_back(MeanOf(values, i * count / columns, (i + 1) * count / columns));
      continue;
    }
    const double place =
        columns == 1 ? 0 : static_cast<double>(i * (count - 1)) / static_cast<double>(columns - 1);
    const auto left = static_cast<std::size_t>(place);
    const std::size_t right = std::min(left + 1, count - 1);
    const double share = place - static_cast<double>(left);
    const double nearest = share < 0.5 ? values[left] : values[right];
    const double between = values[left] + (values[right] - values[left]) * share;
    result.push_back(std::isnan(between) ? nearest : between);
  }
  return result;
}

Range RangeOf(const std::vector<double>& values, double minSpan) {
  Range range = {std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity()};
  for (const double value : values) {
    range.m_Minimum = std::fmin(range.m_Minimum, value);
    range.m_Maximum = std::fmax(range.m_Maximum, value);
  }
  range.m_Maximum = std::max(range.m_Maximum, range.m_Minimum + minSpan);
  return range;
}

void Plot(Canvas& canvas, const std::vector<double>& values, const Range& range) {
  const std::vector<double> columns = Resample(values, canvas.Width());
  const double scale =
      static_cast<double>(canvas.Height() - 1) / (range.m_Maximum - range.m_Minimum);
  bool isJoined = false;
  std::size_t previous = 0;
  for (std::size_t i = 0; i < columns.size(); ++i) {
    if (std::isnan(columns[i])) {
      isJoined = false;
      continue;
    }
    const auto height =
        static_cast<std::size_t>(std::lround((columns[i] - range.m_Minimum) * scale));
    canvas.Set(i, isJoined ? previous : height, height);
    previous = height;
    isJoined = true;
  }
}

// Returns the labels of the rows, from the top; only the top, the middle and the bottom have one.
std::vector<std::string> ScaleOf(const GraphStyle& style, const Range& range) {
  std::vector<std::string> labels(style.m_Rows);
  const double span = range.m_Maximum - range.m_Minimum;
  const std::size_t last = style.m_Rows - 1;
  for (const std::size_t row : {std::size_t{0}, last / 2, last}) {
    const double share =
        last == 0 ? 0 : static_cast<double>(last - row) / static_cast<double>(last);
    labels[row] = style.m_Label(range.m_Minimum + span * share);
  }
  return labels;
}

// Puts the labels of the time axis below the ends of the plot.
std::string AxisLabels(const GraphStyle& style, std::size_t margin, std::size_t columns) {
  const std::size_t taken = ColumnsOf(style.m_From) + ColumnsOf(style.m_To);
  const std::string blank(margin, ' ');
  if (taken >= columns) return blank + Shorten(style.m_To, columns, style.m_Ascii) + "\n";
  return blank + style.m_From + std::string(columns - taken, ' ') + style.m_To + "\n";
}

}  // namespace

std::string DrawGraph(const std::vector<double>& values, const GraphStyle& style) {
  const Range range = RangeOf(values, style.m_MinSpan);
  if (std::isinf(range.m_Minimum)) return {};
  const std::vector<std::string> labels = ScaleOf(style, range);
  std::size_t names = 0;
  for (const std::string& label : labels) names = std::max(names, ColumnsOf(label));
  const std::size_t margin = names + 2;  // a space and the axis
  constexpr std::size_t kMinPlot = 8;
  const std::size_t columns =
      style.m_Columns > margin + kMinPlot ? style.m_Columns - margin : kMinPlot;
  Canvas canvas(columns, style.m_Rows, style.m_Ascii);
  Plot(canvas, values, range);
  std::string text;
  for (std::size_t row = 0; row < style.m_Rows; ++row) {
    const char* axis = style.m_Ascii ? "|" : labels[row].empty() ? "│" : "┤";
    std::string line = FitRight(labels[row], names) + " " + axis + canvas.Line(row);
    line.erase(line.find_last_not_of(' ') + 1);
    text += line + "\n";
  }
  text += std::string(names + 1, ' ') + (style.m_Ascii ? "+" : "└");
  for (std::size_t i = 0; i < columns; ++i) text += style.m_Ascii ? "-" : "─";
  return text + "\n" + AxisLabels(style, margin, columns);
}

}  // namespace Console
