// A pause before the next attempt to connect.
#pragma once

#include <chrono>

#include "console/base/StopSignals.h"

namespace Service {

// Returns false if the pause ended early: a stop signal arrived or a descriptor of `extra`
// is ready.
bool Pause(std::chrono::milliseconds time, const Console::WaitSet& extra);

}  // namespace Service
