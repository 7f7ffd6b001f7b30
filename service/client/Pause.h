// A pause before the next attempt to connect.
#pragma once

#include <chrono>

#include "console/base/StopSignals.h"

namespace Service {

// Returns false if the pause ended early: a stop signal arrived or one of `also` is ready.
bool Pause(std::chrono::milliseconds time, const Console::WaitSet& also);

}  // namespace Service
