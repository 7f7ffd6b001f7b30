// Estimates a card's end of life and used endurance from its attributes.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "Corvane/Src/Date.h"
#include "Corvane/Src/Formatted.h"
#include "host/PluginInterface.h"
#include "host/Toolkit.h"

namespace NAMESPACE_Corvane {

constexpr std::uint64_t kMsPerHour = 3600000;

// Returns the whole hours since a timestamp (milliseconds since the epoch).
inline std::uint64_t HoursSince(std::uint64_t timestampMs) {
  return (MBX::Misc::now() - timestampMs) / kMsPerHour;
}

// Returns the date on which a card will be worn out, as YYYY-MM-DD.
inline std::string EndOfLifeDate(std::uint64_t usedHours, std::uint64_t bytesWritten,
                                 unsigned int usedPercent, std::uint32_t ratedTBytes) {
  unsigned long remainingHours = 0;
  PI::CPluginHelper::ComputeRemainingLifeTime(usedHours, bytesWritten, usedPercent, ratedTBytes,
                                              remainingHours);
  const Date date = DateOf(MBX::Misc::now() + remainingHours * kMsPerHour);
  return Joined(Padded{date.m_Year, 4, ' '}, "-", Padded{date.m_Month, 2}, "-",
                Padded{date.m_Day, 2});
}

// Returns the bytes written as a percentage of the rated endurance, which is in units of 2^40
// bytes. May exceed 100. A rating of 0 is treated as no rating: returns nullopt.
inline std::optional<std::uint32_t> EndurancePercent(std::uint64_t bytesWritten,
                                                     std::uint32_t ratedTBytes) {
  const std::uint64_t ratedBytes = std::uint64_t{ratedTBytes} << 40U;
  if (ratedBytes == 0) return std::nullopt;
  return static_cast<std::uint32_t>(bytesWritten * 100 / ratedBytes);
}

}  // namespace NAMESPACE_Corvane
