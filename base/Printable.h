// Escapes characters that are not safe to print on a terminal.
#pragma once

#include <string>
#include <string_view>

namespace Base {

// Replaces characters that could move a terminal's cursor, break a line, change the writing
// direction or be invisible with visible escapes: ASCII control characters (as \x1b); other
// control, line-breaking and format characters (as \u202e or \U000e0020); and bytes that are not
// part of valid UTF-8 (as \xff). All other characters, including backslashes, are kept. The result
// is valid UTF-8, and applying the function to it again does not change it.
std::string Printable(std::string_view text);

// Escapes the same characters in a JSON document, where \u202e in a string is equivalent to the
// character. Line feeds are kept. The document must be valid UTF-8: an invalid byte becomes \xff,
// which is not a valid JSON escape.
std::string PrintableJson(std::string_view json);

// Whether all of `text` is valid UTF-8. Control characters and NUL are valid.
bool IsUtf8(std::string_view text);

}  // namespace Base
