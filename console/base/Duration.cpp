#include "console/base/Duration.h"

#include <fmt/format.h>

#include <charconv>
#include <cstdint>

#include "console/base/Failure.h"

namespace Console {
namespace {

struct TimeUnit {
  const char* m_Symbol;
  std::int64_t m_Milliseconds;
};

constexpr std::int64_t kMillisecondsPerDay = 86'400'000;

constexpr TimeUnit kTimeUnits[] = {{"", 1000},    {"ms", 1},        {"s", 1000},
                                   {"m", 60'000}, {"h", 3'600'000}, {"d", kMillisecondsPerDay}};

}  // namespace

std::optional<std::chrono::milliseconds> ParseDuration(const std::string& text) {
  // About a tenth of the range of the steady clock, to which durations are added.
  constexpr std::int64_t kMaxDuration = 10'000 * kMillisecondsPerDay;
  std::int64_t number = -1;
  const char* end = text.data() + text.size();
  const char* stop = std::from_chars(text.data(), end, number).ptr;
  for (const TimeUnit& unit : kTimeUnits) {
    const bool fits = number >= 0 && number <= kMaxDuration / unit.m_Milliseconds;
    if (fits && std::string(stop, end) == unit.m_Symbol)
      return std::chrono::milliseconds(number * unit.m_Milliseconds);
  }
  return std::nullopt;
}

std::optional<std::chrono::milliseconds> ParseDuration(const char* option,
                                                       const std::string& text) {
  if (text.empty()) return std::nullopt;
  if (const auto duration = ParseDuration(text)) return duration;
  throw UsageFailure(fmt::format("{}: invalid duration '{}'", option, text),
                     {"For example: 30s, 5m or 1h."});
}

std::string ElapsedText(std::chrono::milliseconds duration) {
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(duration).count();
  if (seconds < 3600) return fmt::format("{}:{:02}", seconds / 60, seconds % 60);
  return fmt::format("{}:{:02}:{:02}", seconds / 3600, seconds / 60 % 60, seconds % 60);
}

}  // namespace Console
