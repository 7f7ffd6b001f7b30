#include "console/render/TextWidth.h"

#include <algorithm>
#include <cwchar>
#include <vector>

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
    // NUL, or bytes that are invalid or incomplete: mbrtowc() returns -1 and -2 as huge sizes.
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

std::string Spaces(std::size_t columns, const std::string& text) {
  return std::string(columns - std::min(columns, ColumnsOf(text)), ' ');
}

}  // namespace

std::size_t ColumnsOf(const std::string& text) {
  std::size_t columns = 0;
  for (const Character& character : Characters(text)) columns += character.m_Columns;
  return columns;
}

std::string CutText(const std::string& text, std::size_t columns) {
  std::string result;
  std::size_t used = 0;
  for (const Character& character : Characters(text)) {
    if (used + character.m_Columns > columns) break;
    result += character.m_Bytes;
    used += character.m_Columns;
  }
  return result;
}

std::string Shorten(const std::string& text, std::size_t columns, bool ascii) {
  if (ColumnsOf(text) <= columns) return CutText(text, columns);
  const std::string ellipsis = CutText(ascii ? "..." : "…", columns);
  return CutText(text, columns - ColumnsOf(ellipsis)) + ellipsis;
}

std::string Fit(const std::string& text, std::size_t columns, bool ascii) {
  const std::string shortened = Shorten(text, columns, ascii);
  return shortened + Spaces(columns, shortened);
}

std::string FitRight(const std::string& text, std::size_t columns, bool ascii) {
  const std::string shortened = Shorten(text, columns, ascii);
  return Spaces(columns, shortened) + shortened;
}

std::string WrapText(const std::string& line, std::size_t columns, std::size_t indent) {
  if (columns == 0) return line + "\n";
  const std::size_t margin = 2 * indent < columns ? indent : 0;
  std::string result;
  std::string rest = line;
  while (ColumnsOf(rest) > columns) {
    const std::string head = CutText(rest, columns);
    if (head.empty()) break;
    // A space inside the indentation does not separate words.
    const std::size_t space = rest.rfind(' ', head.size());
    const bool isBetweenWords = space != std::string::npos && rest.find_first_not_of(' ') < space;
    const std::size_t end = isBetweenWords ? space : head.size();
    result += rest.substr(0, end) + "\n";
    rest.erase(0, end);
    rest.erase(0, rest.find_first_not_of(' '));
    rest.insert(0, margin, ' ');
  }
  return result + rest + "\n";
}

}  // namespace Console
