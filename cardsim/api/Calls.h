// The card library calls of this process: log, hook and requested failures. Thread-safe.
#pragma once

#include <memory>

#include "cardsim/cardsim.h"

namespace CardSim {

// Whether calls may be logged, hooked or made to fail. Cheap, because every call checks it.
bool IsWatched();

// The function that runs before each call, or null.
using Hook = std::shared_ptr<const std::function<void(const Call&)>>;

// Logs the call. Returns the hook to run for it.
Hook LogCall(const Call& call);

// Counts the call to `function`, and throws the `Refusal` that `FailCall` requested for it, if any.
void ThrowIfRequestedToFail(const std::string& function);

// Clears the log, the hook and the requested failures, and starts logging.
void ResetCalls();

}  // namespace CardSim
