#include <charconv>
#include <iterator>
#include <new>
#include <string_view>

#include "host/Toolkit.h"

namespace MBX::Output_Streams {

namespace {

struct Placeholder {
  std::size_t at;
  std::size_t length;
  bool hexadecimal;
};

// Finds the first placeholder at `from` or later; its position is npos if there is none.
Placeholder FindPlaceholder(std::string_view text, std::size_t from) {
  constexpr std::string_view hexadecimal = "0x%x";
  for (std::size_t at = from; (at = text.find_first_of("%0", at)) != text.npos; ++at) {
    if (text.substr(at, 2) == "%d" || text.substr(at, 2) == "%s") return {at, 2, false};
    if (text.substr(at, hexadecimal.size()) == hexadecimal) return {at, hexadecimal.size(), true};
  }
  return {text.npos, 0, false};
}

// Replaces a placeholder, if there is one, with `value`. Returns where the next search starts:
// after the value, which may contain a '%'.
std::size_t Replace(std::string& text, const Placeholder& place, std::string_view value) {
  if (place.at == text.npos) return text.size();
  text.replace(place.at, place.length, value);
  return place.at + value.size();
}

constexpr std::size_t kMaxDigits = 20;

// Writes a number to `digits`, decimal or with "0x" and hexadecimal digits, and returns its text.
std::string_view FormatNumber(unsigned long value, bool hexadecimal,
                              char (&digits)[2 + kMaxDigits]) {
  digits[0] = '0';
  digits[1] = 'x';
  char* const begin = hexadecimal ? digits + 2 : digits;
  const char* const end = std::to_chars(begin, std::end(digits), value, hexadecimal ? 16 : 10).ptr;
  return {digits, static_cast<std::size_t>(end - digits)};
}

}  // namespace

CFormatStream::CFormatStream(Internals::CTraceStreamBuffer& buffer, const char* format)
    : m_Buffer(buffer), m_Next(0) {
  constexpr std::size_t kRoomForValues = 64;
  const std::string_view text(format);
  m_Text.reserve(text.size() + kRoomForValues);
  m_Text = text;
}

// If memory runs out, the line is dropped: an exception from a destructor would terminate the host.
CFormatStream::~CFormatStream() {
  try {
    m_Buffer.Append(m_Text);
  } catch (const std::bad_alloc&) {
  }
}

CFormatStream& CFormatStream::FormatInt(unsigned int value) {
  return FormatInt(static_cast<unsigned long>(value));
}

CFormatStream& CFormatStream::FormatInt(unsigned long value) {
  const Placeholder place = FindPlaceholder(m_Text, m_Next);
  char digits[2 + kMaxDigits];
  m_Next = Replace(m_Text, place, FormatNumber(value, place.hexadecimal, digits));
  return *this;
}

CFormatStream& CFormatStream::operator<<(const char* text) {
  m_Next = Replace(m_Text, FindPlaceholder(m_Text, m_Next), text == nullptr ? "(null)" : text);
  return *this;
}

CFormatStream& CFormatStream::operator<<(const std::string& text) {
  m_Next = Replace(m_Text, FindPlaceholder(m_Text, m_Next), text);
  return *this;
}

}  // namespace MBX::Output_Streams
