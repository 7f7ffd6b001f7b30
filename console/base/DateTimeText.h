// Times in the form that people read most easily.
#pragma once

#include <cstdint>
#include <string>

#include "console/base/Timestamp.h"

namespace Console {

// Formats milliseconds since the epoch: "2026-11-20 05:31:00 UTC", or without a zone in local time.
std::string DateTimeText(std::uint64_t timeMs, TimeZone zone);

}  // namespace Console
