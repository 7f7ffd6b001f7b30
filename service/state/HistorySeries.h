// Reads the recorded values of one card.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "hostkit/database/Connection.h"
#include "service/state/HistoryFields.h"

namespace Service {

constexpr std::size_t kMaxPoints = 1000;

// Times are in milliseconds since the epoch.
struct HistoryQuery {
  std::string m_SerialNumber;
  const HistoryField* m_Field = nullptr;  // not null
  std::uint64_t m_From = 0;               // inclusive
  std::uint64_t m_To = 0;                 // exclusive
  std::uint64_t m_Step = 0;               // minimum step; 0: the shortest possible
};

// The values of a step, in the field's unit.
struct HistoryPoint {
  std::uint64_t m_Time = 0;  // start of the step
  double m_Minimum = 0;
  double m_Maximum = 0;
  double m_Mean = 0;  // hours are weighted by their number of minutes
};

struct HistorySeries {
  // In milliseconds; a multiple of a minute. At least as long as requested, and long enough for the
  // series to have at most `kMaxPoints` points.
  std::uint64_t m_Step = 0;
  std::vector<HistoryPoint> m_Points;  // in order of time; steps without values are omitted
};

// The recorded value of a minute, or the summary of an hour.
struct HistoryValue {
  std::uint64_t m_Time = 0;  // start of the minute or hour
  double m_Minimum = 0;
  double m_Maximum = 0;
  double m_Mean = 0;
  std::int64_t m_Samples = 0;  // number of minutes
};

// Returns the values in the query's range. If all minutes of an hour are still stored, the hour is
// returned as minutes. Any other hour that starts in the range is returned as one summary, or as
// several if the clock was set back. Returns std::nullopt if the card is not known.
std::optional<std::vector<HistoryValue>> ReadHistoryRange(HostKit::Connection& connection,
                                                          const HistoryQuery& query);

// Combines the values into steps. The steps cover only the time from the first value to the last
// one, even if the query's range is longer.
HistorySeries Downsample(const HistoryQuery& query, const std::vector<HistoryValue>& values);

}  // namespace Service
