// Native threads and the machine's clocks.
#pragma once

#include "hostkit/toolkit/WaitScheduler.h"

namespace HostKit {

// The time mode at startup.
WaitScheduler& RealTime();

}  // namespace HostKit
