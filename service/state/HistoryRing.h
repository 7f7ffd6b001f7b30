// The recorded values of cards, in two rings of fixed length: one value per minute for 48 hours,
// and one per hour for two years.
//
// The place of a value in its ring depends on a counter and not on the time, so that a new value
// always replaces the oldest one, even if the clock was set. The minutes of all cards are adjacent,
// because they are written together. The hours of one card are adjacent, because they are read
// together.
#pragma once

#include <cstdint>
#include <map>

#include "hostkit/database/Connection.h"
#include "service/state/HistoryFields.h"

namespace Service {

constexpr std::uint64_t kMinuteMs = 60'000;
constexpr std::int64_t kMinutesPerHour = 60;
constexpr std::int64_t kMinutesKept = 48 * kMinutesPerHour;
constexpr std::int64_t kHoursKept = 731 * 24;
// Only cards at positions below this number have a history.
constexpr std::int64_t kPositions = 65536;

// Values by position of the card.
using HistorySample = std::map<std::int64_t, HistoryValues>;

// Writes the sample of a minute, unless it is empty or the last sample was of the same minute. In
// the first minute of another hour, summarizes the previous minutes. Requires a transaction.
void WriteHistory(HostKit::Connection& connection, std::uint64_t timeMs,
                  const HistorySample& sample);

// Removes the values of a card. Requires a transaction.
void RemoveHistory(HostKit::Connection& connection, std::int64_t position);

}  // namespace Service
