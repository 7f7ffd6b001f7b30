// A card that has been seen on this machine.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace Service {

// Times are in milliseconds since the epoch. The last five members have the values of the last
// observation in which they were known; empty: never known.
struct KnownCard {
  std::string m_SerialNumber;
  std::int64_t m_Position = 0;  // N in the name aN
  std::uint64_t m_FirstSeen = 0;
  // Up to a minute too early while the card is present, or if it was removed between two plug-in
  // processes.
  std::uint64_t m_LastSeen = 0;
  bool m_IsPresent = false;  // in the last observation
  std::string m_Name;
  std::string m_Product;
  std::string m_PciAddress;
  std::optional<std::int64_t> m_Slot;
  std::optional<std::int64_t> m_SizeBytes;  // total formatted size of its drives
};

}  // namespace Service
