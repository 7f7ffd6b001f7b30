// The host's numbers that a card plug-in uses.
//
// Numbers and names are the host's. The namespaces around them are ours: a plug-in that is also
// built for other hosts defines its own. Fields marked "carried" in PluginInterface.h hold further
// numbers, which have no enumerators.
#pragma once

#include <cstdint>

#include "host/own/IdentifierLists.h"

namespace PI {

// A row may have texts after its number.
#define PI_FIRST(first, ...) first
#define PI_ENUMERATOR(name, ...) name = PI_FIRST(__VA_ARGS__, 0),

// Results of `IPLUGINAPI::Execute`. Everything but SUCCESS means that the command failed; which
// outputs it then leaves, `_COMMAND` says.
enum _ERROR : std::uint32_t { SUCCESS = 0, PI_ERRORS(PI_ENUMERATOR) };

// Operations on objects, `COperation::m_OperationID`.
enum _OPERATION_ID : std::uint32_t { OP_UNDEFINED = 1, PI_OPERATIONS(PI_ENUMERATOR) };

// The same name occurs in several of the families below, so each has its own namespace.

// What happened to an object, `CEvent::m_EventID`.
namespace Event {
enum _EVENT_ID : std::uint32_t {
  UNDEFINED = 1,
  CONNECTED = 2,
  DISCONNECTED = 3,
  UNEXPECTED_DISCONNECT = 4,
  TEST_TRAP = 5,
  PI_EVENTS(PI_ENUMERATOR)
};
}  // namespace Event

// What a property is, `CProperty::m_PropertyID`. UNDEFINED also selects all properties of an
// object. The frames and separators structure the host's display.
namespace Property {
enum _PROPERTY_ID : std::uint32_t {
  FRAME_START = 0,
  FRAME_END = 1,
  UNDEFINED = 1,
  SEPARATOR_START = 2,
  SEPARATOR_END = 3,
  PI_PROPERTIES(PI_ENUMERATOR)
};
}  // namespace Property

// Shorter names under which properties are shown, `CProperty::m_NameID`.
namespace ShortName {
enum _SHORT_NAME_ID : std::uint32_t { PI_SHORT_NAMES(PI_ENUMERATOR) };
}  // namespace ShortName

// Values of a choice, `CChoiceData::m_Value`.
namespace Value {
enum _VALUE_ID : std::int32_t { UNDEFINED = 1, PI_VALUES(PI_ENUMERATOR) };
}  // namespace Value

#undef PI_ENUMERATOR
#undef PI_FIRST

using Event::_EVENT_ID;
using Property::_PROPERTY_ID;
using ShortName::_SHORT_NAME_ID;
using Value::_VALUE_ID;

// From here on only the numbers are the host's; it has no enumerators for them, or we do not know
// their names.

// Commands of `IPLUGINAPI::Execute`, and what their payload points to. Any other number is refused
// with ERR_INVALID_COMMAND. The lists that a command fills are empty after a failure.
enum _COMMAND : std::uint32_t {
  CMD_INITIALIZE = 1,       // std::vector<CAdapterID>, filled: one element per adapter
  CMD_SET_ADAPTER_IDS = 2,  // std::vector<CAdapterID>, read: with the global numbers
  CMD_DEINITIALIZE = 3,     // nothing
  CMD_GET_TOPOLOGY = 4,     // std::vector<CObject>, filled: all objects
  // These need the id of an object.
  CMD_GET_PROPERTIES = 5,     // std::vector<CProperty>, filled
  CMD_GET_PROPERTY = 6,       // CProperty: `m_PropertyID` is read, then the record is filled
  CMD_SET_PROPERTY = 7,       // CProperty, read
  CMD_GET_OPERATIONS = 8,     // std::vector<COperation>, filled
  CMD_CHECK_OPERATION = 9,    // COperation, read: could it be executed now?
  CMD_EXECUTE_OPERATION = 10  // COperation, read; OP_GET_EVENTS also fills `m_Events`
};

// Kinds of object, `CObject::m_ObjectType`.
enum _OBJECT_TYPE : std::uint32_t {
  OBJECT_PLUGIN = 19006,
  OBJECT_PHYSICAL_DRIVE = 19018,
  OBJECT_ADAPTER = 19038
};

// Severities of events, `CEvent::m_Severity`.
enum _SEVERITY : std::uint32_t {
  SEVERITY_INFORMATION = 2,
  SEVERITY_WARNING = 3,
  SEVERITY_ERROR = 4
};

// Units of values, `CProperty::m_Units`. A host has more of them.
enum _UNITS : std::uint32_t {
  UNITS_DEGREES_CELSIUS = 21000,
  UNITS_MEGABYTES = 21002,  // of 2^20 bytes
  UNITS_SECONDS = 21007,
  UNITS_PERCENT = 21010,
  UNITS_BYTES = 21025,
  UNITS_WATTS = 21028
};

}  // namespace PI
