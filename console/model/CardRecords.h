// What is known about the cards of this machine in addition to the plug-in's report.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Console {

// A card that has been seen on this machine. Times are in milliseconds since the epoch. The last
// five members have the values of the last observation in which they were known; empty: never
// known.
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

// A card that is in the machine but cannot be read. Its serial number or its PCI address is known.
struct UnreadableCard {
  std::string m_SerialNumber;
  std::string m_PciAddress;
  std::string m_Reason;
};

// The locate LED of an adapter, whose id is valid for the plug-in process that reported it.
struct LocateLed {
  std::uint64_t m_Adapter = 0;
  bool m_IsOn = false;
};

struct CardRecords {
  std::vector<KnownCard> m_Known;   // a card that the plug-in does not report is missing
  std::int64_t m_NextPosition = 0;  // the lowest position that no known card has had
  std::vector<UnreadableCard> m_Unreadable;
  std::vector<std::string> m_Formatting;  // serial numbers of the cards that are being formatted
  std::vector<LocateLed> m_LocateLeds;    // without those whose state is unknown
};

// Whether two records differ, apart from the times of the last observation of present cards.
bool Differ(const std::vector<KnownCard>& left, const std::vector<KnownCard>& right);

}  // namespace Console
