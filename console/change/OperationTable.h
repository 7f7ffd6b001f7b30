// What this host can do to cards: a row for each operation, and how the plug-in's refusals read.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "console/base/Failure.h"
#include "console/model/Model.h"
#include "console/plugin/Session.h"

namespace Console {

// What it takes to be allowed: nothing, a yes, or the serial number.
enum class Risk { Low, Medium, High };

// What an operation changes.
enum class Aspect { Nothing, LocateLed, Card, Units, Data };

struct OperationRow {
  std::uint32_t m_Number;
  Kind m_Kind;  // of the objects that have it
  Aspect m_Aspect;
  Risk m_Risk;
  const char* m_Goal;           // the state afterwards, as `StateOf` names it
  const char* m_Verb;           // "attach"
  const char* m_Doing;          // "attaching"
  const char* m_Only;           // what is missing when the plug-in finds the state wrong
  std::uint32_t m_Question;     // number of a host text, 0: none
  std::uint32_t m_FailedEvent;  // of a job that goes on after the call; 0: the call does it all
  bool m_TakesAway;             // the system loses the drive
};

// The row of an operation, or null for one of which this host knows nothing.
const OperationRow* FindOperation(std::uint32_t number);

// "OP_DETACH", or the number of an operation without a name.
std::string OperationName(std::uint32_t number);

// An operation by name, with or without OP_ in front, or by number. Throws `Failure`.
std::uint32_t ResolveOperation(const Object& object, const std::string& text);

// The state of an object in one aspect, asked of the plug-in now: "on" and "off" for the light,
// "attached", "detached" or an activity for the card, "online", "offline" or "partly online" for
// the storage units. Empty when it is not known.
std::string StateOf(Session& session, std::uint64_t object, Aspect aspect);

// What the plug-in's check said against it, for people; `what` is "detaching a0". Refusals end with
// exit code 4, errors of the card with 1.
Failure CheckFailure(const std::string& what, const OperationRow* row, const std::string& state,
                     std::uint32_t error);

}  // namespace Console
