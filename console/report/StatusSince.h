// When the current status of an object began, from the event log.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "console/model/Health.h"
#include "console/plugin/EventLogClient.h"

namespace Console {

// The time of the event that started the current status, in milliseconds since the epoch. `events`
// are those of the object, in order of logging. Empty unless the log has the start of every reason
// for the status: the log has only what began while a host was running.
std::optional<std::uint64_t> StatusSince(const Health& health,
                                         const std::vector<LoggedEvent>& events);

}  // namespace Console
