// The host's message tables: what people read for the host's numbers.
//
// The tables have every number of the lists in host/own/IdentifierLists.h, and the special low
// numbers that a result, an event, an operation or a choice can have. For any other number the
// functions return an empty text or 0. All may be called from any thread.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "host/PluginInterface.h"
#include "host/Visibility.h"

namespace HostKit {

// The kinds of numbers. `Property` includes the short names.
enum class Family { Error, Event, Operation, Property, Value };

// All numbers of a family, in ascending order.
HOST_API std::vector<std::uint32_t> NumbersOf(Family family);

// The identifier's name, such as "CTRL_NORMAL".
HOST_API std::string NameOf(Family family, std::uint32_t number);

// A caption, such as "Chip temperature"; for an error a sentence, for an event a sentence with the
// placeholders %1 and %2.
HOST_API std::string CaptionOf(Family family, std::uint32_t number);

// What it means, in a sentence or two, for readers who see it for the first time. For an event, its
// sentence with NAME for its placeholders; for a plain value, its caption.
HOST_API std::string MeaningOf(Family family, std::uint32_t number);

// What a person can do about it, in a sentence or two. Every error has advice, every value that is
// a reason for an adapter's status, and every event that reports such a reason or has the severity
// of a warning or worse. Empty for everything else.
HOST_API std::string AdviceOf(Family family, std::uint32_t number);

// The lowest severity of an event; information for an unknown number.
HOST_API PI::_SEVERITY SeverityOf(std::uint32_t event);

// The reason for an adapter's status that an event reports, or 0.
HOST_API std::uint32_t ReasonOf(std::uint32_t event);

// The event that reports the start of a reason, or 0.
HOST_API std::uint32_t EventOf(std::uint32_t reason);

// The best status of an adapter with that reason: PI::Value::OK for one that does not make it
// worse, else WARNING or FAILED. UNDEFINED for a number that is not a reason.
HOST_API PI::_VALUE_ID StatusOf(std::uint32_t reason);

// The number of a name, in any case; 0 for an unknown name. A name that a property and a short name
// share means the property.
HOST_API std::uint32_t NumberOf(Family family, const std::string& name);

// The event's sentence with its placeholders filled in, an empty text as "(unnamed)".
HOST_API std::string MessageOf(const PI::CEvent& event);

// The symbol of a unit, such as "°C" or "MiB".
HOST_API std::string UnitSymbol(PI::_UNITS unit);

// A host text, such as the question before an operation, by its number.
HOST_API std::string HostText(std::uint32_t number);

}  // namespace HostKit
