// The poll interval: parsing the configured seconds, and converting them to the worker's wait
// times.
#pragma once

#include <algorithm>
#include <boost/convert.hpp>
#include <boost/convert/stream.hpp>
#include <cstdint>
#include <locale>
#include <string>

#include "Corvane/Src/WaitResults.h"

namespace NAMESPACE_Corvane {

constexpr std::uint32_t kDefaultPollInterval = 15;
constexpr std::uint32_t kMinPollInterval = 2;
constexpr std::uint32_t kMaxPollInterval = 255;

// Parses a decimal number of seconds and clamps it to the limits; a negative number counts as too
// large. Returns the default if the text is not a number or does not fit in 32 bits. Uses the
// classic locale, so that grouped digits are never accepted.
inline std::uint32_t ParsePollInterval(const std::string& text) {
  boost::cnv::basic_stream<char> converter;
  converter(std::locale::classic());
  const auto seconds = boost::convert<std::uint32_t>(text, converter);
  return std::clamp(seconds.value_or(kDefaultPollInterval), kMinPollInterval, kMaxPollInterval);
}

// Returns the milliseconds between two full scans. A host can set any interval, because it sends
// the limits along with the value. An interval of 0 seconds would leave the worker no time to wait,
// so it is treated as 1.
constexpr std::uint64_t ScanIntervalMs(std::uint32_t seconds) {
  return std::max<std::uint64_t>(seconds, 1) * 1000;
}

// Returns the milliseconds between two quick polls, at most the longest finite timeout.
constexpr unsigned int QuickPollIntervalMs(std::uint32_t seconds) {
  constexpr std::uint64_t kLongest = kWaitInfinite - 1;
  return static_cast<unsigned int>(std::min(ScanIntervalMs(seconds) / 3, kLongest));
}

}  // namespace NAMESPACE_Corvane
