// Conversion of a property record, in the type and unit that the plug-in chose, to a value in base
// units.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "console/model/Value.h"
#include "host/PluginInterface.h"

namespace Console {

// The value of `property` as a `measure`; unknown if its type or unit does not match.
Value Convert(const PI::CProperty& property, Measure measure, UnknownEncoding unknown);

// What a property measures, judged by its type and unit.
Measure NaturalMeasure(const PI::CProperty& property);

// The name of a choice, or its number if it has no name.
std::string ChoiceName(std::int32_t value);

// A whole number of zero or more without a unit of its own.
std::optional<std::uint64_t> CountOf(const PI::CProperty& property, UnknownEncoding unknown);

}  // namespace Console
