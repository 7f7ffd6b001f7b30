#include "console/watch/ScreenLines.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cwchar>
#include <limits>

namespace Console {
namespace {

struct Character {
  std::string m_Bytes;
  std::size_t m_Columns;
};

// Splits a string into characters. Bytes that are invalid in the locale's encoding, or would move
// the cursor, become question marks.
std::vector<Character> Characters(const std::string& text) {
  std::vector<Character> characters;
  std::mbstate_t state = {};
  for (std::size_t at = 0; at < text.size();) {
    wchar_t wide = L'\0';
    std::size_t count = std::mbrtowc(&wide, text.data() + at, text.size() - at, &state);
    if (count == 0 || count > text.size() - at) {
      state = {};
      count = 1;
      wide = L'\0';
    }
    const int columns = wide == L'\0' ? -1 : wcwidth(wide);
    if (columns < 0) {
      characters.push_back({"?", 1});
    } else {
      characters.push_back({text.substr(at, count), static_cast<std::size_t>(columns)});
    }
    at += count;
  }
  return characters;
}

std::string Cut(const std::string& text, std::size_t columns, std::size_t& used) {
  std::string result;
  used = 0;
  for (const Character& character : Characters(text)) {
    if (used + character.m_Columns > columns) break;
    result += character.m_Bytes;
    used += character.m_Columns;
  }
  return result;
}

constexpr std::array<const char*, 8> kBlocks = {"▁", "▂", "▃", "▄", "▅", "▆", "▇", "█"};
constexpr std::array<const char*, 8> kAsciiBlocks = {"_", ".", ":", "-", "=", "+", "*", "#"};

}  // namespace

std::size_t ColumnsOf(const std::string& text) {
  std::size_t columns = 0;
  for (const Character& character : Characters(text)) columns += character.m_Columns;
  return columns;
}

std::string Fit(const std::string& text, std::size_t columns) {
  std::size_t used = 0;
  const std::string cut = Cut(text, columns, used);
  return cut + std::string(columns - used, ' ');
}

std::string FitRight(const std::string& text, std::size_t columns) {
  std::size_t used = 0;
  const std::string cut = Cut(text, columns, used);
  return std::string(columns - used, ' ') + cut;
}

Line CutLine(const Line& line, std::size_t columns) {
  Line result;
  for (const Piece& piece : line) {
    std::size_t used = 0;
    Piece cut = piece;
    cut.m_Text = Cut(piece.m_Text, columns, used);
    columns -= used;
    result.push_back(cut);
  }
  return result;
}

std::string Bar(double ratio, std::size_t columns, bool ascii) {
  const double filled = std::clamp(ratio, 0.0, 1.0) * static_cast<double>(columns);
  const auto full = static_cast<std::size_t>(std::lround(filled));
  std::string bar;
  for (std::size_t i = 0; i < columns; ++i) {
    bar += i < full ? (ascii ? "#" : "█") : (ascii ? "." : "░");
  }
  return bar;
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
