// The positions of the cards, which determine their names.
#pragma once

#include <cstdint>
#include <vector>

#include "console/model/CardRecords.h"
#include "console/model/Model.h"

namespace Console {

// A card of the machine: reported by the plug-in, known from an earlier observation, or both.
struct CardPlace {
  std::int64_t m_Position = 0;                    // N in the name aN
  const Object* m_pReported = nullptr;            // null: the plug-in does not report the card
  const KnownCard* m_pKnown = nullptr;            // null: the card was not seen before
  const UnreadableCard* m_pUnreadable = nullptr;  // null: the card can be read, or is missing
};

// Returns all cards, ordered by position. A known card keeps its position. The other cards follow
// all known ones: cards with a serial number first, then cards without one, then unreadable cards
// that the plug-in does not report. If several reported cards have the same serial number, only the
// first is the known card. The arguments must outlive the result.
std::vector<CardPlace> PlaceCards(const std::vector<Object>& reported, const CardRecords& records);

}  // namespace Console
