// Defines the type that the toolkit's header declares for the state of an event.
#pragma once

#include "host/Toolkit.h"
#include "hostkit/toolkit/WaitObjects.h"

namespace MBX::Threading {

struct CEvent::State : HostKit::EventState {};

}  // namespace MBX::Threading
