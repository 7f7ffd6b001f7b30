// Points in time as text.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace Console {

// Milliseconds since the epoch.
std::uint64_t NowMs();

// The start of a day such as 2031-05-09 in UTC, in milliseconds since the epoch. Empty if `text` is
// not a valid date since 1970.
std::optional<std::uint64_t> ReadDay(const std::string& text);

// "15m", "1h" or "2d" before now, "today", "yesterday", a date or an RFC 3339 time; days begin at
// 00:00 UTC. Milliseconds since the epoch. Throws `Failure` that names `option`.
std::uint64_t ParseTimestamp(const char* option, const std::string& text, std::uint64_t nowMs);

// "05:31, 15 min" for a time today, "2026-11-20 05:31, 26 h" for an earlier one; in UTC.
std::string SinceText(std::uint64_t sinceMs, std::uint64_t nowMs);

// RFC 3339 in UTC; `milliseconds` since the epoch.
std::string TimeText(std::uint64_t milliseconds);

}  // namespace Console
