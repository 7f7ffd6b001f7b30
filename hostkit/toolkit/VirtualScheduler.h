// Native threads, and a clock that jumps when all of them wait.
#pragma once

#include "hostkit/toolkit/WaitScheduler.h"

namespace HostKit {

class VirtualScheduler : public WaitScheduler {
 public:
  void Restart(std::uint64_t seed) override HOST_REQUIRES(g_Monitor);
  std::int64_t SteadyNs() const override { return m_NowNs; }
  std::int64_t EpochMs() const override;
  bool IsReal() const override { return false; }
  void Left(MonitorLock& lock, ThreadRecord& thread) override HOST_REQUIRES(g_Monitor);
  void Block(MonitorLock& lock, Sleeper& sleeper) override HOST_REQUIRES(g_Monitor);
  void Wake(Sleeper& sleeper) override HOST_REQUIRES(g_Monitor);

 protected:
  // Moves the clock to the earliest deadline and wakes the threads that wait for it. False if no
  // thread has a deadline.
  bool JumpToDeadline() HOST_REQUIRES(g_Monitor);
  // Called when `own`, or a thread that has ended, stopped running. If no thread can run now, moves
  // the clock or, with no deadline left, reports the deadlock.
  void Settle(MonitorLock& lock, Sleeper* own) HOST_REQUIRES(g_Monitor);

 private:
  bool AnyThreadCanRun() const HOST_REQUIRES(g_Monitor);
  void ReportDeadlock(MonitorLock& lock, Sleeper* own) HOST_REQUIRES(g_Monitor);

  std::atomic<std::int64_t> m_NowNs{0};  // written under the monitor only
  // No thread was woken since the last report of a deadlock.
  bool m_Reported HOST_GUARDED_BY(g_Monitor) = false;
};

WaitScheduler& VirtualTime();

}  // namespace HostKit
