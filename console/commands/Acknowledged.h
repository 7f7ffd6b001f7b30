// Code shared by `ack` and `unack`.
#pragma once

#include <optional>
#include <string>

#include "console/base/Failure.h"
#include "console/commands/StoredCard.h"
#include "console/render/CommandResult.h"

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

// Returns an acknowledgment as in all documents.
Json AcknowledgmentJson(const Service::Acknowledgment& acknowledgment);

// Returns the result of the command: the acknowledgment that is in effect afterwards, if any, and
// whether the command changed it.
CommandResult AcknowledgedResult(const StoredCard& card, const std::string& reason,
                                 const std::optional<Service::Acknowledgment>& now, bool changed);

}  // namespace Console
