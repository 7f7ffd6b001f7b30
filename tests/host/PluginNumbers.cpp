// The plug-in defines the numbers of the host and of the card library itself, so no shared header
// would catch a wrong one.
#include <iterator>

#include "Corvane/Src/CardNumbers.h"
#include "Corvane/Src/EventTable.h"
#include "Corvane/Src/HostNumbers.h"
#include "Corvane/Src/WaitResults.h"
#include "tests/host/NumberChecks.h"

namespace {

namespace own = NAMESPACE_Corvane::PI;

namespace Errors {
namespace in = own;
CHECK_ALL(own::_ERROR, HOST_ERRORS, HOST_LOW_ERRORS);
}  // namespace Errors

namespace Events {
namespace in = own::Event;
CHECK_ALL(own::_EVENT_ID, HOST_EVENTS, NO_LOW_NUMBERS);
}  // namespace Events

namespace Operations {
namespace in = own;
CHECK_ALL(own::_OPERATION_ID, HOST_OPERATIONS, NO_LOW_NUMBERS);
}  // namespace Operations

// The plug-in declares only this one of the low numbers: it selects all properties.
#define PLUGIN_LOW_PROPERTIES(X) X(UNDEFINED, 1)
namespace Properties {
namespace in = own::Property;
CHECK_ALL(own::Property::Id, HOST_PROPERTIES, PLUGIN_LOW_PROPERTIES);
}  // namespace Properties

namespace ShortNames {
namespace in = own::ShortName;
CHECK_ALL(own::ShortName::Id, HOST_SHORT_NAMES, NO_LOW_NUMBERS);
}  // namespace ShortNames

namespace Values {
namespace in = own::Value;
CHECK_ALL(own::Value::_VALUE_ID, HOST_VALUES, NO_LOW_NUMBERS);
}  // namespace Values

namespace ObjectTypes {
namespace in = own;
CHECK_ALL(own::_OBJECT_TYPE, HOST_OBJECT_TYPES, NO_LOW_NUMBERS);
}  // namespace ObjectTypes

namespace Severities {
namespace in = own;
CHECK_ALL(own::_SEVERITY, HOST_SEVERITIES, NO_LOW_NUMBERS);
}  // namespace Severities

#define VALUE_TYPES(X) X(VALUE_TYPE_CHOICE, 3) X(VALUE_TYPE_RANGE, 7)
namespace ValueTypes {
namespace in = own;
CHECK_ALL(own::_VALUE_TYPE, VALUE_TYPES, NO_LOW_NUMBERS);
}  // namespace ValueTypes

namespace CommandsAndUnits {
namespace in = own;
HOST_COMMANDS(CHECK)
HOST_UNITS(CHECK)
}  // namespace CommandsAndUnits

// The list omits the bits without a reason and an event of their own.
constexpr int kOmittedBits = 1;
static_assert(
    (HOST_STATUS_BITS(COUNT_ONE)) + kOmittedBits ==
        std::size(NAMESPACE_Corvane::kErrorBits) + std::size(NAMESPACE_Corvane::kWarningBits),
    "HOST_STATUS_BITS of tests/host/HostNumbers.h must contain every bit of EventTable.h");

#define CARD_STATES(X)  \
  X(kStateDetached, 0)  \
  X(kStateAttaching, 1) \
  X(kStateAttached, 2)  \
  X(kStateDetaching, 3) \
  X(kStateMinimal, 5)
namespace CardStates {
namespace in = NAMESPACE_Corvane;
CHECK_ALL(NAMESPACE_Corvane::CardStateNumber, CARD_STATES, NO_LOW_NUMBERS);
}  // namespace CardStates

static_assert(NAMESPACE_Corvane::kLibraryNotReady == 27);
static_assert(NAMESPACE_Corvane::kSizeModeOverformat == 11);
static_assert(NAMESPACE_Corvane::kErrorTextOffset == 8);
static_assert(NAMESPACE_Corvane::kErrorRecordSize == 1048);
static_assert(NAMESPACE_Corvane::kWaitSucceeded == 1);
static_assert(NAMESPACE_Corvane::kWaitTimedOut == 130);

}  // namespace
