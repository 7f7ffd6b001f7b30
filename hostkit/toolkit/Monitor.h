// The one mutex behind all waits of the kit, who sleeps, and which threads are known.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "hostkit/toolkit/WaitScheduler.h"

namespace HostKit {

// Never destroyed: modules may use it until the process is gone. A member with a lock among its
// parameters is called with the mutex held, any other but the two lists without it.
class Monitor {
 public:
  static Monitor& Get();

  // The calling thread's record, made at first need.
  static ThreadRecord& Self();
  // Gives the calling thread, new to the kit, a record that its maker prepared.
  void Adopt(std::shared_ptr<ThreadRecord> record);
  // The thread with that record ends.
  void Forget(std::shared_ptr<ThreadRecord> record);

  MonitorLock Enter() { return MonitorLock(m_Mutex); }
  WaitScheduler& Scheduler() const { return *m_pScheduler.load(std::memory_order_acquire); }

  // Blocks the calling thread until it could take the condition, or the deadline has passed; true
  // if it took it. Every wait of the kit ends up here. May be left by a cancellation.
  bool WaitUntil(Condition& condition, std::int64_t deadlineNs);
  bool WaitFor(Condition& condition, unsigned int timeoutMs);

  // A switch point. The second form is also where a cancellation takes effect.
  void Point() { Scheduler().Point(Self()); }
  void WaitPoint();

  // Wakes whoever's condition is met now.
  void Changed(const MonitorLock& lock);

  // Threads that virtual time waits for.
  void Join(const MonitorLock& lock, ThreadRecord& thread);
  void Leave(MonitorLock& lock, ThreadRecord& thread);
  // The lists, while the mutex is held.
  const std::vector<ThreadRecord*>& Known() const { return m_Known; }
  const std::vector<Sleeper*>& Sleepers() const { return m_Sleepers; }

  // Makes `scheduler` the time mode, with the calling thread as its first known one. Throws
  // `std::logic_error` while another thread of the kit is alive.
  void SelectMode(WaitScheduler& scheduler, std::uint64_t seed);

  // See `OnDeadlock`. The lock is let go for the call of the handler.
  void SetDeadlockHandler(std::function<void(const std::string&)> handler);
  void ReportDeadlock(MonitorLock& lock);

 private:
  class Stay;

  Monitor();
  std::int64_t DeadlineAfter(unsigned int timeoutMs) const;
  std::string DescribeWaits() const;

  std::mutex m_Mutex;
  std::atomic<WaitScheduler*> m_pScheduler;
  std::vector<ThreadRecord*> m_Known;   // in order of joining
  std::vector<Sleeper*> m_Sleepers;     // in order of falling asleep
  ThreadRecord* m_pSelector = nullptr;  // who selected the mode, if that made it known
  // Records of threads that ended with a lock in their hands: the lock still points to its owner.
  std::vector<std::shared_ptr<ThreadRecord>> m_Graveyard;
  std::function<void(const std::string&)> m_OnDeadlock;
};

}  // namespace HostKit
