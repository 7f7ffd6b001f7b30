#include <algorithm>
#include <array>

#include "host/PluginInterface.h"
#include "hostkit/Lifetime.h"
#include "hostkit/Units.h"

namespace PI {

namespace {

struct ByteUnit {
  unsigned int shift;  // the unit is 2 to the power of this many bytes
  _UNITS unit;
};

// Largest first.
constexpr std::array<ByteUnit, 6> kByteUnits = {{{50, HostKit::UNITS_PETABYTES},
                                                 {40, HostKit::UNITS_TERABYTES},
                                                 {30, HostKit::UNITS_GIGABYTES},
                                                 {20, UNITS_MEGABYTES},
                                                 {10, HostKit::UNITS_KILOBYTES},
                                                 {0, UNITS_BYTES}}};

constexpr double kBytesPerTByte = 1099511627776.0;

constexpr double kMaxHours = HostKit::kMaxLifetimeHours;

// Returns the hours until `left` is used up, given that `used` was used up in `age` hours. If
// nothing was used, returns the longest estimate.
double HoursLeft(double left, double used, double age) {
  if (left <= 0) return 0;
  return used <= 0 ? kMaxHours : left * age / used;
}

}  // namespace

bool CPluginHelper::ConvertBytesToOtherUnit(unsigned long bytes, float& value, _UNITS& unit) {
  const auto fits = [bytes](const ByteUnit& row) { return bytes >> row.shift != 0; };
  const auto found = std::find_if(kByteUnits.begin(), kByteUnits.end(), fits);
  const ByteUnit& chosen = found != kByteUnits.end() ? *found : kByteUnits.back();
  value = static_cast<float>(static_cast<double>(bytes) / static_cast<double>(1UL << chosen.shift));
  unit = chosen.unit;
  return true;
}

void CPluginHelper::ComputeRemainingLifeTime(unsigned long usedHours, unsigned long bytesWritten,
                                             unsigned int usedPercent, unsigned long ratedTBytes,
                                             unsigned long& remainingHours) {
  const double age = std::max(static_cast<double>(usedHours), 1.0);
  const double percent = static_cast<double>(static_cast<std::int32_t>(usedPercent));
  const double written = static_cast<double>(bytesWritten);
  const double rated = static_cast<double>(ratedTBytes) * kBytesPerTByte;

  const double byWear = HoursLeft(100 - percent, percent, age);
  const double byWrites = ratedTBytes != 0 ? HoursLeft(rated - written, written, age) : kMaxHours;
  remainingHours = static_cast<unsigned long>(std::min({byWear, byWrites, kMaxHours}));
}

}  // namespace PI
