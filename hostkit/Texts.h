// The host's message tables: what people read for the numbers of the vocabulary.
//
// The tables hold every number of the lists in host/own/IdentifierLists.h, and of the special low
// numbers those that a result, an event, an operation or a choice may bear. All functions may be
// called from any thread.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "host/PluginInterface.h"
#include "host/Visibility.h"

namespace HostKit {

// `Property` holds the short names too.
enum class Family { Error, Event, Operation, Property, Value };

// All numbers of a family, rising.
HOST_API std::vector<std::uint32_t> NumbersOf(Family family);

// The identifier's name, such as "CTRL_NORMAL"; empty for a number outside the tables.
HOST_API std::string NameOf(Family family, std::uint32_t number);

// A caption in plain words, such as "Chip temperature"; for an error a sentence, for an event a
// sentence with the places %1 and %2. Empty for a number outside the tables.
HOST_API std::string CaptionOf(Family family, std::uint32_t number);

// What it means, in a sentence or two for somebody who meets it first; for an event with NAME in
// its places, for a plain value its caption. Empty for a number outside the tables.
HOST_API std::string MeaningOf(Family family, std::uint32_t number);

// What a person can do about it, in a sentence or two: there for every error, every value that an
// adapter tells as a reason for its status, and every event that tells of such a reason or is of
// warning severity or worse. Empty for everything else.
HOST_API std::string AdviceOf(Family family, std::uint32_t number);

// The severity that an event has at least; information for a number outside the tables.
HOST_API PI::_SEVERITY SeverityOf(std::uint32_t event);

// The reason for an adapter's status that an event tells of; 0 when it tells of none.
HOST_API std::uint32_t ReasonOf(std::uint32_t event);

// The event with which a reason begins; 0 when none tells of it.
HOST_API std::uint32_t EventOf(std::uint32_t reason);

// The best status that an adapter has while it tells a reason: PI::Value::OK for one that does not
// make it worse, else WARNING or FAILED. UNDEFINED for what is not a reason.
HOST_API PI::_VALUE_ID StatusOf(std::uint32_t reason);

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
