// The cards as metrics, from one table of families.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "console/model/Model.h"
#include "hostkit/EventCounts.h"

namespace Console {

// What the samples of a family are, in the terms of OpenMetrics.
enum class MetricType { Gauge, Counter, Info, StateSet };

// A sample always has a known value; an unknown value has no sample.
struct Sample {
  std::vector<std::pair<std::string, std::string>> m_Labels;  // UTF-8, not escaped
  std::string m_Value;                                        // a decimal number
};

// One metric with all its samples.
struct Family {
  std::string m_Name;  // without the ending that the type gives to its samples
  MetricType m_Type;
  std::string m_Unit;  // empty: none
  std::string m_Help;  // one sentence, not escaped
  std::vector<Sample> m_Samples;
};

// What the metrics are made from.
struct MetricInput {
  const Model* m_pModel = nullptr;  // null: the plug-in cannot be used
  double m_StartSeconds = 0;        // of the plug-in, with its first scan
  std::vector<HostKit::EventCount> m_Events;
};

// All families, also those without a sample.
std::vector<Family> CollectMetrics(const MetricInput& input);

}  // namespace Console
