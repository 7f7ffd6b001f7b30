// Since when an object is as it is, from the event log.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "console/model/Health.h"
#include "console/plugin/EventHistory.h"

namespace Console {

// The time of the event with which the present status began, in milliseconds since the epoch.
// `events` are those of the object, in order of logging. Nothing when the log does not tell it of
// every reason for the status: it is only known for what began while a host ran.
std::optional<std::uint64_t> StatusSince(const Health& health,
                                         const std::vector<LoggedEvent>& events);

}  // namespace Console
