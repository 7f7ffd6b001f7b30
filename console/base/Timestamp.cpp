#include "console/base/Timestamp.h"

#include <fmt/chrono.h>
#include <fmt/format.h>

#include <algorithm>
#include <boost/algorithm/string/erase.hpp>
#include <chrono>
#include <cstdlib>
#include <ctime>
#include <optional>

#include "console/base/Duration.h"
#include "console/base/Failure.h"

namespace Console {
namespace {

constexpr std::uint64_t kSecond = 1000;
constexpr std::uint64_t kMinute = 60 * kSecond;
constexpr std::uint64_t kHour = 60 * kMinute;
constexpr std::uint64_t kDay = 24 * kHour;

struct DayName {
  const char* m_Name;
  std::uint64_t m_DaysAgo;
};

constexpr DayName kDayNames[] = {{"today", 0}, {"yesterday", 1}};

constexpr const char* kDayFormat = "%Y-%m-%d";
// The last one is the form in which `DateTimeText` prints a time.
constexpr const char* kFormats[] = {kDayFormat, "%Y-%m-%dT%H:%M:%S%z", "%Y-%m-%dT%H:%M%z",
                                    "%Y-%m-%d %H:%M:%S UTC"};

// Returns empty for an invalid date, such as February 31, and for a date before the epoch.
std::optional<std::uint64_t> ParseAs(const char* format, const std::string& text) {
  std::tm read = {};
  const char* const end = strptime(text.c_str(), format, &read);
  if (end == nullptr || *end != '\0') return std::nullopt;
  const long offset = read.tm_gmtoff;
  std::tm normalized = read;
  const std::time_t seconds = timegm(&normalized);
  if (normalized.tm_mday != read.tm_mday || seconds < offset) return std::nullopt;
  return static_cast<std::uint64_t>(seconds - offset) * kSecond;
}

struct Step {
  std::uint64_t m_Limit;  // ages of this many units or more use the next unit
  std::uint64_t m_Unit;
  const char* m_Name;
};

constexpr Step kSteps[] = {{120, kSecond, "s"}, {120, kMinute, "min"}, {48, kHour, "h"}};

std::string AgeText(std::uint64_t age) {
  for (const Step& step : kSteps) {
    if (age / step.m_Unit < step.m_Limit) {
      return fmt::format("{} {}", age / step.m_Unit, step.m_Name);
    }
  }
  return fmt::format("{} days", age / kDay);
}

std::tm BrokenDown(std::uint64_t milliseconds, TimeZone zone) {
  const auto seconds = static_cast<std::time_t>(milliseconds / kSecond);
  std::tm time = {};
  if (zone == TimeZone::Local && localtime_r(&seconds, &time) != nullptr) return time;
  gmtime_r(&seconds, &time);
  return time;
}

bool IsSameDay(const std::tm& one, const std::tm& other) {
  return one.tm_year == other.tm_year && one.tm_yday == other.tm_yday;
}

// A number alone is as likely to mean hours as seconds.
void RequireUnit(const char* option, const std::string& text) {
  if (text.empty() || text.find_first_not_of("0123456789") != std::string::npos) return;
  throw UsageFailure(fmt::format("{}: '{}' has no unit", option, text),
                     {fmt::format("For example: {0}m, {0}h or {0}d", text)});
}

}  // namespace

std::uint64_t ToMilliseconds(std::chrono::system_clock::time_point time) {
  return static_cast<std::uint64_t>(
      std::chrono::duration_cast<std::chrono::milliseconds>(time.time_since_epoch()).count());
}

std::uint64_t NowMs() {
  return ToMilliseconds(std::chrono::system_clock::now());
}

std::optional<std::uint64_t> ReadDay(const std::string& text) {
  return ParseAs(kDayFormat, text);
}

std::uint64_t ParseTimestamp(const char* option, const std::string& text, std::uint64_t nowMs) {
  for (const DayName& day : kDayNames) {
    if (text == day.m_Name) return (nowMs / kDay - day.m_DaysAgo) * kDay;
  }
  for (const char* format : kFormats) {
    if (const auto timestamp = ParseAs(format, text)) return *timestamp;
  }
  RequireUnit(option, text);
  if (const auto duration = ParseDuration(boost::erase_last_copy(text, " ago"))) {
    return nowMs - std::min(nowMs, static_cast<std::uint64_t>(duration->count()));
  }
  throw UsageFailure(
      fmt::format("{}: invalid time '{}'", option, text),
      {"Valid: 15m, 1h or 2d (before now), today, yesterday, 2026-11-20 or 2026-11-20T05:31:00Z."});
}

std::uint64_t ParseEndTime(const char* option, const std::string& text, std::uint64_t nowMs) {
  RequireUnit(option, text);
  if (const auto duration = ParseDuration(text)) {
    return nowMs + static_cast<std::uint64_t>(duration->count());
  }
  const std::uint64_t end = ParseTimestamp(option, text, nowMs);
  if (end <= nowMs) throw UsageFailure(fmt::format("{}: the time is in the past", option));
  return end;
}

std::string SinceText(std::uint64_t sinceMs, std::uint64_t nowMs, TimeZone zone) {
  const std::tm since = BrokenDown(sinceMs, zone);
  const std::string time = IsSameDay(since, BrokenDown(nowMs, zone))
                               ? fmt::format("{:%H:%M}", since)
                               : fmt::format("{:%Y-%m-%d %H:%M}", since);
  return fmt::format("{} ({})", time, AgeText(nowMs - std::min(nowMs, sinceMs)));
}

std::string ShortTimeText(std::uint64_t timeMs, std::uint64_t nowMs, TimeZone zone) {
  const std::tm time = BrokenDown(timeMs, zone);
  return IsSameDay(time, BrokenDown(nowMs, zone)) ? fmt::format("{:%H:%M}", time)
                                                  : fmt::format("{:%Y-%m-%d}", time);
}

std::string TimeText(std::uint64_t milliseconds) {
  const auto seconds = static_cast<std::time_t>(milliseconds / 1000);
  return fmt::format("{:%Y-%m-%dT%H:%M:%S}+00:00", fmt::gmtime(seconds));
}

std::string LocalTimeText(std::uint64_t milliseconds) {
  const std::tm time = BrokenDown(milliseconds, TimeZone::Local);
  const long minutes = std::labs(time.tm_gmtoff) / 60;
  return fmt::format("{:%Y-%m-%dT%H:%M:%S}{}{:02}:{:02}", time, time.tm_gmtoff < 0 ? '-' : '+',
                     minutes / 60, minutes % 60);
}

}  // namespace Console
