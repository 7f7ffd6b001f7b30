// All waits of the kit: who waits, for what, and which threads are known.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "hostkit/toolkit/WaitScheduler.h"

namespace HostKit {

// Never destroyed: modules may use it until the process is gone. All members may be called from any
// thread; a native cancellation point is only where a comment says so.
class Monitor {
 public:
  static Monitor& Get();

  // The calling thread's record, created when it is first needed.
  static ThreadRecord& Self();
  // Gives the calling thread, new to the kit, a record that its creator prepared.
  void Adopt(std::shared_ptr<ThreadRecord> record) HOST_EXCLUDES(g_Monitor);
  // The thread with that record ends.
  void Forget(std::shared_ptr<ThreadRecord> record) HOST_EXCLUDES(g_Monitor);

  WaitScheduler& Scheduler() const { return *m_pScheduler.load(std::memory_order_acquire); }

  // Blocks the calling thread until it has taken the condition, which is true, or the deadline has
  // passed. Every wait of the kit is one of these. A cancellation point.
  bool WaitUntil(Condition& condition, std::int64_t deadlineNs) HOST_EXCLUDES(g_Monitor);
  bool WaitFor(Condition& condition, unsigned int timeoutMs) HOST_EXCLUDES(g_Monitor);

  // A switch point. `WaitPoint` is also a cancellation point.
  void Point() HOST_EXCLUDES(g_Monitor) { Scheduler().Point(Self()); }
  void WaitPoint() HOST_EXCLUDES(g_Monitor);

  // Wakes each thread whose condition is met now.
  void Changed(const MonitorLock& lock) HOST_REQUIRES(g_Monitor);

  // Adds or removes a thread that virtual time waits for. Calls nest.
  void Join(const MonitorLock& lock, ThreadRecord& thread) HOST_REQUIRES(g_Monitor);
  void Leave(MonitorLock& lock, ThreadRecord& thread) HOST_REQUIRES(g_Monitor);
  const std::vector<ThreadRecord*>& Known() const HOST_REQUIRES(g_Monitor) { return m_Known; }
  const std::vector<Sleeper*>& Sleepers() const HOST_REQUIRES(g_Monitor) { return m_Sleepers; }

  // Makes `scheduler` the time mode, with the calling thread as its first known one. Throws
  // `std::logic_error` while another thread of the kit is alive.
  void SelectMode(WaitScheduler& scheduler, std::uint64_t seed) HOST_EXCLUDES(g_Monitor);

  // See `OnDeadlock`. The lock is released while the handler runs.
  void SetDeadlockHandler(std::function<void(const std::string&)> handler) HOST_EXCLUDES(g_Monitor);
  void ReportDeadlock(MonitorLock& lock) HOST_REQUIRES(g_Monitor);

 private:
  class Stay;

  Monitor();
  std::int64_t DeadlineAfter(unsigned int timeoutMs) const;
  std::string DescribeWaits() const HOST_REQUIRES(g_Monitor);

  std::atomic<WaitScheduler*> m_pScheduler;

  // In order of joining, and of beginning to wait.
  std::vector<ThreadRecord*> m_Known HOST_GUARDED_BY(g_Monitor);
  std::vector<Sleeper*> m_Sleepers HOST_GUARDED_BY(g_Monitor);
  // The thread that selected the mode, if that made it known.
  ThreadRecord* m_pSelector HOST_GUARDED_BY(g_Monitor) = nullptr;
  // Records of threads that ended while they held a lock: the lock still points to its owner.
  std::vector<std::shared_ptr<ThreadRecord>> m_Graveyard HOST_GUARDED_BY(g_Monitor);
  std::function<void(const std::string&)> m_OnDeadlock HOST_GUARDED_BY(g_Monitor);
};

}  // namespace HostKit
