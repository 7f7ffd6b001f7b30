// Making any text safe to show in a terminal.
#pragma once

#include <string>
#include <string_view>

namespace Base {

// Replaces whatever could move a terminal's cursor, break a line or change the writing direction by
// a visible escape: ASCII control characters become \x1b, other control, line-breaking and
// direction characters \u202e, and each byte that is not part of valid UTF-8 \xff. Everything else
// is kept, backslashes too. The result is UTF-8; applying the function again changes nothing.
std::string Printable(std::string_view text);

// The same for a JSON document, in whose strings such characters can be written as \u202e without
// loss; line feeds are kept. The document must be valid JSON apart from those characters, because
// an invalid byte becomes \xff, which JSON does not have.
std::string PrintableJson(std::string_view json);

// Whether all of `text` is valid UTF-8. Control characters and NUL are valid.
bool IsUtf8(std::string_view text);

}  // namespace Base
