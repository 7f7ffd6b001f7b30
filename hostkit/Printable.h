// Texts of cards, files and callers, made fit for a terminal.
#pragma once

#include <string>

#include "host/Visibility.h"

namespace HostKit {

// What could move a terminal's cursor, break a line or turn the order of letters around becomes a
// visible escape: control characters as \x1b or \u009b, characters for the direction of writing
// and for line breaks as \u202e, and each byte that is not part of UTF-8 as \xff. The result is
// UTF-8, and stays as it is when it is given once more.
HOST_API std::string Printable(const std::string& text);

// The same for a JSON document, in whose strings such characters can be written as \u202e without
// a loss. The document must be UTF-8, without the line breaks inside strings that JSON forbids.
HOST_API std::string PrintableJson(const std::string& json);

}  // namespace HostKit
