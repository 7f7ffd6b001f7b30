#include "cardsim/store/Printable.h"

#include <cstdint>
#include <cstdio>

namespace CardSim {
namespace {

struct Range {
  std::uint32_t first;
  std::uint32_t last;
};

// Beyond ASCII: what a terminal obeys, breaks lines at, or lets turn the text around it.
constexpr Range kUnprintable[] = {
    {0x0080, 0x009f},  // C1 controls
    {0x061c, 0x061c},  // Arabic letter mark
    {0x200e, 0x200f},  // direction marks
    {0x2028, 0x2029},  // line and paragraph separator
    {0x202a, 0x202e},  // embeddings and overrides
    {0x2066, 0x2069},  // isolates
};

// How a sequence of several bytes begins, and the least character that needs as many.
struct Lead {
  unsigned char mask;
  unsigned char bits;
  std::size_t length;
  std::uint32_t least;
};

constexpr Lead kLeads[] = {
    {0xe0, 0xc0, 2, 0x80},
    {0xf0, 0xe0, 3, 0x800},
    {0xf8, 0xf0, 4, 0x10000},
};

struct Character {
  std::uint32_t code;
  std::size_t length;  // 0 for a byte that begins no valid sequence
};

constexpr Character kInvalid = {0, 0};

Character DecodeAs(const Lead& lead, std::string_view text) {
  if (text.size() < lead.length) return kInvalid;
  std::uint32_t code = static_cast<unsigned char>(text[0]) & static_cast<unsigned>(~lead.mask);
  for (std::size_t i = 1; i < lead.length; ++i) {
    const auto byte = static_cast<unsigned char>(text[i]);
    if ((byte & 0xc0) != 0x80) return kInvalid;
    code = code << 6 | (byte & 0x3fU);
  }
  const bool isSurrogate = code >= 0xd800 && code <= 0xdfff;
  if (code < lead.least || code > 0x10ffff || isSurrogate) return kInvalid;
  return {code, lead.length};
}

Character Decode(std::string_view text) {
  const auto first = static_cast<unsigned char>(text[0]);
  if (first < 0x80) return {first, 1};
  for (const Lead& lead : kLeads) {
    if ((first & lead.mask) == lead.bits) return DecodeAs(lead, text);
  }
  return kInvalid;
}

bool IsUnprintable(std::uint32_t code) {
  for (const Range& range : kUnprintable) {
    if (code >= range.first && code <= range.last) return true;
  }
  return false;
}

std::string Escape(const char* format, std::uint32_t number) {
  char text[16];
  std::snprintf(text, sizeof text, format, static_cast<unsigned int>(number));
  return text;
}

}  // namespace

std::string Printable(std::string_view text) {
  std::string printable;
  while (!text.empty()) {
    const Character character = Decode(text);
    const auto byte = static_cast<unsigned char>(text[0]);
    const std::size_t length = character.length == 0 ? 1 : character.length;
    if (character.length == 0 || byte < 0x20 || byte == 0x7f) {
      printable += Escape("\\x%02x", byte);
    } else if (IsUnprintable(character.code)) {
      printable += Escape("\\u%04x", character.code);
    } else {
      printable += text.substr(0, length);
    }
    text.remove_prefix(length);
  }
  return printable;
}

}  // namespace CardSim
