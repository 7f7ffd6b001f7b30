// Defines `CEvent::State`, which the toolkit's header only declares.
#pragma once

#include "host/Toolkit.h"
#include "hostkit/toolkit/WaitObjects.h"

namespace MBX::Threading {

struct CEvent::State : HostKit::EventState {};

}  // namespace MBX::Threading
