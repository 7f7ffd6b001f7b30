// The host's message tables: what people read for the numbers of the vocabulary.
//
// The tables hold every number of the lists in host/Identifiers.h, and of the special low numbers
// those that a result, an event, an operation or a choice may bear. All functions may be called
// from any thread.
#pragma once

#include <cstdint>
#include <string>

#include "host/PluginInterface.h"
#include "host/Visibility.h"

namespace HostKit {

// `Property` holds the short names too.
enum class Family { Error, Event, Operation, Property, Value };

// The identifier's name, such as "CTRL_NORMAL"; empty for a number outside the tables.
HOST_API std::string NameOf(Family family, std::uint32_t number);

// A caption in plain words, such as "Chip temperature"; for an error a sentence, for an event a
// sentence with the places %1 and %2. Empty for a number outside the tables.
HOST_API std::string CaptionOf(Family family, std::uint32_t number);

// What a person can do about a reason that an adapter tells with its status, a sentence or two by
// the number of the reason's value. Empty for a value that is no reason.
HOST_API std::string AdviceOf(std::uint32_t value);

// The number of a name, compared without case; 0 when there is none. A name that a property and a
// short name share means the property.
HOST_API std::uint32_t NumberOf(Family family, const std::string& name);

// The event's sentence with its places filled in, an empty text as "(unnamed)". Empty for an event
// outside the tables.
HOST_API std::string MessageOf(const PI::CEvent& event);

// The symbol of a unit, such as "°C" or "MiB"; empty for a unit outside the tables.
HOST_API std::string UnitSymbol(PI::_UNITS unit);

// A host text such as the question before an operation, by its number; empty outside the tables.
HOST_API std::string HostText(std::uint32_t number);

}  // namespace HostKit
