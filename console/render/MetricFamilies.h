// Metrics of the cards, generated from one table of families.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "console/model/Model.h"
#include "hostkit/EventCounts.h"

namespace Console {

// The OpenMetrics type of a family.
enum class MetricType { Gauge, Counter, Info, StateSet };

// A known value; unknown values have no sample.
struct Sample {
  std::vector<std::pair<std::string, std::string>> m_Labels;  // UTF-8, not escaped
  std::string m_Value;                                        // a decimal number
};

// One metric with all its samples.
struct Family {
  std::string m_Name;  // without the suffix that the type adds to the names of samples
  MetricType m_Type;
  std::string m_Unit;  // empty: none
  std::string m_Help;  // one sentence, not escaped
  std::vector<Sample> m_Samples;
};

// The input for the metrics.
struct MetricInput {
  const Model* m_pModel = nullptr;  // null: the plug-in cannot be used
  // Whether the plug-in is running. If not, only the ages of the last readings are reported.
  bool m_IsUp = false;
  std::uint64_t m_ScannedAt = 0;  // last successful scan, in milliseconds since the epoch; 0: none
  std::uint64_t m_Now = 0;        // in milliseconds since the epoch
  double m_StartSeconds = 0;      // duration of the plug-in's start, including its first scan
  // Whether events can be read from the database and written to it.
  bool m_IsDatabaseUp = true;
  // Empty if the events cannot be counted; they then have no series, because 0 would look like a
  // new database.
  std::optional<std::vector<HostKit::EventCount>> m_Events;
};

// Returns all families, including those without samples.
std::vector<Family> CollectMetrics(const MetricInput& input);

}  // namespace Console
