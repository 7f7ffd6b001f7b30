// Time limits of a command, for a plug-in that does not respond.
#pragma once

#include <chrono>
#include <optional>

#include "console/base/Deadline.h"

namespace Console {

// A member without a value sets no limit.
struct TimeLimits {
  Deadline m_Total;                                   // for all reads together
  std::optional<std::chrono::milliseconds> m_Call;    // for each call, from its start
  std::optional<std::chrono::milliseconds> m_Format;  // for a format, from its start

  // Returns the deadline of a call that starts now: the earlier of `m_Call` from now and `m_Total`.
  Deadline ForCall() const { return Deadline(m_Call).Earlier(m_Total); }
};

}  // namespace Console
