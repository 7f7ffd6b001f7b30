// Lists of the host's numeric identifiers. Identifiers.h generates enumerators from them, and the
// host kit its message tables, so the two always agree. The lists are specific to this SDK.
//
// The host defines the numbers: entries may be added, but never renumbered.
#pragma once

#include "host/own/EventList.h"
#include "host/own/PropertyList.h"
#include "host/own/ValueList.h"

// clang-format off

// Results of commands.
#define PI_ERRORS(X) \
  /* Returned by any command. */ \
  X(ERR_GENERAL, 20000) \
  X(ERR_NO_SUPPORTED_HARDWARE, 20001) \
  X(ERR_INVALID_COMMAND, 20002) \
  X(ERR_COMMAND_ERROR, 20003) \
  X(ERR_INVALID_PROPERTY, 20004) \
  X(ERR_INVALID_OPERATION, 20005) \
  X(ERR_MEMORY_ERROR, 20007) \
  X(ERR_INVALID_OBJECT_ID, 20008) \
  /* Returned by CMD_INITIALIZE. */ \
  X(ERR_LOCK_INITIALIZATION_FAILED, 20011) \
  X(ERR_API_INITIALIZATION_FAILED, 20012) \
  /* Returned by operations. */ \
  X(ERR_ADAPTER_BUSY, 20031) \
  X(ERR_LOCATE_IN_PROGRESS, 20040) \
  X(ERR_NO_LOCATE_STARTED, 20041) \
  X(ERR_PHYSICALDRIVE_NOT_AVAILABLE, 20042)

// Operations.
#define PI_OPERATIONS(X) \
  /* On the plug-in object. */ \
  X(OP_GET_EVENTS, 50002) \
  /* On a physical drive. */ \
  X(OP_FORMAT_DEVICE, 50026) \
  X(OP_MAKE_ONLINE, 50029) \
  X(OP_MAKE_OFFLINE, 50030) \
  /* On an adapter: its locate LED, and its jobs. */ \
  X(OP_LOCATE_DEVICE, 50034) \
  X(OP_STOP_LOCATE_DEVICE, 50035) \
  X(OP_ATTACH, 50126) \
  X(OP_DETACH, 50127) \
  X(OP_FORCE_DETACH, 50128)

// clang-format on
