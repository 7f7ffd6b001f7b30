// Metrics in the text formats that collectors read.
#pragma once

#include <string>
#include <vector>

#include "console/render/MetricFamilies.h"

namespace Console {

// Returns "gauge", "counter", "info" or "stateset".
const char* MetricTypeName(MetricType type);

// Renders the metrics as OpenMetrics 1.0, including the end marker.
std::string OpenMetricsText(const std::vector<Family>& families);

// Renders the metrics in the older text format 0.0.4, which does not have units, stateset families
// or info families.
std::string PlainMetricsText(const std::vector<Family>& families);

}  // namespace Console
