// Parsing of numbers.
#pragma once

#include <charconv>
#include <optional>
#include <string>
#include <system_error>

namespace Console {

// Parses `text` as a number. Returns empty if `text` contains anything else or the number is out of
// range for the type.
template <class T>
std::optional<T> ReadNumber(const std::string& text) {
  T number{};
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  if (error != std::errc() || stop != end) return std::nullopt;
  return number;
}

}  // namespace Console
