// Reading the recorded values of one card.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "hostkit/database/Connection.h"
#include "service/state/HistoryFields.h"

namespace Service {

constexpr std::size_t kMostPoints = 1000;

// Times are in milliseconds since the epoch.
struct HistoryQuery {
  std::string m_SerialNumber;
  const HistoryField* m_Field = nullptr;  // not null
  std::uint64_t m_From = 0;               // included
  std::uint64_t m_To = 0;                 // not included
  std::uint64_t m_Step = 0;               // 0: the shortest
};

// The values of a step, in the field's unit.
struct HistoryPoint {
  std::uint64_t m_Time = 0;  // start of the step
  double m_Minimum = 0;
  double m_Maximum = 0;
  double m_Mean = 0;  // of values that are means of an hour, weighted by their minutes
};

struct HistorySeries {
  // Whole minutes, and not less than requested: long enough for `kMostPoints`.
  std::uint64_t m_Step = 0;
  std::vector<HistoryPoint> m_Points;  // in order of time; none for a step without values
};

// A recorded value, or several in one hour.
struct HistoryValue {
  std::uint64_t m_Time = 0;  // start of the minute or hour
  double m_Minimum = 0;
  double m_Maximum = 0;
  double m_Mean = 0;
  std::int64_t m_Samples = 0;  // minutes
};

// The values of the query's range. An hour of which all minutes are still there is given by them;
// from any other one that begins in the range there is one value, or more if the clock was set
// back. Empty if the card is not known.
std::optional<std::vector<HistoryValue>> ReadHistoryRange(HostKit::Connection& connection,
                                                          const HistoryQuery& query);

// Combines the values into steps. A range that begins before the first value or ends after the last
// one is shortened to them, so that no steps are spent on it.
HistorySeries Downsample(const HistoryQuery& query, const std::vector<HistoryValue>& values);

}  // namespace Service
