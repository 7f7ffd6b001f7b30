// The operations that this host knows, and the texts of the plug-in's refusals.
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

// What an operation changes.
enum class Aspect { Nothing, LocateLed, Card, Units, Data };

struct OperationRow {
  std::uint32_t m_Number;
  Kind m_Kind;  // of the objects that have it
  Aspect m_Aspect;
  Risk m_Risk;
  const char* m_Goal;        // the state afterwards, as `StateOf` names it
  const char* m_Verb;        // "attach"
  const char* m_Doing;       // "attaching"
  const char* m_Only;        // the precondition, if the plug-in reports a wrong state
  std::uint32_t m_Question;  // number of a host text, 0: none
  std::uint32_t
      m_FailedEvent;  // of a job that continues after the call; 0: the call does everything
  bool m_TakesAway;   // makes the drive unavailable to the system
};

// The row of an operation, or null if this host does not know it.
const OperationRow* FindOperation(std::uint32_t number);

// "OP_DETACH", or the number of an operation without a name.
std::string OperationName(std::uint32_t number);

// An operation by name, with or without OP_ in front, or by number. Throws `Failure`.
std::uint32_t ResolveOperation(const Object& object, const std::string& text);

// The current state of an object in one aspect, from the plug-in: "on" and "off" for the locate
// LED, "attached", "detached" or an activity for the card, "online", "offline" or "partly online"
// for the storage units. Empty when it is not known.
std::string StateOf(Session& session, std::uint64_t object, Aspect aspect);

// The failure for an error of the plug-in's check; `what` is "detach a0". Refusals have exit code
// 4, errors of the card 1.
Failure CheckFailure(const std::string& what, const OperationRow* row, const std::string& state,
                     std::uint32_t error);

}  // namespace Console
