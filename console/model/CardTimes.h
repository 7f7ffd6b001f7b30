// When the objects and the cards were last read.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "host/PluginInterface.h"

namespace Console {

struct CardTime {
  std::uint64_t m_Adapter = 0;  // the object's id
  std::uint64_t m_ReadAt = 0;
};

// Times are in milliseconds since the epoch; 0: never.
struct CardTimes {
  // Returns the time at which this adapter was last read.
  std::uint64_t LastReadTime(std::uint64_t adapter) const;

  std::uint64_t m_ObservedAt = 0;  // when the plug-in reported its objects
  std::uint64_t m_ScannedAt = 0;   // when the last successful scan of all cards was detected
  std::vector<CardTime> m_Cards;   // only cards that were read
};

// Derives from the reports of one plug-in process when each card was last read.
class CardTimeTracker {
 public:
  const CardTimes& Times() const { return m_Times; }
  // Updates the times after the plug-in has reported these objects. A card was read if it has a
  // value that the plug-in reads from the card for each report, or if a scan of all cards has
  // succeeded since the previous report.
  void Update(const std::vector<PI::CObject>& topology, std::uint64_t nowMs);

 private:
  CardTimes m_Times;
  std::optional<std::uint64_t> m_PluginChangeCount;  // as last reported
};

}  // namespace Console
