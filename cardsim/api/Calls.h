// The calls of this process: log, hook, and calls requested to fail. May be used by any thread.
#pragma once

#include <memory>

#include "cardsim/cardsim.h"

namespace CardSim {

// Whether any of the functions below has an effect. Cheap, for the start of every call.
bool IsWatched();

// Runs before a call; null if there is none.
using Hook = std::shared_ptr<const std::function<void(const Call&)>>;

// Logs the call. Returns the hook to run for it.
Hook LogCall(const Call& call);

// Counts the call of `function`, and throws the `Refusal` that `FailCall` requested for it, if any.
void ThrowIfRequestedToFail(const std::string& function);

// Forgets log, hook and orders, and begins to log.
void ResetCalls();

}  // namespace CardSim
