// Conversion of property records, in the plug-in's types and units, to values in base units.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "console/model/Value.h"
#include "host/PluginInterface.h"

namespace Console {

// Returns the value of `property` as a `measure`; unknown if its type or unit does not match.
Value Convert(const PI::CProperty& property, Measure measure, UnknownEncoding unknown);

// Returns the measure that the type and unit of a property imply.
Measure NaturalMeasure(const PI::CProperty& property);

// Returns the name of a choice, or its number if it has no name.
std::string ChoiceName(std::int32_t value);

// Returns a property as a non-negative integer. Returns empty if it is not one, or if it encodes an
// unknown value.
std::optional<std::uint64_t> CountOf(const PI::CProperty& property, UnknownEncoding unknown);

}  // namespace Console
