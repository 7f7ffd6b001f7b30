// The start time of an object's current status, from the event log.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "console/model/Health.h"
#include "console/plugin/EventLogClient.h"

namespace Console {

// Returns the time of the event that started the current status, in milliseconds since the epoch.
// `events` are the events of the object, in the order of the log. Returns empty if the log lacks
// the start of a reason for the status, because events are logged only while a host is running.
std::optional<std::uint64_t> StatusSince(const Health& health,
                                         const std::vector<LoggedEvent>& events);

}  // namespace Console
