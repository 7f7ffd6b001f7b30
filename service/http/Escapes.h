// Percent escapes of paths and queries.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace Http {

// Replaces each %XX by its byte. Empty if an escape is malformed, or the result contains NUL or is
// not UTF-8.
std::optional<std::string> Decode(std::string_view escaped);

}  // namespace Http
