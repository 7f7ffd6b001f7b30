// Detects whether a thread still makes progress.
#pragma once

#include <chrono>
#include <functional>
#include <utility>

#include "base/Mutex.h"

namespace Service {

// The thread announces the maximum duration of each step, including timeouts. The thread counts as
// stuck if a step exceeds its duration by more than `kSlack`. A hung card alone does not count,
// because the timeouts are part of the durations. Thread-safe.
class ProgressWatch {
 public:
  using Clock = std::chrono::steady_clock;

  // Extra time for each step, for a busy machine.
  static constexpr std::chrono::seconds kSlack{30};

  // The first step is the start of the thread. `now` returns the time.
  explicit ProgressWatch(std::function<Clock::time_point()> now = &Clock::now)
      : m_Now(std::move(now)), m_End(m_Now() + kSlack) {}

  // Starts a step that takes at most this time.
  void Begin(std::chrono::milliseconds maximum) {
    const Base::MutexLock lock(m_Lock);
    m_End = m_Now() + maximum + kSlack;
  }

  // Whether the current step has exceeded its duration and the extra time.
  bool IsStuck() const {
    const Base::MutexLock lock(m_Lock);
    return m_Now() > m_End;
  }

 private:
  const std::function<Clock::time_point()> m_Now;
  mutable Base::Mutex m_Lock;
  Clock::time_point m_End HOST_GUARDED_BY(m_Lock);
};

}  // namespace Service
