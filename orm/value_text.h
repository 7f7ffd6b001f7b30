// Converts values to their text in statements. The functions are thread-safe and throw only
// std::bad_alloc.
//
// Numbers are formatted like `%d`, `%lu` and `%f` in the C locale, regardless of the host's locale,
// because SQL would read a decimal comma as a separator. A value is null if its text equals that of
// the null value; therefore a double that prints as 0.000000 is null.
#pragma once

#include <array>
#include <charconv>
#include <string>

#include "models/FieldsMap.h"
#include "orm/words.h"

namespace DatabaseORM {

// Returns the number in decimal, without grouping; a double is rounded to six digits after the
// point. A double that is not finite becomes `inf`, `-inf`, `nan` or `-nan`, which the database
// rejects.
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

// Returns the elements joined with "?", which is how a column stores a list. Elements that are
// empty or contain "?" are not preserved: `read_cell` drops the former and splits the latter.
inline std::string joined(const RaidDataModels::string_list& elements) {
  std::string text;
  for (const std::string& element : elements) text += element + element_separator;
  if (!text.empty()) text.resize(text.size() - element_separator.size());
  return text;
}

// Returns the text in double quotes, or the word NULL for the null value. Does not escape: a double
// quote in the text breaks the statement. Because double quotes are for names in SQL, a string that
// equals a column name is read as that column.
inline std::string quoted_or_null(const std::string& text) {
  return text == null_text ? null_word : text_quote + text + text_quote;
}

// Returns the number without quotes, or the word NULL if its text equals that of `null`.
template <class Number>
std::string number_or_null(Number value, Number null) {
  std::string text = number_text(value);
  return text == number_text(null) ? null_word : text;
}

// Returns the text of a field's value in a statement:
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

// An empty list becomes "". A list whose only element is the string NULL becomes NULL.
inline std::string value_text(const RaidDataModels::string_list& value) {
  return quoted_or_null(joined(value));
}

}  // namespace DatabaseORM
