// The time mode with native threads and a clock that jumps ahead when all threads are waiting.
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
  // Called when a thread stops running, either because it blocks (`own` is its sleeper) or because
  // it has ended (`own` is null). If no other thread can run, moves the clock to the earliest
  // deadline, or reports a deadlock if there is none.
  void AdvanceIfIdle(MonitorLock& lock, Sleeper* own) HOST_REQUIRES(g_Monitor);

 private:
  bool AnyThreadCanRun() const HOST_REQUIRES(g_Monitor);
  void ReportDeadlock(MonitorLock& lock, Sleeper* own) HOST_REQUIRES(g_Monitor);

  std::atomic<std::int64_t> m_NowNs{0};  // written only with the monitor held
  // A deadlock has been reported, and no thread has been woken since.
  bool m_DeadlockReported HOST_GUARDED_BY(g_Monitor) = false;
};

WaitScheduler& VirtualTimeScheduler();

}  // namespace HostKit
