// Native threads, and a clock that jumps while all of them wait.
#pragma once

#include "hostkit/toolkit/WaitScheduler.h"

namespace HostKit {

class VirtualScheduler : public WaitScheduler {
 public:
  void Restart(std::uint64_t seed) override;
  std::int64_t SteadyNs() const override { return m_NowNs; }
  std::int64_t EpochMs() const override;
  bool IsReal() const override { return false; }
  void Left(MonitorLock& lock, ThreadRecord& thread) override;
  void Block(MonitorLock& lock, Sleeper& sleeper) override;
  void Wake(Sleeper& sleeper) override;

 protected:
  // Moves the clock to the earliest deadline and wakes who waits for it; false when nobody does.
  bool JumpToDeadline();
  // Called when `own`, or a thread that has ended, stopped running: if nobody runs, moves the clock
  // or, with no deadline left, reports the deadlock.
  void Settle(MonitorLock& lock, Sleeper* own);

 private:
  bool SomebodyCanRun() const;
  void ReportDeadlock(MonitorLock& lock, Sleeper* own);

  std::atomic<std::int64_t> m_NowNs{0};  // written under the monitor
  bool m_Reported = false;               // nobody was woken since the last report
};

WaitScheduler& VirtualTime();

}  // namespace HostKit
