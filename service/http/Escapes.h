// Percent escapes of paths and queries.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace Http {

// Replaces each %XX with its byte. Returns empty if an escape is malformed, or if the result
// contains NUL or is not UTF-8.
std::optional<std::string> DecodeEscapes(std::string_view escaped);

}  // namespace Http
