// Cards as a plug-in reports them.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "host/PluginInterface.h"
#include "service/state/Observation.h"

namespace StateTest {

// A card's readings. The plug-in does not report empty values.
struct Card {
  std::string m_Serial;
  std::vector<int> m_Reasons = {PI::Value::ATTACHED};
  std::optional<float> m_Celsius;
  std::optional<float> m_ReservePercent;
  std::optional<float> m_EndurancePercent;
  std::optional<unsigned long> m_BytesWritten;
  std::optional<unsigned long> m_BytesRead;
  std::optional<float> m_Watts;
  std::optional<unsigned long> m_Slot;
  unsigned long m_SizeMiB = 0;  // 0 if unknown
  unsigned long m_SectorSize = 512;
};

// Returns the plug-in, the adapters and their drives. The ids depend on the order of the cards.
std::vector<PI::CObject> Objects(const std::vector<Card>& cards);

// Returns an observation of `Objects(cards)`. `isFirst`: it is the first one of a plug-in process.
Service::Observation Observe(std::uint64_t timeMs, const std::vector<Card>& cards,
                             std::int64_t logPosition = 0, bool isFirst = false);

}  // namespace StateTest
