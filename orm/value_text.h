// Values as the text of statements. The functions depend on their arguments only, and throw nothing
// but std::bad_alloc.
//
// Numbers are written as `%d`, `%lu` and `%f` write them in the C locale, whatever the host's
// locale is: a decimal comma would turn one value into two. A value is null if its text is that of
// the null value. A double that prints as 0.000000 is therefore null.
#pragma once

#include <array>
#include <charconv>
#include <string>

#include "models/FieldsMap.h"
#include "orm/words.h"

namespace DatabaseORM {

// The number in decimal, without grouping; a double with six digits after the point, rounded. A
// double that is not finite is `inf`, `-inf`, `nan` or `-nan`, which the database rejects.
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

inline std::string number_text(double value) {
  std::array<char, 328> buffer;  // fits the longest double
  const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value,
                                 std::chars_format::fixed, 6);
  return {buffer.data(), end.ptr};
}

// The elements separated by "?", the text of a list in its column. Empty for an empty list.
// Elements that are empty or contain "?" do not survive: `read_cell` drops or splits them.
inline std::string joined(const RaidDataModels::string_list& elements) {
  std::string text;
  for (const std::string& element : elements) text += element + element_separator;
  if (!text.empty()) text.resize(text.size() - element_separator.size());
  return text;
}

// The text in double quotes, or the word NULL for the null value. Nothing is escaped: a double
// quote in the text breaks the statement. SQL uses such quotes for names: a text that equals the
// name of a column is read as that column.
inline std::string quoted_or_null(const std::string& text) {
  return text == null_text ? null_word : text_quote + text + text_quote;
}

// The number without quotes, or the word NULL if its text is that of `null`.
template <class Number>
std::string number_or_null(Number value, Number null) {
  std::string text = number_text(value);
  return text == number_text(null) ? null_word : text;
}

// The text of a field's value in a statement:
//
//   3    1.500000    "x"    "a?b"    NULL
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

// Never NULL for an empty list, which is "". A list whose only element is NULL is NULL.
inline std::string value_text(const RaidDataModels::string_list& value) {
  return quoted_or_null(joined(value));
}

}  // namespace DatabaseORM
