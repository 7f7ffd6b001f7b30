// The reasons that can be acknowledged.
#pragma once

#include <string>
#include <vector>

namespace Console {

// Returns the names of all reasons for an adapter's status, such as "TEMPERATURE_ABOVE_WARN", and
// the two that apply to the entire card, "MISSING" and "UNREADABLE". Thread-safe.
const std::vector<std::string>& AcknowledgeableReasons();

}  // namespace Console
