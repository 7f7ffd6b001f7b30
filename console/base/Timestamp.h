// Moments as people write and read them.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace Console {

// Milliseconds since the epoch.
std::uint64_t NowMs();

// The beginning of a day that is written as 2031-05-09, in universal time: milliseconds since the
// epoch. Nothing for a text that is no date of the calendar since then.
std::optional<std::uint64_t> ReadDay(const std::string& text);

// "15m", "1h" or "2d" before now, "today", "yesterday", a date or an RFC 3339 time; days begin at
// 00:00 in universal time. Milliseconds since the epoch. Throws `Failure` that names `option`.
std::uint64_t ParseTimestamp(const char* option, const std::string& text, std::uint64_t nowMs);

// "05:31, 15 min" for a moment of today, "2026-11-20 05:31, 26 h" for an earlier one; in universal
// time.
std::string SinceText(std::uint64_t sinceMs, std::uint64_t nowMs);

// RFC 3339, in universal time; `milliseconds` since the epoch.
std::string TimeText(std::uint64_t milliseconds);

}  // namespace Console
