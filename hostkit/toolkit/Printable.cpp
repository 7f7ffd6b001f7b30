#include "hostkit/Printable.h"

#include <algorithm>
#include <array>
#include <boost/locale/utf.hpp>
#include <cstdio>

namespace HostKit {

namespace {

namespace Utf = boost::locale::utf;

struct Range {
  Utf::code_point first;
  Utf::code_point last;
};

constexpr Range kUnfit[] = {
    {0x00, 0x1F},      // control characters
    {0x7F, 0x9F},      // delete, and the control characters of 8-bit terminals
    {0x061C, 0x061C},  // direction of writing
    {0x200E, 0x200F},  // direction of writing
    {0x2028, 0x202E},  // line and paragraph separators, direction of writing
    {0x2066, 0x2069},  // direction of writing
};

bool IsUnfit(Utf::code_point letter) {
  return std::any_of(std::begin(kUnfit), std::end(kUnfit), [letter](const Range& range) {
    return letter >= range.first && letter <= range.last;
  });
}

std::string Escaped(const char* format, Utf::code_point letter) {
  std::array<char, 16> text{};
  std::snprintf(text.data(), text.size(), format, letter);
  return text.data();
}

std::string VisibleEscape(Utf::code_point letter) {
  return Escaped(letter < 0x80 ? "\\x%02x" : "\\u%04x", letter);
}

// Line breaks of a JSON document stand between its values.
std::string JsonEscape(Utf::code_point letter) {
  return letter == '\n' ? "\n" : Escaped("\\u%04x", letter);
}

template <class Escape>
std::string Replace(const std::string& text, Escape escape) {
  std::string result;
  result.reserve(text.size());
  for (auto at = text.begin(); at != text.end();) {
    const auto begin = at;
    const Utf::code_point letter = Utf::utf_traits<char>::decode(at, text.end());
    if (letter == Utf::illegal || letter == Utf::incomplete) {
      at = begin + 1;
      result += Escaped("\\x%02x", static_cast<unsigned char>(*begin));
    } else if (IsUnfit(letter)) {
      result += escape(letter);
    } else {
      result.append(begin, at);
    }
  }
  return result;
}

}  // namespace

std::string Printable(const std::string& text) {
  return Replace(text, VisibleEscape);
}

std::string PrintableJson(const std::string& json) {
  return Replace(json, JsonEscape);
}

}  // namespace HostKit
