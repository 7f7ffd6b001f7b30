// Code shared by `ack` and `unack`.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "console/base/Failure.h"
#include "console/commands/StoredCard.h"
#include "console/render/CommandResult.h"
#include "console/report/CommandContext.h"

namespace Console {

// Returns `reason` if it can be acknowledged. Otherwise throws the `Failure` that
// `UnknownReasonFailure` returns. `command` is the name of the command.
const std::string& RequireReason(const std::string& command, const std::string& reason);
// Returns the usage error for a reason that does not exist.
Failure UnknownReasonFailure(const std::string& command, const std::string& reason);

// Returns the acknowledgment of this card and reason that is in effect, or empty.
std::optional<Service::Acknowledgment> FindAcknowledgment(Service::StoredState& state,
                                                          const std::string& serial,
                                                          const std::string& reason);

// Like the function above, for a list of acknowledgments; null if there is none.
const Service::Acknowledgment* FindAcknowledgment(const std::vector<Service::Acknowledgment>& all,
                                                  const std::string& serial,
                                                  const std::string& reason);

// Returns all acknowledgments in effect. Without a usable database, nothing is acknowledged, so no
// problem is hidden: the failure is added as an error. Throws `Failure` on a timeout.
std::vector<Service::Acknowledgment> ReadAcknowledgments(Context& context);

// Returns who acknowledged a problem, until when, and the note.
std::string AcknowledgmentText(const Service::Acknowledgment& acknowledgment);

// Returns an acknowledgment as in all documents.
Json AcknowledgmentJson(const Service::Acknowledgment& acknowledgment);

// Whether a command left an acknowledgment unchanged, changed it, or would have changed it without
// --dry-run.
enum class AckEffect { None, Changed, WouldAcknowledge, WouldRemove };

// Returns the result of the command: the acknowledgment that is in effect afterwards, if any, and
// the effect.
CommandResult AcknowledgedResult(const Context& context, const StoredCard& card,
                                 const std::string& reason,
                                 const std::optional<Service::Acknowledgment>& now,
                                 AckEffect effect);

// Runs `run` for each card that an argument before the reason names; "all" names all adapters.
// Throws `Failure` if a name is wrong.
CommandResult RunForCards(
    Context& context,
    const std::function<CommandResult(Service::StoredState& state, const StoredCard& card)>& run);

}  // namespace Console
