// Native threads and the machine's clocks.
#pragma once

#include "hostkit/toolkit/WaitScheduler.h"

namespace HostKit {

// The form at start.
WaitScheduler& RealTime();

}  // namespace HostKit
