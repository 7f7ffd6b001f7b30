// The cards as metrics: one table of families, and the two text forms that collectors read.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "console/Model.h"
#include "hostkit/EventCounts.h"

namespace Console {

enum class MetricType { Gauge, Counter, Info, StateSet };

// "gauge", "counter", "info", "stateset".
const char* MetricTypeName(MetricType type);

// A sample has a value that is known; for what is unknown there is none.
struct Sample {
  std::vector<std::pair<std::string, std::string>> m_Labels;  // UTF-8, not escaped
  std::string m_Value;
};

struct Family {
  std::string m_Name;  // without the ending that the type gives to its samples
  MetricType m_Type;
  std::string m_Unit;  // empty: none
  std::string m_Help;
  std::vector<Sample> m_Samples;
};

// What the metrics are made from.
struct Observed {
  const Model* m_pModel = nullptr;  // null: the plug-in could not be asked
  double m_StartSeconds = 0;        // of the plug-in, with its first scan
  std::vector<HostKit::EventCount> m_Events;
};

// All families, also those without a sample.
std::vector<Family> CollectMetrics(const Observed& observed);

// OpenMetrics 1.0, with its end mark.
std::string OpenMetricsText(const std::vector<Family>& families);

// The older text format 0.0.4, which knows neither units nor the types of states and identities.
std::string PlainMetricsText(const std::vector<Family>& families);

}  // namespace Console
