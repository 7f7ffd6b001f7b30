// The operations that this host knows, and the messages for operations that the plug-in rejects.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "console/base/Failure.h"
#include "console/model/Model.h"
#include "console/plugin/Session.h"

namespace Console {

// The confirmation that an operation needs: none, a yes, or the serial number.
enum class Risk { Low, Medium, High };

// The state that an operation changes.
enum class Aspect { Nothing, LocateLed, Card, Units, Data };

struct OperationRow {
  std::uint32_t m_Number;
  Kind m_Kind;  // kind of object that the operation applies to
  Aspect m_Aspect;
  Risk m_Risk;
  const char* m_Goal;              // the target state, as returned by `StateOf`
  const char* m_Verb;              // "attach"
  const char* m_Doing;             // "attaching"
  const char* m_WrongStateReason;  // the reason shown if the plug-in reports a wrong state
  std::uint32_t m_Question;        // number of the host text for the prompt; 0: none
  // The event for a failure of the job that continues after the call; 0 if there is no such job.
  std::uint32_t m_FailedEvent;
  bool m_MakesUnavailable;  // whether it makes the drive unavailable to the system
};

// Returns the row of an operation, or null if this host does not know the operation.
const OperationRow* FindOperation(std::uint32_t number);

// Returns the name of an operation, such as "OP_DETACH", or its number if it has no name.
std::string OperationName(std::uint32_t number);

// Returns the number of the operation with the name `text`, with or without the prefix OP_. `text`
// may also be a number. Throws `Failure` for an unknown name.
std::uint32_t ResolveOperation(const Object& object, const std::string& text);

// Returns the name of an aspect's state in JSON.
const char* AspectName(Aspect aspect);

// Queries the plug-in for the current state of an object in one aspect: "on" or "off" for the
// locate LED; "attached", "detached" or an activity for the card; "online", "offline" or "partly
// online" for the storage units. Returns an empty string if unknown.
std::string StateOf(Session& session, std::uint64_t object, Aspect aspect);

// Returns the failure for an error that the plug-in's check of the session's last command reported.
// `what` names the action, such as "detach a0". The exit code is 4 for a refusal, and that of the
// cause for a card error.
Failure CheckFailure(const Session& session, const std::string& what, const OperationRow* row,
                     const std::string& state, std::uint32_t error);

// Returns the refusal of the action `what` because another card is being attached or detached, with
// the card and how to wait for it if it can be found.
Failure OtherCardFailure(Session& session, const Model& model, const std::string& what);

// Returns the failure for an error of the session's last command, with the card library's reason if
// it is known.
Failure CommandFailure(const Session& session, const std::string& what, std::uint32_t error);

}  // namespace Console
