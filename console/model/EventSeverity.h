// How bad an event is, as the plug-in and as people say it.
#pragma once

#include <cstdint>

#include "console/model/Value.h"

namespace Console {

// "information", "warning", "error" or "unknown".
const char* SeverityName(std::uint32_t severity);

// The color class of a `PI::_SEVERITY`; neutral for any other number.
Severity EventSeverity(std::uint32_t severity);

}  // namespace Console
