// Durations as text.
#pragma once

#include <chrono>
#include <optional>
#include <string>

namespace Console {

// Parses "30s", "5m", "1h", "2d", "200ms", or a number of seconds without a unit. Returns empty for
// any other text and for more than 10,000 days.
std::optional<std::chrono::milliseconds> ParseDuration(const std::string& text);

// Parses the value of an option. Returns empty if `text` is empty, which means that the option was
// not given. Throws a `Failure` that names `option` if `text` is not a duration.
std::optional<std::chrono::milliseconds> ParseDuration(const char* option, const std::string& text);

// Formats an elapsed time as "0:57", "12:03" or "1:02:03"; fractions of a second are dropped.
std::string ElapsedText(std::chrono::milliseconds duration);

}  // namespace Console
