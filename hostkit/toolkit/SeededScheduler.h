// The time mode that runs one thread at a time, in an order drawn from a seed.
#pragma once

#include <random>

#include "hostkit/toolkit/VirtualScheduler.h"

namespace HostKit {

// Registered threads run only when it is their turn. Others run outside the schedule, and the
// seed does not reproduce what they do.
class SeededScheduler final : public VirtualScheduler {
 public:
  void Restart(std::uint64_t seed) override HOST_REQUIRES(g_Monitor);
  void OnThreadAdded(ThreadRecord& thread) override HOST_REQUIRES(g_Monitor);
  void Begin(MonitorLock& lock, ThreadRecord& self) override HOST_REQUIRES(g_Monitor);
  void OnThreadRemoved(MonitorLock& lock, ThreadRecord& thread) override HOST_REQUIRES(g_Monitor);
  void SwitchPoint(ThreadRecord& self) override HOST_EXCLUDES(g_Monitor);
  void Block(MonitorLock& lock, Sleeper& sleeper) override HOST_REQUIRES(g_Monitor);
  void Wake(Sleeper& sleeper) override HOST_REQUIRES(g_Monitor);

 private:
  void AwaitTurn(MonitorLock& lock, ThreadRecord& self) HOST_REQUIRES(g_Monitor);
  // Passes on the turn because `own` blocks, or because a thread has left if `own` is null.
  void PassTurn(MonitorLock& lock, Sleeper* own) HOST_REQUIRES(g_Monitor);
  void MaybeFireTimer() HOST_REQUIRES(g_Monitor);
  // Returns a random registered thread that can run, or null if there is none.
  ThreadRecord* PickReadyThread() HOST_REQUIRES(g_Monitor);
  void SetTurn(ThreadRecord* thread) HOST_REQUIRES(g_Monitor);

  std::mt19937_64 m_Random HOST_GUARDED_BY(g_Monitor);
  ThreadRecord* m_pTurn HOST_GUARDED_BY(g_Monitor) = nullptr;  // the thread whose turn it is
};

WaitScheduler& SeededTimeScheduler();

}  // namespace HostKit
