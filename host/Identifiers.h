// Numeric identifiers of the host that a card plug-in uses.
//
// The host defines the numbers and names. The namespaces are specific to this SDK; a plug-in that
// is also built for other hosts must define its own. Fields marked "host-only" in PluginInterface.h
// contain further numbers, which have no enumerators.
#pragma once

#include <cstdint>

#include "host/own/IdentifierLists.h"

namespace PI {

// Each list entry starts with a name and a number. Further elements are for the host kit's texts.
#define PI_FIRST(first, ...) first
#define PI_ENUMERATOR(name, ...) name = PI_FIRST(__VA_ARGS__, 0),

// Results of `IPLUGINAPI::Execute`. Any value other than SUCCESS means that the command failed; see
// `_COMMAND` for its outputs in that case.
enum _ERROR : std::uint32_t { SUCCESS = 0, PI_ERRORS(PI_ENUMERATOR) };

// Operations on objects, for `COperation::m_OperationID`.
enum _OPERATION_ID : std::uint32_t { OP_UNDEFINED = 1, PI_OPERATIONS(PI_ENUMERATOR) };

// The following enumerations have names in common, so each has its own namespace.

// Types of events, for `CEvent::m_EventID`.
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

// Properties, for `CProperty::m_PropertyID`. UNDEFINED also selects all properties of an object.
// The frames and separators structure the host's display.
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

// Short display names of properties, for `CProperty::m_NameID`.
namespace ShortName {
enum _SHORT_NAME_ID : std::uint32_t { PI_SHORT_NAMES(PI_ENUMERATOR) };
}  // namespace ShortName

// Values of choices, for `CChoiceData::m_Value`.
namespace Value {
enum _VALUE_ID : std::int32_t { UNDEFINED = 1, PI_VALUES(PI_ENUMERATOR) };
}  // namespace Value

#undef PI_ENUMERATOR
#undef PI_FIRST

using Event::_EVENT_ID;
using Property::_PROPERTY_ID;
using ShortName::_SHORT_NAME_ID;
using Value::_VALUE_ID;

// In the following enumerations, the host defines only the numbers. It has no enumerators for them,
// or their names are not known here.

// Commands of `IPLUGINAPI::Execute`, each with the type of its payload. Any other number is
// rejected with ERR_INVALID_COMMAND. After a failure, lists that the command would have filled are
// empty.
enum _COMMAND : std::uint32_t {
  CMD_INITIALIZE = 1,       // std::vector<CAdapterID>, filled with one element per adapter
  CMD_SET_ADAPTER_IDS = 2,  // std::vector<CAdapterID>, read; contains the global numbers
  CMD_DEINITIALIZE = 3,     // no payload
  CMD_GET_TOPOLOGY = 4,     // std::vector<CObject>, filled with all objects
  // The following commands require the id of an object.
  CMD_GET_PROPERTIES = 5,     // std::vector<CProperty>, filled
  CMD_GET_PROPERTY = 6,       // CProperty; reads `m_PropertyID`, then fills the record
  CMD_SET_PROPERTY = 7,       // CProperty, read
  CMD_GET_OPERATIONS = 8,     // std::vector<COperation>, filled
  CMD_CHECK_OPERATION = 9,    // COperation, read; succeeds if it could be executed now
  CMD_EXECUTE_OPERATION = 10  // COperation, read; OP_GET_EVENTS also fills `m_Events`
};

// Types of objects, for `CObject::m_ObjectType`.
enum _OBJECT_TYPE : std::uint32_t {
  OBJECT_PLUGIN = 19006,
  OBJECT_PHYSICAL_DRIVE = 19018,
  OBJECT_ADAPTER = 19038
};

// Severities of events, for `CEvent::m_Severity`.
enum _SEVERITY : std::uint32_t {
  SEVERITY_INFORMATION = 2,
  SEVERITY_WARNING = 3,
  SEVERITY_ERROR = 4
};

// Units of values, for `CProperty::m_Units`. Hosts have more units than these.
enum _UNITS : std::uint32_t {
  UNITS_DEGREES_CELSIUS = 21000,
  UNITS_MEGABYTES = 21002,  // 2^20 bytes
  UNITS_SECONDS = 21007,
  UNITS_PERCENT = 21010,
  UNITS_BYTES = 21025,
  UNITS_WATTS = 21028
};

}  // namespace PI
