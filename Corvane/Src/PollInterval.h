// The poll interval, in seconds: as the configuration has it and as the worker waits for it.
#pragma once

#include <algorithm>
#include <boost/convert.hpp>
#include <boost/convert/stream.hpp>
#include <cstdint>
#include <locale>
#include <string>

#include "host/Toolkit.h"

namespace NAMESPACE_Corvane {

constexpr std::uint32_t kDefaultPollInterval = 15;
constexpr std::uint32_t kMinPollInterval = 2;
constexpr std::uint32_t kMaxPollInterval = 255;

// Seconds as the configuration gives them, clamped to the limits. The default for anything but a
// decimal number, which has no grouped digits in any locale.
inline std::uint32_t ParsePollInterval(const std::string& text) {
  boost::cnv::basic_stream<char> converter;
  converter(std::locale::classic());
  const auto seconds = boost::convert<std::uint32_t>(text, converter);
  return std::clamp(seconds.value_or(kDefaultPollInterval), kMinPollInterval, kMaxPollInterval);
}

// Milliseconds between two full scans. Hosts may set any interval by the limits that they send
// along, and one of 0 seconds would leave the worker no time to wait; it counts as 1.
inline std::uint64_t ScanIntervalMs(std::uint32_t seconds) {
  return std::max<std::uint64_t>(seconds, 1) * 1000;
}

// Milliseconds between two quick polls, at most the longest wait that is not infinite.
inline unsigned int QuickPollIntervalMs(std::uint32_t seconds) {
  constexpr std::uint64_t kLongest = MBX::Threading::WAIT_INFINITE - 1;
  return static_cast<unsigned int>(std::min(ScanIntervalMs(seconds) / 3, kLongest));
}

}  // namespace NAMESPACE_Corvane
