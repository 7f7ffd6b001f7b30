// Names and color classes of event severities.
#pragma once

#include <cstdint>

#include "console/model/Value.h"

namespace Console {

// Returns "information", "warning", "error" or "unknown".
const char* SeverityName(std::uint32_t severity);

// Returns the color class of a `PI::_SEVERITY`; `Neutral` for any other number.
Severity SeverityClass(std::uint32_t severity);

}  // namespace Console
