// Points in time as text.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

namespace Console {

// Converts a time to milliseconds since the epoch.
std::uint64_t ToMilliseconds(std::chrono::system_clock::time_point time);
// Returns the current time in milliseconds since the epoch.
std::uint64_t NowMs();

// Parses a date such as 2031-05-09. Returns the start of that day in UTC, in milliseconds since the
// epoch, or empty if `text` is not a valid date since 1970.
std::optional<std::uint64_t> ReadDay(const std::string& text);

// Parses a duration before now ("15m", "1h", "2d"), "today", "yesterday", a date or an RFC 3339
// time; days start at 00:00 UTC. Returns milliseconds since the epoch. For any other text, throws a
// `Failure` that names `option`.
std::uint64_t ParseTimestamp(const char* option, const std::string& text, std::uint64_t nowMs);

// Parses a duration from now, or a time in the future in a form that `ParseTimestamp` accepts.
// Returns milliseconds since the epoch. For any other text, throws a `Failure` that names `option`.
std::uint64_t ParseEndTime(const char* option, const std::string& text, std::uint64_t nowMs);

// The zone of a time that is shown to people.
enum class TimeZone { Utc, Local };

// Formats a time with its age: "05:31 (15 min)" for today, "2026-11-20 05:31 (26 h)" for an
// earlier day.
std::string SinceText(std::uint64_t sinceMs, std::uint64_t nowMs, TimeZone zone = TimeZone::Utc);

// Formats a time as briefly as possible: "05:31" for today, "2026-11-20" for another day.
std::string ShortTimeText(std::uint64_t timeMs, std::uint64_t nowMs, TimeZone zone);

// Formats `milliseconds` since the epoch as an RFC 3339 time in UTC.
std::string TimeText(std::uint64_t milliseconds);
// Formats `milliseconds` since the epoch as an RFC 3339 time in the local time zone, with its
// offset from UTC.
std::string LocalTimeText(std::uint64_t milliseconds);

}  // namespace Console
