// The numbers of the vocabulary are the host's: fixed, and all of them known here.
//
// Each switch names every enumerator of its enumeration and has no default, so that one without a
// line in HostNumbers.h does not compile, nor one that is gone.
#include "host/Identifiers.h"
#include "tests/host/HostNumbers.h"

namespace {

// Here `in` is the namespace of the enumerators of the list at hand.
#define CHECK(name, number) static_assert(in::name == (number), #name);
#define LINE(name, number) case in::name:

#define CHECK_ALL(enumeration, list, low_list)                             \
  list(CHECK) low_list(CHECK) constexpr bool IsKnown(enumeration number) { \
    switch (number) { list(LINE) low_list(LINE) return true; }             \
    return false;                                                          \
  }                                                                        \
  static_assert(!IsKnown(static_cast<enumeration>(99999)))

#define NONE_LOW(X)

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
CHECK_ALL(PI::_SHORT_NAME_ID, HOST_SHORT_NAMES, NONE_LOW);
}  // namespace ShortNames

namespace Values {
namespace in = PI::Value;
CHECK_ALL(PI::_VALUE_ID, HOST_VALUES, HOST_LOW_VALUES);
}  // namespace Values

namespace Commands {
namespace in = PI;
CHECK_ALL(PI::_COMMAND, HOST_COMMANDS, NONE_LOW);
}  // namespace Commands

namespace ObjectTypes {
namespace in = PI;
CHECK_ALL(PI::_OBJECT_TYPE, HOST_OBJECT_TYPES, NONE_LOW);
}  // namespace ObjectTypes

namespace Severities {
namespace in = PI;
CHECK_ALL(PI::_SEVERITY, HOST_SEVERITIES, NONE_LOW);
}  // namespace Severities

// The kit has units beside these, which the host's helper gives for byte counts.
namespace Units {
namespace in = PI;
HOST_UNITS(CHECK)
}  // namespace Units

// The lists themselves are whole.
#define COUNT_ONE(name, number) +1
static_assert(HOST_ERRORS(COUNT_ONE) == 14);
static_assert(HOST_EVENTS(COUNT_ONE) == 33);
static_assert(HOST_OPERATIONS(COUNT_ONE) == 9);
static_assert(HOST_PROPERTIES(COUNT_ONE) HOST_SHORT_NAMES(COUNT_ONE) == 59);
static_assert(HOST_VALUES(COUNT_ONE) == 84);
static_assert(HOST_COMMANDS(COUNT_ONE) == 10);
static_assert(HOST_UNITS(COUNT_ONE) == 6);

}  // namespace
