// Metrics as the text that collectors read.
#pragma once

#include <string>
#include <vector>

#include "console/render/MetricFamilies.h"

namespace Console {

// "gauge", "counter", "info", "stateset".
const char* MetricTypeName(MetricType type);

// OpenMetrics 1.0, with its end mark.
std::string OpenMetricsText(const std::vector<Family>& families);

// The older text format 0.0.4, which has no units and neither stateset nor info families.
std::string PlainMetricsText(const std::vector<Family>& families);

}  // namespace Console
