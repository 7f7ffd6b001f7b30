// Conversion of property records, in the plug-in's types and units, to values in base units.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "console/model/Value.h"
#include "host/PluginInterface.h"

namespace Console {

// Returns the value of `property` as a `kind`; unknown if its type or unit does not match.
Value Convert(const PI::CProperty& property, ValueKind kind, UnknownEncoding unknown);

// Returns the kind that the type and unit of a property imply.
ValueKind ImpliedKind(const PI::CProperty& property);

// Returns the name of a choice, or its number if it has no name.
std::string ChoiceName(std::int32_t value);

// Returns the value of a property as a non-negative integer. Returns empty if the value is not one,
// or if it encodes an unknown value.
std::optional<std::uint64_t> IntegerOf(const PI::CProperty& property, UnknownEncoding unknown);

}  // namespace Console
