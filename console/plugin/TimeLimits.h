// How long a command waits for a plug-in that does not respond.
#pragma once

#include <chrono>
#include <optional>

#include "console/base/Deadline.h"

namespace Console {

// A limit that is not set never ends a wait.
struct TimeLimits {
  Deadline m_Total;                                   // of all reads together
  std::optional<std::chrono::milliseconds> m_Call;    // of each call, from its start
  std::optional<std::chrono::milliseconds> m_Format;  // of a format, from its start

  // The deadline of a call that starts now: the end of its own limit or of the total, whichever is
  // earlier. Without either, there is none.
  Deadline ForCall() const { return Deadline(m_Call).Earlier(m_Total); }
};

}  // namespace Console
