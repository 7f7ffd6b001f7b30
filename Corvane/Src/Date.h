// Dates from the toolkit.
#pragma once

#include <cstdint>
#include <cstring>
#include <type_traits>

#include "host/Toolkit.h"

namespace NAMESPACE_Corvane {

// The fields at the start of the toolkit's record, in UTC.
struct Date {
  std::uint32_t m_Year;
  std::uint32_t m_Month;
  std::uint32_t m_Day;
  std::uint32_t m_Unused[2];
  std::uint32_t m_Hour;
  std::uint32_t m_Minute;
};

// Converts milliseconds since the epoch. Copies the fields by position, because their names may
// differ between versions of the toolkit.
inline Date DateOf(std::uint64_t milliseconds) {
  using HostDate = MBXX::CSystemDate_Lx;
  static_assert(sizeof(HostDate) >= sizeof(Date) && std::is_trivially_copyable_v<HostDate>);
  HostDate hostDate = {};
  MBXX::CSystemTime_Lx::GetDate(milliseconds, hostDate);
  Date date;
  std::memcpy(&date, &hostDate, sizeof date);
  return date;
}

}  // namespace NAMESPACE_Corvane
