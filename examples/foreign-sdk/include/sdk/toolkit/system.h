// The clock, dates and PCI locations.
#pragma once

#include <string>
#include <vector>

#include "sdk/own/export.h"

namespace MBX {
namespace Misc {

OWN_EXPORT unsigned long long now();

}  // namespace Misc
}  // namespace MBX

namespace MBXX {

struct OWN_EXPORT CConfigManager {
  static bool GetLocation(const std::vector<std::string>&, unsigned long, int&, int&, int&, int&);
};

struct CSystemDate_Lx {
  unsigned int m_OwnYear, m_OwnMonth, m_OwnDay, m_OwnDayOfWeek, m_OwnDayOfYear, m_OwnHour,
      m_OwnMinute;
  unsigned int m_OwnSecond, m_OwnMilliseconds, m_OwnZone;
};

struct OWN_EXPORT CSystemTime_Lx {
  static bool GetDate(unsigned long, CSystemDate_Lx&);
};

}  // namespace MBXX
