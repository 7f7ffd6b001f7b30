// Compares the identifiers that host/ declares with the lists, which must be complete.
#include "host/Identifiers.h"
#include "tests/host/NumberChecks.h"

namespace {

namespace Errors {
namespace in = PI;
CHECK_ALL(PI::_ERROR, HOST_ERRORS, HOST_LOW_ERRORS);
}  // namespace Errors

namespace Events {
namespace in = PI::Event;
CHECK_ALL(PI::_EVENT_ID, HOST_EVENTS, HOST_LOW_EVENTS);
}  // namespace Events

namespace Operations {
namespace in = PI;
CHECK_ALL(PI::_OPERATION_ID, HOST_OPERATIONS, HOST_LOW_OPERATIONS);
}  // namespace Operations

namespace Properties {
namespace in = PI::Property;
CHECK_ALL(PI::_PROPERTY_ID, HOST_PROPERTIES, HOST_LOW_PROPERTIES);
static_assert(PI::Property::FRAME_END == 1);
}  // namespace Properties

namespace ShortNames {
namespace in = PI::ShortName;
CHECK_ALL(PI::_SHORT_NAME_ID, HOST_SHORT_NAMES, NO_LOW_NUMBERS);
}  // namespace ShortNames

namespace Values {
namespace in = PI::Value;
CHECK_ALL(PI::_VALUE_ID, HOST_VALUES, HOST_LOW_VALUES);
}  // namespace Values

namespace Commands {
namespace in = PI;
CHECK_ALL(PI::_COMMAND, HOST_COMMANDS, NO_LOW_NUMBERS);
}  // namespace Commands

namespace ObjectTypes {
namespace in = PI;
CHECK_ALL(PI::_OBJECT_TYPE, HOST_OBJECT_TYPES, NO_LOW_NUMBERS);
}  // namespace ObjectTypes

namespace Severities {
namespace in = PI;
CHECK_ALL(PI::_SEVERITY, HOST_SEVERITIES, NO_LOW_NUMBERS);
}  // namespace Severities

// The host kit has more units, which `CPluginHelper` returns for byte counts.
namespace Units {
namespace in = PI;
HOST_UNITS(CHECK)
}  // namespace Units

}  // namespace
