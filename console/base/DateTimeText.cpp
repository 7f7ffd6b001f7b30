#include "console/base/DateTimeText.h"

namespace Console {

std::string DateTimeText(std::uint64_t timeMs, TimeZone zone) {
  constexpr std::size_t kDate = 10, kTime = 8;
  const bool isLocal = zone == TimeZone::Local;
  const std::string text = isLocal ? LocalTimeText(timeMs) : TimeText(timeMs);
  return text.substr(0, kDate) + " " + text.substr(kDate + 1, kTime) + (isLocal ? "" : " UTC");
}

}  // namespace Console
