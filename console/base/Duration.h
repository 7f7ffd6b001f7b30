// Durations as text.
#pragma once

#include <chrono>
#include <optional>
#include <string>

namespace Console {

// "30s", "5m", "1h", "2d", "200ms", or seconds without a unit. Empty for any other text, or for
// more than 10,000 days.
std::optional<std::chrono::milliseconds> ReadDuration(const std::string& text);

// The value of an option; empty if the text is, as without the option. Throws `Failure` that names
// `option` for a text that is not a duration.
std::optional<std::chrono::milliseconds> ParseDuration(const char* option, const std::string& text);

// "0:57", "12:03", "1:02:03"; fractions of a second are dropped.
std::string ElapsedText(std::chrono::milliseconds duration);

}  // namespace Console
