#include "hostkit/toolkit/Monitor.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <utility>

#include "host/Toolkit.h"
#include "hostkit/toolkit/RealScheduler.h"

namespace HostKit {

namespace {

// A plain pointer, which can still be read after the thread's thread_local objects have been
// destroyed.
[[gnu::tls_model("initial-exec")]] thread_local ThreadRecord* t_pSelf = nullptr;
thread_local bool t_Ending = false;

struct OwnRecord {
  std::shared_ptr<ThreadRecord> record;

  ~OwnRecord() {
    t_pSelf = nullptr;
    t_Ending = true;
    if (record) Monitor::Get().Release(std::move(record));
  }
};

thread_local OwnRecord t_Own;

std::shared_ptr<ThreadRecord> NewRecord() {
  auto record = std::make_shared<ThreadRecord>();
  const pid_t thread = gettid();
  record->name = thread == getpid() ? "main" : "native thread " + std::to_string(thread);
  return record;
}

// Releases the monitor while a handler is called. The thread safety analysis cannot follow a lock
// that one function releases and another acquires again.
class ScopedUnlock {
 public:
  explicit ScopedUnlock(MonitorLock& lock) HOST_NO_THREAD_SAFETY_ANALYSIS : m_Lock(lock) {
    m_Lock.Unlock();
  }
  ~ScopedUnlock() HOST_NO_THREAD_SAFETY_ANALYSIS { m_Lock.Lock(); }
  ScopedUnlock(const ScopedUnlock&) = delete;
  ScopedUnlock& operator=(const ScopedUnlock&) = delete;

 private:
  MonitorLock& m_Lock;
};

}  // namespace

void MonitorLock::UnlockAndWake() {
  const auto threads = std::exchange(g_ToWake, {});
  Unlock();
  for (const auto& thread : threads) thread->wakeSignal.Send();
}

void WakeSignal::Await(MonitorLock&) {
  pthread_cond_wait(&m_Condition, g_Monitor.Native().native_handle());
}

void WakeSignal::AwaitUntil(MonitorLock&, std::int64_t deadlineNs) {
  constexpr std::int64_t nsPerSecond = 1'000'000'000;
  const timespec until{deadlineNs / nsPerSecond, deadlineNs % nsPerSecond};
  pthread_cond_clockwait(&m_Condition, g_Monitor.Native().native_handle(), CLOCK_MONOTONIC, &until);
}

void WaitScheduler::TestCancel(ThreadRecord& self) {
  if (!self.cancelRequested.load(std::memory_order_relaxed)) return;
  // As in real time, the request remains pending while the thread has disabled cancellation.
  int state = PTHREAD_CANCEL_ENABLE;
  pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &state);
  pthread_setcancelstate(state, nullptr);
  if (state == PTHREAD_CANCEL_DISABLE) return;
  // Reset, so that waits during the unwinding do not cancel the thread again.
  self.cancelRequested = false;
  pthread_exit(PTHREAD_CANCELED);
}

Monitor::Monitor() : m_pScheduler(&RealTimeScheduler()) {}

Monitor& Monitor::Get() {
  static Monitor& monitor = *new Monitor;
  return monitor;
}

ThreadRecord& Monitor::Self() {
  if (t_pSelf == nullptr) Get().Adopt(NewRecord());
  return *t_pSelf;
}

void Monitor::Adopt(std::shared_ptr<ThreadRecord> record) {
  t_pSelf = record.get();
  if (!t_Ending) {
    t_Own.record = std::move(record);
    return;
  }
  const MonitorLock lock;
  m_KeptRecords.push_back(std::move(record));
}

void Monitor::Release(std::shared_ptr<ThreadRecord> record) {
  MonitorLock lock;
  if (m_pSelector == record.get()) {
    m_pSelector = nullptr;
    UnregisterThread(lock, *record);
  }
  if (record->heldLocks > 0) m_KeptRecords.push_back(std::move(record));
}

// A sleeper's entry in the list, which is also removed on cancellation.
class Monitor::SleeperEntry {
 public:
  SleeperEntry(Monitor& monitor, Sleeper& sleeper)
      : m_Monitor(monitor), m_Sleeper(sleeper), m_pOuter(sleeper.thread.sleeper) {
    m_Monitor.m_Sleepers.push_back(&sleeper);
    sleeper.thread.sleeper = &sleeper;
  }
  ~SleeperEntry() {
    auto& sleepers = m_Monitor.m_Sleepers;
    sleepers.erase(std::find(sleepers.begin(), sleepers.end(), &m_Sleeper));
    m_Sleeper.thread.sleeper = m_pOuter;
    m_Sleeper.thread.blocked = false;
  }
  SleeperEntry(const SleeperEntry&) = delete;
  SleeperEntry& operator=(const SleeperEntry&) = delete;

 private:
  Monitor& m_Monitor;
  Sleeper& m_Sleeper;
  Sleeper* const m_pOuter;  // set if a deadlock handler waits
};

bool Monitor::WaitUntil(Condition& condition, std::int64_t deadlineNs) {
  MonitorLock lock;
  return TakeNow(condition) || Sleep(lock, condition, deadlineNs);
}

bool Monitor::WaitFor(Condition& condition, unsigned int timeoutMs) {
  MonitorLock lock;
  return TakeNow(condition) || Sleep(lock, condition, DeadlineAfter(timeoutMs));
}

bool Monitor::TakeNow(Condition& condition) {
  ThreadRecord& self = Self();
  Scheduler().TestCancel(self);
  return condition.Take(self);
}

bool Monitor::Sleep(MonitorLock& lock, Condition& condition, std::int64_t deadlineNs) {
  ThreadRecord& self = Self();
  WaitScheduler& scheduler = Scheduler();
  if (deadlineNs <= scheduler.SteadyNs()) return false;
  Sleeper sleeper{self, condition, deadlineNs};
  const SleeperEntry entry(*this, sleeper);
  while (!sleeper.timedOut) {
    sleeper.woken = false;
    scheduler.Block(lock, sleeper);
    scheduler.TestCancel(self);
    if (condition.Take(self)) return true;
  }
  return false;
}

std::int64_t Monitor::DeadlineAfter(unsigned int timeoutMs) const {
  if (timeoutMs == 0) return kImmediately;
  if (timeoutMs == MBX::Threading::WAIT_INFINITE) return kNever;
  return Scheduler().SteadyNs() + timeoutMs * kNsPerMs;
}

void Monitor::WaitPoint() {
  ThreadRecord& self = Self();
  WaitScheduler& scheduler = Scheduler();
  scheduler.SwitchPoint(self);
  scheduler.TestCancel(self);
}

void Monitor::WakeReadyThreads(const MonitorLock&) {
  WaitScheduler& scheduler = Scheduler();
  for (Sleeper* sleeper : m_Sleepers) {
    if (!sleeper->woken && sleeper->condition.IsMet()) scheduler.Wake(*sleeper);
  }
}

void Monitor::RegisterThread(const MonitorLock&, ThreadRecord& thread) {
  if (thread.registrations++ > 0) return;
  m_Registered.push_back(&thread);
  Scheduler().OnThreadAdded(thread);
}

void Monitor::UnregisterThread(MonitorLock& lock, ThreadRecord& thread) {
  if (--thread.registrations > 0) return;
  m_Registered.erase(std::find(m_Registered.begin(), m_Registered.end(), &thread));
  Scheduler().OnThreadRemoved(lock, thread);
}

void Monitor::SelectMode(WaitScheduler& scheduler, std::uint64_t seed) {
  ThreadRecord& self = Self();
  const MonitorLock lock;
  for (const ThreadRecord* thread : m_Registered) {
    const bool onlySelected = thread == m_pSelector && thread->registrations == 1;
    if (thread == &self || onlySelected) continue;
    throw std::logic_error("the time mode was changed while " + thread->name + " was running");
  }
  if (m_pSelector != nullptr) --m_pSelector->registrations;
  m_pSelector = &self;
  ++self.registrations;
  m_Registered.assign(1, &self);
  scheduler.Restart(seed);
  m_pScheduler.store(&scheduler, std::memory_order_release);
  scheduler.OnThreadAdded(self);
}

void Monitor::SetDeadlockHandler(std::function<void(const std::string&)> handler) {
  const MonitorLock lock;
  m_OnDeadlock = std::move(handler);
}

std::string Monitor::DescribeWaits() const {
  std::string text;
  for (const Sleeper* sleeper : m_Sleepers) {
    text += (text.empty() ? "" : "\n") + sleeper->thread.name + " waits for " +
            sleeper->condition.Text();
  }
  return text;
}

void Monitor::ReportDeadlock(MonitorLock& lock) {
  const std::string waits = DescribeWaits();
  const auto handler = m_OnDeadlock;
  if (!handler) {
    std::fprintf(stderr, "deadlock:\n%s\n", waits.c_str());
    std::abort();
  }
  const ScopedUnlock unlock(lock);
  handler(waits);
}

}  // namespace HostKit
