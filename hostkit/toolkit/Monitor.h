// All waits of the kit: the waiting threads, their conditions, and the known threads.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "hostkit/toolkit/WaitScheduler.h"

namespace HostKit {

// Never destroyed: modules may use it until the process exits. Thread-safe. Only the members
// documented as cancellation points are native cancellation points.
class Monitor {
 public:
  static Monitor& Get();

  // Returns the calling thread's record, which the first call creates.
  static ThreadRecord& Self();
  // Sets the record of the calling thread, which is new to the kit.
  void Adopt(std::shared_ptr<ThreadRecord> record) HOST_EXCLUDES(g_Monitor);
  // Called when the thread with that record ends.
  void Release(std::shared_ptr<ThreadRecord> record) HOST_EXCLUDES(g_Monitor);

  WaitScheduler& Scheduler() const { return *m_pScheduler.load(std::memory_order_acquire); }

  // Blocks the calling thread until it has taken the condition, and returns true, or until the
  // deadline has passed, and returns false. Every wait of the kit calls this function. A
  // cancellation point.
  bool WaitUntil(Condition& condition, std::int64_t deadlineNs) HOST_EXCLUDES(g_Monitor);
  bool WaitFor(Condition& condition, unsigned int timeoutMs) HOST_EXCLUDES(g_Monitor);

  // A switch point. `WaitPoint` is also a cancellation point.
  void SwitchPoint() HOST_EXCLUDES(g_Monitor) { Scheduler().Point(Self()); }
  void WaitPoint() HOST_EXCLUDES(g_Monitor);

  // Wakes each thread whose condition is met now.
  void WakeReadyThreads(const MonitorLock& lock) HOST_REQUIRES(g_Monitor);

  // Adds or removes a thread that virtual time waits for. Calls nest.
  void Join(const MonitorLock& lock, ThreadRecord& thread) HOST_REQUIRES(g_Monitor);
  void Leave(MonitorLock& lock, ThreadRecord& thread) HOST_REQUIRES(g_Monitor);
  const std::vector<ThreadRecord*>& Known() const HOST_REQUIRES(g_Monitor) { return m_Known; }
  const std::vector<Sleeper*>& Sleepers() const HOST_REQUIRES(g_Monitor) { return m_Sleepers; }

  // Makes `scheduler` the time mode, with the calling thread as its first known thread. Throws
  // `std::logic_error` while another thread of the kit is alive.
  void SelectMode(WaitScheduler& scheduler, std::uint64_t seed) HOST_EXCLUDES(g_Monitor);

  // See `OnDeadlock`. The lock is released while the handler runs.
  void SetDeadlockHandler(std::function<void(const std::string&)> handler) HOST_EXCLUDES(g_Monitor);
  void ReportDeadlock(MonitorLock& lock) HOST_REQUIRES(g_Monitor);

 private:
  class SleeperEntry;

  Monitor();
  std::int64_t DeadlineAfter(unsigned int timeoutMs) const;
  std::string DescribeWaits() const HOST_REQUIRES(g_Monitor);

  std::atomic<WaitScheduler*> m_pScheduler;

  // In order of joining, and in order of starting to wait.
  std::vector<ThreadRecord*> m_Known HOST_GUARDED_BY(g_Monitor);
  std::vector<Sleeper*> m_Sleepers HOST_GUARDED_BY(g_Monitor);
  // The thread that selected the mode, which made it known; null if that thread has ended.
  ThreadRecord* m_pSelector HOST_GUARDED_BY(g_Monitor) = nullptr;
  // Records of threads that ended while they held a lock, which still points to its owner.
  std::vector<std::shared_ptr<ThreadRecord>> m_EndedLockOwners HOST_GUARDED_BY(g_Monitor);
  std::function<void(const std::string&)> m_OnDeadlock HOST_GUARDED_BY(g_Monitor);
};

}  // namespace HostKit
