// Builds text from strings and numbers. The only place where the plug-in formats numbers.
#pragma once

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string>
#include <string_view>
#include <type_traits>

namespace NAMESPACE_Corvane {

// A number with at least `m_Width` digits; `m_Fill` takes the place of missing ones.
struct Padded {
  std::uint32_t m_Value;
  std::size_t m_Width;
  char m_Fill = '0';
};

// A number as four hexadecimal digits, with capital letters.
struct Hexadecimal {
  std::uint16_t m_Value;
};

// One part of a text. Stores the digits of a number; refers to a string.
class TextPart {
 public:
  explicit TextPart(std::string_view text) : m_Text(text) {}
  template <class Number, std::enable_if_t<std::is_integral_v<Number>, int> = 0>
  explicit TextPart(Number number) {
    const auto end = std::to_chars(m_Digits, std::end(m_Digits), number).ptr;
    m_Text = {m_Digits, static_cast<std::size_t>(end - m_Digits)};
  }
  explicit TextPart(const Padded& number) {
    const TextPart digits(number.m_Value);
    const std::size_t length = digits.Text().size();
    const std::size_t fill = number.m_Width > length ? number.m_Width - length : 0;
    std::fill_n(m_Digits, fill, number.m_Fill);
    digits.Text().copy(m_Digits + fill, length);
    m_Text = {m_Digits, fill + length};
  }
  explicit TextPart(Hexadecimal number) : m_Text(m_Digits, 4) {
    for (unsigned int i = 0; i < 4; ++i) {
      m_Digits[i] = "0123456789ABCDEF"[number.m_Value >> (12U - 4U * i) & 0xFU];
    }
  }
  TextPart(const TextPart&) = delete;
  TextPart& operator=(const TextPart&) = delete;

  std::string_view Text() const { return m_Text; }

 private:
  char m_Digits[20];  // fits the longest number
  std::string_view m_Text;
};

// Returns the parts in order, with numbers in decimal. Independent of the host's locale, which may
// group digits: the results are parsed and compared later. Allocates memory at most once.
template <class... Parts>
std::string Joined(const Parts&... parts) {
  const TextPart texts[] = {TextPart(parts)...};
  std::size_t size = 0;
  for (const TextPart& part : texts) size += part.Text().size();
  std::string joined;
  joined.reserve(size);
  for (const TextPart& part : texts) joined += part.Text();
  return joined;
}

}  // namespace NAMESPACE_Corvane
