// The host's message tables: names, captions and explanations of the host's numbers.
//
// The tables contain every number of the lists in host/own/IdentifierLists.h, and the special low
// numbers of results, events, operations and choices. For any other number, the functions return an
// empty string or 0 unless their comment names another result. All are thread-safe.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "host/PluginInterface.h"
#include "host/Visibility.h"

namespace HostKit {

// The kinds of numbers. `Property` includes the short names.
enum class Family { Error, Event, Operation, Property, Value };

// Returns all numbers of a family, in ascending order.
HOST_API std::vector<std::uint32_t> NumbersOf(Family family);

// Returns the identifier's name, such as "CTRL_NORMAL".
HOST_API std::string NameOf(Family family, std::uint32_t number);

// Returns a caption, such as "Chip temperature"; for an error, its message; for an event, its
// message, which may contain the placeholders %1 and %2.
HOST_API std::string CaptionOf(Family family, std::uint32_t number);

// Returns one or two sentences that explain the number to first-time readers. For an event, this is
// its message with NAME in place of each placeholder; for an error or a value that is not a reason,
// its caption.
HOST_API std::string MeaningOf(Family family, std::uint32_t number);

// Returns one or two sentences about what a person can do. Every error has advice, as does every
// reason for an adapter's status and every event that reports such a reason or is a warning or
// worse. Empty for everything else.
HOST_API std::string AdviceOf(Family family, std::uint32_t number);

// Returns the lowest severity with which an event is reported; information for an unknown number.
HOST_API PI::_SEVERITY SeverityOf(std::uint32_t event);

// Returns the reason for an adapter's status that an event reports, or 0.
HOST_API std::uint32_t ReasonOf(std::uint32_t event);

// Returns the event that reports the start of a reason, or 0.
HOST_API std::uint32_t EventOf(std::uint32_t reason);

// Returns the least severe status that this reason allows: PI::Value::OK if the reason does not
// affect the status, otherwise WARNING or FAILED. UNDEFINED for a number that is not a reason.
HOST_API PI::_VALUE_ID StatusOf(std::uint32_t reason);

// Returns the number with that name, ignoring case; 0 for an unknown name. A name shared by a
// property and a short name refers to the property.
HOST_API std::uint32_t NumberOf(Family family, const std::string& name);

// Returns the event's message with its placeholders filled in; an empty name appears as
// "(unnamed)".
HOST_API std::string MessageOf(const PI::CEvent& event);

// Returns the symbol of a unit, such as "°C" or "MiB".
HOST_API std::string UnitSymbol(PI::_UNITS unit);

// Returns the host message with that number, such as the question before an operation.
HOST_API std::string HostText(std::uint32_t number);

}  // namespace HostKit
