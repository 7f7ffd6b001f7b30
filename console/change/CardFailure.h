// Messages for commands that failed because of a card.
#pragma once

#include <string>
#include <vector>

#include "console/base/Failure.h"
#include "console/model/Model.h"
#include "console/plugin/CardError.h"

namespace Console {

// What a failed call to the card library says about the cause.
enum class CardCause {
  Permission,
  TimedOut,
  InUse,
  NotFound,
  WrongState,
  BadValue,
  NotSupported,
  NoMemory,
  Unknown
};

// Returns the cause of an error, from the library's reason or, if that says nothing, from its code.
CardCause CauseOf(const CardError& error);

// Returns the failure of the action `what`, such as "detach a0", with the exit code and the advice
// of the cause. `id` is used if the cause is unknown, or if the card is in use. `advice` follows
// the cause's own.
Failure CardFailure(const std::string& id, const std::string& what, const CardError& error,
                    const std::vector<std::string>& advice = {});

// Returns the failure of the action `what` on a card that cannot be read, whose state is therefore
// unknown. Call only for such a card. The exit code is that of the cause.
Failure UnreadableFailure(const std::string& what, const Object& card);

}  // namespace Console
