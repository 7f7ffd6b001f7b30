// All waits in the kit: the waiting threads, their conditions, and the registered threads.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "hostkit/toolkit/WaitScheduler.h"

namespace HostKit {

// Performs every wait in the kit and tracks its threads. Thread-safe. Never destroyed, because
// modules may use it until the process exits. Members contain native (pthread) cancellation points
// only where documented.
class Monitor {
 public:
  static Monitor& Get();

  // Returns the calling thread's record, which the first call creates.
  static ThreadRecord& Self();
  // Makes `record` the record of the calling thread, which must not have one yet.
  void Adopt(std::shared_ptr<ThreadRecord> record) HOST_EXCLUDES(g_Monitor);
  // Called when the thread with that record ends.
  void Release(std::shared_ptr<ThreadRecord> record) HOST_EXCLUDES(g_Monitor);

  WaitScheduler& Scheduler() const { return *m_pScheduler.load(std::memory_order_acquire); }

  // Blocks the calling thread until it has taken the condition (returns true) or the deadline has
  // passed (returns false). Every wait in the kit calls this function. A cancellation point.
  bool WaitUntil(Condition& condition, std::int64_t deadlineNs) HOST_EXCLUDES(g_Monitor);
  bool WaitFor(Condition& condition, unsigned int timeoutMs) HOST_EXCLUDES(g_Monitor);

  // A switch point: another thread may run here. `WaitPoint` is also a cancellation point.
  void SwitchPoint() HOST_EXCLUDES(g_Monitor) { Scheduler().SwitchPoint(Self()); }
  void WaitPoint() HOST_EXCLUDES(g_Monitor);

  // Wakes each thread whose condition is met now.
  void WakeReadyThreads(const MonitorLock& lock) HOST_REQUIRES(g_Monitor);

  // Registers or unregisters a thread that virtual time waits for. Calls nest.
  void RegisterThread(const MonitorLock& lock, ThreadRecord& thread) HOST_REQUIRES(g_Monitor);
  void UnregisterThread(MonitorLock& lock, ThreadRecord& thread) HOST_REQUIRES(g_Monitor);
  const std::vector<ThreadRecord*>& RegisteredThreads() const HOST_REQUIRES(g_Monitor) {
    return m_Registered;
  }
  const std::vector<Sleeper*>& Sleepers() const HOST_REQUIRES(g_Monitor) { return m_Sleepers; }

  // Selects the time mode and registers the calling thread as its first thread. Throws
  // `std::logic_error` while another registered thread is alive.
  void SelectMode(WaitScheduler& scheduler, std::uint64_t seed) HOST_EXCLUDES(g_Monitor);

  // See `OnDeadlock`. The lock is released while the handler runs.
  void SetDeadlockHandler(std::function<void(const std::string&)> handler) HOST_EXCLUDES(g_Monitor);
  void ReportDeadlock(MonitorLock& lock) HOST_REQUIRES(g_Monitor);

 private:
  class SleeperEntry;

  Monitor();
  std::int64_t DeadlineAfter(unsigned int timeoutMs) const;
  // Steps of a wait: takes the condition if it is met, or sleeps until then or the deadline.
  // Cancellation points.
  bool TakeNow(Condition& condition) HOST_REQUIRES(g_Monitor);
  bool Sleep(MonitorLock& lock, Condition& condition, std::int64_t deadlineNs)
      HOST_REQUIRES(g_Monitor);
  std::string DescribeWaits() const HOST_REQUIRES(g_Monitor);

  std::atomic<WaitScheduler*> m_pScheduler;

  // In order of registration, and in order of starting to wait.
  std::vector<ThreadRecord*> m_Registered HOST_GUARDED_BY(g_Monitor);
  std::vector<Sleeper*> m_Sleepers HOST_GUARDED_BY(g_Monitor);
  // The thread that selected the mode, which registered it; null if that thread has ended.
  ThreadRecord* m_pSelector HOST_GUARDED_BY(g_Monitor) = nullptr;
  // Records of ended threads that may still be used: a lock that a thread held at its end points to
  // the record, and so does a thread that uses the kit while its thread_local objects are
  // destroyed.
  std::vector<std::shared_ptr<ThreadRecord>> m_KeptRecords HOST_GUARDED_BY(g_Monitor);
  std::function<void(const std::string&)> m_OnDeadlock HOST_GUARDED_BY(g_Monitor);
};

}  // namespace HostKit
