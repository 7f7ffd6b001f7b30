// How long a command waits for a plug-in that does not answer.
#pragma once

#include <chrono>
#include <optional>

#include "console/CommandLine.h"
#include "console/Deadline.h"

namespace Console {

struct Command;

// A limit that is not set never ends a wait.
struct TimeLimits {
  Deadline m_Whole;                                 // of all that is read
  std::optional<std::chrono::milliseconds> m_Call;  // of each call, from its start
  std::optional<std::chrono::milliseconds> m_Format;

  Deadline ForCall() const { return Deadline(m_Call).Sooner(m_Whole); }
};

// From --timeout and the kind of the command. Throws `Failure` for a wrong --timeout.
TimeLimits LimitsOf(const Command& command, const Options& options);

}  // namespace Console
