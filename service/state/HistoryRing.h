// The recorded values of cards, in two rings of fixed length: one value a minute for 48 hours, and
// one an hour for two years.
//
// The place in a ring is counted, not computed from the time: a value replaces the one that was
// written first, however the clock was set in between. The minutes of all cards are next to each
// other, because they are written together; the hours of a card are, because they are read
// together.
#pragma once

#include <cstdint>
#include <map>

#include "hostkit/database/Connection.h"
#include "service/state/HistoryFields.h"

namespace Service {

constexpr std::int64_t kMinutesKept = 48 * 60;
constexpr std::int64_t kHoursKept = 731 * 24;
// The number of positions of cards; larger ones have no history.
constexpr std::int64_t kPositions = 65536;

// By the position of the card.
using HistorySample = std::map<std::int64_t, HistoryValues>;

// Writes the sample as that of its minute, unless the last one was of the same minute. At the
// first minute of another hour, summarizes the minutes before. Needs a transaction.
void WriteHistory(HostKit::Connection& connection, std::uint64_t timeMs,
                  const HistorySample& sample);

// Removes the values of a card. Needs a transaction.
void RemoveHistory(HostKit::Connection& connection, std::int64_t position);

}  // namespace Service
