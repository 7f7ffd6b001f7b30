#include "base/Printable.h"

#include <algorithm>
#include <array>
#include <boost/locale/utf.hpp>
#include <cstdio>
#include <optional>

namespace Base {

namespace {

namespace Utf = boost::locale::utf;

struct Range {
  Utf::code_point first;
  Utf::code_point last;
};

constexpr Range kUnprintable[] = {
    {0x00, 0x1F},      // control characters
    {0x7F, 0x9F},      // DEL and the C1 control characters
    {0x061C, 0x061C},  // writing direction
    {0x200E, 0x200F},  // writing direction
    {0x2028, 0x202E},  // line and paragraph separators, writing direction
    {0x2066, 0x2069},  // writing direction
};

bool IsUnprintable(Utf::code_point character) {
  return std::any_of(std::begin(kUnprintable), std::end(kUnprintable),
                     [character](const Range& range) {
                       return character >= range.first && character <= range.last;
                     });
}

std::string Escaped(const char* format, Utf::code_point character) {
  std::array<char, 16> text{};
  std::snprintf(text.data(), text.size(), format, character);
  return text.data();
}

std::string VisibleEscape(Utf::code_point character) {
  return Escaped(character < 0x80 ? "\\x%02x" : "\\u%04x", character);
}

// Keeps line feeds, which valid JSON contains only between tokens.
std::string JsonEscape(Utf::code_point character) {
  return character == '\n' ? "\n" : Escaped("\\u%04x", character);
}

// Returns the character at `at` and advances `at` past it. If no valid character starts there,
// returns nullopt and advances `at` by one byte.
std::optional<Utf::code_point> Next(std::string_view::iterator& at,
                                    std::string_view::iterator end) {
  const auto begin = at;
  const Utf::code_point character = Utf::utf_traits<char>::decode(at, end);
  if (character != Utf::illegal && character != Utf::incomplete) return character;
  at = begin + 1;
  return std::nullopt;
}

template <class Escape>
std::string Replace(std::string_view text, Escape escape) {
  std::string result;
  result.reserve(text.size());
  for (auto at = text.begin(); at != text.end();) {
    const auto begin = at;
    const auto character = Next(at, text.end());
    if (!character) {
      result += Escaped("\\x%02x", static_cast<unsigned char>(*begin));
    } else if (IsUnprintable(*character)) {
      result += escape(*character);
    } else {
      result.append(begin, at);
    }
  }
  return result;
}

}  // namespace

std::string Printable(std::string_view text) {
  return Replace(text, VisibleEscape);
}

std::string PrintableJson(std::string_view json) {
  return Replace(json, JsonEscape);
}

bool IsUtf8(std::string_view text) {
  for (auto at = text.begin(); at != text.end();) {
    if (!Next(at, text.end())) return false;
  }
  return true;
}

}  // namespace Base
