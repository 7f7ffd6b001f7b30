// Spans of time as people write and read them.
#pragma once

#include <chrono>
#include <optional>
#include <string>

namespace Console {

// "30s", "5m", "1h", "2d", "200ms", or seconds without a unit; nothing for another text, or for
// more than 10,000 days.
std::optional<std::chrono::milliseconds> ReadDuration(const std::string& text);

// The same. Throws `Failure` that names `option`.
std::chrono::milliseconds ParseDuration(const char* option, const std::string& text);

// "0:57", "12:03", "1:02:03"; parts of a second are left out.
std::string ElapsedText(std::chrono::milliseconds duration);

}  // namespace Console
