// The number types of the interface: an enum, a scoped enum and a typedef, so that the plug-in can
// rely on none of these.
#pragma once

#include "sdk/own/constants.h"

namespace PI {

enum _COMMAND { OWN_FIRST_COMMAND = 1, OWN_LAST_COMMAND = 10, OWN_COMMAND_ROOM = 0x7FFFFFFF };
enum class _PROPERTY_ID : unsigned int {};
typedef unsigned int _UNITS;

}  // namespace PI
