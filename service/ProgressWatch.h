// Whether a thread still makes progress.
#pragma once

#include <chrono>
#include <functional>
#include <utility>

#include "base/Mutex.h"

namespace Service {

// The thread announces each step with the longest time that it can take, timeouts included. A hung
// card counts as stuck only after the step's own timeouts should have expired. Any thread may call
// the members.
class ProgressWatch {
 public:
  using Clock = std::chrono::steady_clock;

  // What the system needs in addition to a step's timeouts, on a busy machine.
  static constexpr std::chrono::seconds kSlack{30};

  // The first step is the start of the thread. `now` gives the time.
  explicit ProgressWatch(std::function<Clock::time_point()> now = &Clock::now)
      : m_Now(std::move(now)), m_End(m_Now() + kSlack) {}

  // The thread begins a step that ends within this time.
  void Begin(std::chrono::milliseconds longest) {
    const Base::MutexLock lock(m_Lock);
    m_End = m_Now() + longest + kSlack;
  }

  // Whether the last step should have ended.
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
