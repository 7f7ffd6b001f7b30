// Confirmation before a card is changed.
#pragma once

#include <string>

#include "console/change/KnownOperations.h"
#include "console/report/CommandContext.h"

namespace Console {

// Names for people: the object with its name, serial number and place.
std::string Described(const Model& model, const Object& object);

// What the user must retype before a drive is erased: the serial number of its card, or the drive's
// id if the card has no serial number.
std::string ConfirmationWord(const Model& model, const Object& object);

// Throws `Failure` with exit code 4 when the system uses a block device of the card, naming the
// user. `what` is "detach a0".
void RequireNotInUse(const Model& model, const Object& object, const std::string& what);

// Asks `question`, which may have several lines, with [y/N], unless --yes was given. Throws
// `Failure` with exit code 4 for any other answer, and when no prompt is possible.
void RequireConfirmation(const Context& context, const std::string& what,
                         const std::string& question);

// Shows `plan` and prompts for `word`, unless --confirm gave it; --yes does not count. Throws like
// `RequireConfirmation`.
void RequireRetyped(const Context& context, const std::string& what, const std::string& plan,
                    const std::string& word);

}  // namespace Console
