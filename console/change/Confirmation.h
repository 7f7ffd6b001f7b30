// Confirmation before a card is changed.
#pragma once

#include <string>

#include "console/change/KnownOperations.h"
#include "console/report/CommandContext.h"

namespace Console {

// Describes an object for a prompt: selector, name, serial number, slot and PCI address.
std::string DescribeObject(const Model& model, const Object& object);

// Returns the text that the user must type before a drive is erased: the serial number of its card,
// or the drive's id if the card has no serial number.
std::string ConfirmationText(const Model& model, const Object& object);

// Throws `Failure` with exit code 4 if the system is using a block device of the card; the failure
// lists the users. `what` names the action, such as "detach a0".
void RequireNotInUse(const Model& model, const Object& object, const std::string& what);

// Unless --yes was given, prompts with `question`, which may have several lines, and [y/N]. Throws
// `Failure` with exit code 4 if the answer is not yes or if no prompt is possible.
void RequireConfirmation(const Context& context, const std::string& what,
                         const std::string& question);

// Returns whether --confirm was given. Throws `Failure` with exit code 4 if its value is not
// `expected`. Call before everything else that the command does, also with --dry-run.
bool HasConfirmed(const Context& context, const std::string& what, const std::string& expected);

// Shows `plan` and prompts for the text `expected`, unless `HasConfirmed`; --yes has no effect.
// Throws like `RequireConfirmation`.
void RequireTypedText(const Context& context, const std::string& what, const std::string& plan,
                      const std::string& expected);

}  // namespace Console
