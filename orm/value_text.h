// Converts values to their text in statements. The functions are thread-safe and throw only
// std::bad_alloc.
//
// Numbers are formatted like `%d`, `%lu` and `%f` in the C locale, regardless of the host's locale,
// because SQL would read a decimal comma as a separator. A value is null if its text equals that of
// the null value; therefore a double that prints as 0.000000 is null.
#pragma once

#include <charconv>
#include <cstddef>
#include <string>
#include <string_view>

#include "models/FieldsMap.h"
#include "orm/words.h"

namespace DatabaseORM {

// The text of a number in decimal, without grouping; a double is rounded to six digits after the
// point. A double that is not finite becomes `inf`, `-inf`, `nan` or `-nan`, which the database
// rejects. Refers to its own buffer, and is therefore not copied.
class number_text_t {
 public:
  explicit number_text_t(int value) { set(value); }
  explicit number_text_t(unsigned long value) { set(value); }
  explicit number_text_t(double value) { set(value, std::chars_format::fixed, 6); }
  number_text_t(const number_text_t&) = delete;
  number_text_t& operator=(const number_text_t&) = delete;

  // Valid for the lifetime of this object.
  std::string_view text() const { return {m_buffer, m_size}; }

 private:
  template <class... Arguments>
  void set(Arguments... arguments) {
    const auto end = std::to_chars(m_buffer, m_buffer + sizeof m_buffer, arguments...);
    m_size = static_cast<std::size_t>(end.ptr - m_buffer);
  }

  char m_buffer[328];  // fits the longest double
  std::size_t m_size = 0;
};

// Returns the same text as a string.
template <class Number>
std::string number_text(Number value) {
  return std::string(number_text_t(value).text());
}

// Appends the elements joined with "?", which is how a column stores a list. Elements that are
// empty or contain "?" are not preserved: `read_cell` drops the former and splits the latter.
inline void append_joined(const RaidDataModels::string_list& elements, std::string& text) {
  const std::size_t begin = text.size();
  for (const std::string& element : elements) {
    text += element;
    text += element_separator;
  }
  if (text.size() > begin) text.resize(text.size() - element_separator.size());
}

// Returns what `append_joined` appends.
inline std::string joined(const RaidDataModels::string_list& elements) {
  std::string text;
  append_joined(elements, text);
  return text;
}

// Appends a number without quotes, or the word NULL for the null value.
template <class Number>
void append_number(Number value, Number null, std::string& text) {
  if (value == null) {
    text += null_word;
  } else {
    text += number_text_t(value).text();
  }
}

// Appends the text of a field's value in a statement:
//
//   3    1.500000    "x"    "a?b"    NULL
inline void append_value(int value, std::string& text) {
  append_number(value, RaidDataModels::null_int, text);
}

inline void append_value(unsigned long value, std::string& text) {
  append_number(value, RaidDataModels::null_ulong, text);
}

// A double is null if its text equals that of the null value.
inline void append_value(double value, std::string& text) {
  static const std::string null = number_text(RaidDataModels::null_double);
  const number_text_t number(value);
  text += number.text() == null ? std::string_view(null_word) : number.text();
}

// In double quotes, or the word NULL for the null value. Does not escape: a double quote in the
// value breaks the statement. Because double quotes are for names in SQL, a string that equals a
// column name is read as that column.
inline void append_value(const std::string& value, std::string& text) {
  if (value == null_text) {
    text += null_word;
    return;
  }
  text += text_quote;
  text += value;
  text += text_quote;
}

// An empty list becomes "". A list whose only element is the string NULL becomes NULL.
inline void append_value(const RaidDataModels::string_list& value, std::string& text) {
  const std::size_t begin = text.size();
  text += text_quote;
  append_joined(value, text);
  if (text.compare(begin + text_quote.size(), std::string::npos, null_text) == 0) {
    text.replace(begin, std::string::npos, null_word);
  } else {
    text += text_quote;
  }
}

// Returns what `append_value` appends.
template <class Value>
std::string value_text(const Value& value) {
  std::string text;
  append_value(value, text);
  return text;
}

}  // namespace DatabaseORM
