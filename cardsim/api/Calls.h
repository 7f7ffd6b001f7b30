// The card library calls of this process: log, hook and injected failures. Thread-safe.
#pragma once

#include <memory>

#include "cardsim/cardsim.h"

namespace CardSim {

// Whether calls may be logged, hooked or failed on purpose. Cheap, because every call checks it.
bool MayBeIntercepted();

// The function that runs before each call, or null.
using Hook = std::shared_ptr<const std::function<void(const Call&)>>;

// Logs the call. Returns the hook to run for it.
Hook LogCall(const Call& call);

// Counts the call to `function`. Throws `CallFailure` if `FailCall` requested a failure of this
// call.
void ThrowIfCallMustFail(const std::string& function);

// Clears the log, the hook and the injected failures, and starts logging.
void ResetCalls();

}  // namespace CardSim
