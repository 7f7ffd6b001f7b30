// Captions of properties and short names, and symbols of units.
#pragma once

#include "host/Identifiers.h"
#include "hostkit/Units.h"
#include "hostkit/texts/TextRow.h"

namespace HostKit {

#define HOSTKIT_CAPTION(name, number, caption, meaning) TextRow{number, caption},
inline constexpr std::array kPropertyTexts{PI_PROPERTIES(HOSTKIT_CAPTION)
                                               PI_SHORT_NAMES(HOSTKIT_CAPTION)};
#undef HOSTKIT_CAPTION

inline constexpr std::array kUnitSymbols{
    TextRow{PI::UNITS_DEGREES_CELSIUS, "°C"},
    TextRow{UNITS_KILOBYTES, "KiB"},
    TextRow{PI::UNITS_MEGABYTES, "MiB"},
    TextRow{UNITS_GIGABYTES, "GiB"},
    TextRow{UNITS_TERABYTES, "TiB"},
    TextRow{UNITS_PETABYTES, "PiB"},
    TextRow{PI::UNITS_SECONDS, "s"},
    TextRow{PI::UNITS_PERCENT, "%"},
    TextRow{PI::UNITS_BYTES, "B"},
    TextRow{PI::UNITS_WATTS, "W"},
};

static_assert(NumbersAreAscending(kPropertyTexts) && NumbersAreAscending(kUnitSymbols));

}  // namespace HostKit
