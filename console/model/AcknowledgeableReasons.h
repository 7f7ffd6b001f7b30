// Problems that can be acknowledged.
#pragma once

#include <string>
#include <vector>

namespace Console {

// Returns the names of all reasons for an adapter's status, such as "TEMPERATURE_ABOVE_WARN", and
// of the states of a complete card: "MISSING" and "UNREADABLE". Thread-safe.
const std::vector<std::string>& AcknowledgeableReasons();

}  // namespace Console
