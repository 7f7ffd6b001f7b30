#include "service/http/Escapes.h"

#include <charconv>

#include "base/Printable.h"

namespace Http {
namespace {

// Parses the two digits of an escape. from_chars() alone would accept a single digit.
std::optional<char> ByteOf(std::string_view digits) {
  unsigned char byte = 0;
  const char* const end = digits.data() + digits.size();
  const auto [stop, error] = std::from_chars(digits.data(), end, byte, 16);
  if (digits.size() != 2 || error != std::errc() || stop != end) return std::nullopt;
  return static_cast<char>(byte);
}

}  // namespace

std::optional<std::string> DecodeEscapes(std::string_view escaped) {
  std::string text;
  for (std::size_t i = 0; i < escaped.size(); ++i) {
    char character = escaped[i];
    if (character == '%') {
      const auto byte = ByteOf(escaped.substr(i + 1, 2));
      if (!byte) return std::nullopt;
      character = *byte;
      i += 2;
    }
    if (character == '\0') return std::nullopt;
    text += character;
  }
  if (!Base::IsUtf8(text)) return std::nullopt;
  return text;
}

}  // namespace Http
