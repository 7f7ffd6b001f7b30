// Watching and bending the calls of this process: log, hook, and calls that fail by number. May be
// used by any thread.
#pragma once

#include <memory>

#include "cardsim/cardsim.h"

namespace CardSim {

// Whether anything below has work to do. A call asks this first and is done with it if not.
bool IsWatched();

// Runs before a call; may be none.
using Hook = std::shared_ptr<const std::function<void(const Call&)>>;

// Logs the call, and gives the hook to run for it.
Hook LogCall(const Call& call);

// Throws the `Refusal` that `FailCall` ordered for this call of `function`, if any.
void ThrowOrderedFailure(const std::string& function);

// Forgets all and begins to log.
void ResetCalls();

}  // namespace CardSim
