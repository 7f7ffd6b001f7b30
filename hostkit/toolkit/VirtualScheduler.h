// The time mode with native threads and a clock that jumps ahead when all of them wait.
#pragma once

#include "hostkit/toolkit/WaitScheduler.h"

namespace HostKit {

class VirtualScheduler : public WaitScheduler {
 public:
  void Restart(std::uint64_t seed) override HOST_REQUIRES(g_Monitor);
  std::int64_t SteadyNs() const override { return m_NowNs; }
  std::int64_t EpochMs() const override;
  bool IsReal() const override { return false; }
  void OnThreadRemoved(MonitorLock& lock, ThreadRecord& thread) override HOST_REQUIRES(g_Monitor);
  void Block(MonitorLock& lock, Sleeper& sleeper) override HOST_REQUIRES(g_Monitor);
  void Wake(Sleeper& sleeper) override HOST_REQUIRES(g_Monitor);

 protected:
  // Moves the clock to the earliest deadline and wakes the threads that wait for it. Returns false
  // if no thread has a deadline.
  bool JumpToDeadline() HOST_REQUIRES(g_Monitor);
  // Called when a thread stops running: the thread of `own` blocks or, if `own` is null, a thread
  // has ended. If no thread can run now, moves the clock to the earliest deadline, or reports a
  // deadlock if there is none.
  void Settle(MonitorLock& lock, Sleeper* own) HOST_REQUIRES(g_Monitor);

 private:
  bool AnyThreadCanRun() const HOST_REQUIRES(g_Monitor);
  void ReportDeadlock(MonitorLock& lock, Sleeper* own) HOST_REQUIRES(g_Monitor);

  std::atomic<std::int64_t> m_NowNs{0};  // written under the monitor only
  // A deadlock was reported, and no thread was woken since.
  bool m_Reported HOST_GUARDED_BY(g_Monitor) = false;
};

WaitScheduler& VirtualTime();

}  // namespace HostKit
