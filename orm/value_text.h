// Values as the text of statements.
//
// Numbers are written as `%d`, `%lu` and `%f` write them in the C locale, whatever locale the host
// has chosen: a decimal comma would make two values of one. Whether a value is null is decided on
// its text. A double that prints as 0.000000 is therefore null, since the sentinel prints so.
#pragma once

#include <array>
#include <charconv>
#include <string>

#include "models/FieldsMap.h"
#include "orm/words.h"

namespace DatabaseORM {

inline std::string number_text(int value) {
  std::array<char, 16> buffer;
  const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value);
  return {buffer.data(), end.ptr};
}

inline std::string number_text(unsigned long value) {
  std::array<char, 32> buffer;
  const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value);
  return {buffer.data(), end.ptr};
}

// The buffer takes the longest double.
inline std::string number_text(double value) {
  std::array<char, 328> buffer;
  const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value,
                                 std::chars_format::fixed, 6);
  return {buffer.data(), end.ptr};
}

// The elements with a "?" between them, which is how one column holds a list.
inline std::string joined(const RaidDataModels::string_list& elements) {
  std::string text;
  for (const std::string& element : elements) text += element + element_separator;
  if (!text.empty()) text.resize(text.size() - element_separator.size());
  return text;
}

// The text or the word NULL. Nothing in the text is escaped: a quote in it breaks the statement.
inline std::string quoted_or_null(const std::string& text) {
  return text == null_text ? null_word : text_quote + text + text_quote;
}

template <class Number>
std::string number_or_null(Number value, Number null) {
  std::string text = number_text(value);
  return text == number_text(null) ? null_word : text;
}

inline std::string value_text(int value) {
  return number_or_null(value, RaidDataModels::null_int);
}

inline std::string value_text(unsigned long value) {
  return number_or_null(value, RaidDataModels::null_ulong);
}

inline std::string value_text(double value) {
  return number_or_null(value, RaidDataModels::null_double);
}

inline std::string value_text(const std::string& value) {
  return quoted_or_null(value);
}

inline std::string value_text(const RaidDataModels::string_list& value) {
  return quoted_or_null(joined(value));
}

}  // namespace DatabaseORM
