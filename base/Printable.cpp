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
    {0x00, 0x1F},        // control characters
    {0x7F, 0x9F},        // DEL and the C1 control characters
    {0xAD, 0xAD},        // soft hyphen
    {0x0600, 0x0605},    // signs that enclose the following digits
    {0x061C, 0x061C},    // writing direction
    {0x06DD, 0x06DD},    // sign that encloses the following digits
    {0x070F, 0x070F},    // abbreviation mark
    {0x0890, 0x0891},    // signs that enclose the following digits
    {0x08E2, 0x08E2},    // sign that encloses the following digits
    {0x180E, 0x180E},    // vowel separator
    {0x200B, 0x200F},    // zero-width characters, writing direction
    {0x2028, 0x202E},    // line and paragraph separators, writing direction
    {0x2060, 0x206F},    // invisible operators, writing direction, shaping
    {0xFEFF, 0xFEFF},    // byte order mark
    {0xFFF9, 0xFFFB},    // annotation
    {0x110BD, 0x110BD},  // sign that encloses the following digits
    {0x110CD, 0x110CD},  // sign that encloses the following digits
    {0x13430, 0x1343F},  // joining of hieroglyphs
    {0x1BCA0, 0x1BCA3},  // shorthand control
    {0x1D173, 0x1D17A},  // musical notation
    {0xE0000, 0xE007F},  // tags
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
  if (character > 0xFFFF) return Escaped("\\U%08x", character);
  return Escaped(character < 0x80 ? "\\x%02x" : "\\u%04x", character);
}

// Keeps line feeds, which valid JSON contains only between tokens. A JSON escape has 16 bits, so
// other characters need two.
std::string JsonEscape(Utf::code_point character) {
  if (character == '\n') return "\n";
  if (character <= 0xFFFF) return Escaped("\\u%04x", character);
  const Utf::code_point offset = character - 0x10000;
  return Escaped("\\u%04x", 0xD800 + (offset >> 10)) +
         Escaped("\\u%04x", 0xDC00 + (offset & 0x3FF));
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
