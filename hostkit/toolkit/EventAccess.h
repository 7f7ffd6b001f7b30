// The event's state under the name that the toolkit's header gives it.
#pragma once

#include "host/Toolkit.h"
#include "hostkit/toolkit/WaitObjects.h"

namespace MBX::Threading {

struct CEvent::State : HostKit::EventState {};

}  // namespace MBX::Threading
