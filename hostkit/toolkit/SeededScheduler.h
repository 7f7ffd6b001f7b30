// One thread at a time, in an order drawn from a seed.
#pragma once

#include <random>

#include "hostkit/toolkit/VirtualScheduler.h"

namespace HostKit {

// Known threads run only while it is their turn. Others run beside the schedule, and what they do
// is not repeated by the seed.
class SeededScheduler final : public VirtualScheduler {
 public:
  void Restart(std::uint64_t seed) override;
  void Joined(ThreadRecord& thread) override;
  void Begin(MonitorLock& lock, ThreadRecord& self) override;
  void Left(MonitorLock& lock, ThreadRecord& thread) override;
  void Point(ThreadRecord& self) override;
  void Block(MonitorLock& lock, Sleeper& sleeper) override;
  void Wake(Sleeper& sleeper) override;

 private:
  void AwaitTurn(MonitorLock& lock, ThreadRecord& self);
  // The turn ends because `own` blocks, or because its thread has left.
  void PassOn(MonitorLock& lock, Sleeper* own);
  void MaybeFireTimer();
  // Null when no known thread can run.
  ThreadRecord* Draw();
  void GiveTurn(ThreadRecord* thread);

  std::mt19937_64 m_Random;
  ThreadRecord* m_pTurn = nullptr;
};

WaitScheduler& SeededTime();

}  // namespace HostKit
