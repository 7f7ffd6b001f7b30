// Native threads and the machine's clocks.
#pragma once

#include "hostkit/toolkit/WaitScheduler.h"

namespace HostKit {

// Returns the scheduler of the time mode in which a process starts.
WaitScheduler& RealTimeScheduler();

}  // namespace HostKit
