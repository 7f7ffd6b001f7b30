#include <boost/algorithm/string/predicate.hpp>
#include <boost/algorithm/string/trim.hpp>
#include <charconv>

#include "hostkit/Tracing.h"

namespace HostKit {

namespace {

// A decimal number, or a hexadecimal one after "0x", with optional white space around it.
std::optional<std::uint32_t> ParseNumber(const std::string& text) {
  const std::string digits = boost::algorithm::trim_copy(text);
  const bool hexadecimal = boost::algorithm::istarts_with(digits, "0x");
  const char* first = digits.data() + (hexadecimal ? 2 : 0);
  const char* last = digits.data() + digits.size();
  std::uint32_t number = 0;
  const auto [end, error] = std::from_chars(first, last, number, hexadecimal ? 16 : 10);
  if (error != std::errc() || end != last) return std::nullopt;
  return number;
}

bool IsLevel(std::uint32_t number) {
  return number != 0 && (number & (number - 1)) == 0;
}

// Parses a list. Each element must be a single level: "3" in a list is more likely a mistake than a
// mask.
std::optional<std::uint32_t> ParseList(const std::string& text) {
  std::uint32_t mask = 0;
  for (std::size_t begin = 0; begin <= text.size();) {
    const std::size_t end = std::min(text.find(',', begin), text.size());
    const auto level = ParseNumber(text.substr(begin, end - begin));
    if (!level || !IsLevel(*level)) return std::nullopt;
    mask |= *level;
    begin = end + 1;
  }
  return mask;
}

}  // namespace

std::optional<std::uint32_t> ParseTraceLevels(const std::string& text) {
  const std::string word = boost::algorithm::trim_copy(text);
  if (boost::algorithm::iequals(word, "all")) return ~std::uint32_t{0};
  if (boost::algorithm::iequals(word, "off")) return 0;
  return word.find(',') == word.npos ? ParseNumber(word) : ParseList(word);
}

}  // namespace HostKit
