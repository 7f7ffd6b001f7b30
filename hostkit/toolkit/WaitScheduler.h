// The interface of the time modes, which decide when threads may run and when a timeout fires.
#pragma once

#include <pthread.h>

#include <atomic>
#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "base/Mutex.h"

namespace HostKit {

constexpr std::int64_t kNever = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t kImmediately = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t kNsPerMs = 1'000'000;

// The mutex of the monitor, which guards the state of the kit's threads and their waits.
inline Base::Mutex g_Monitor;

struct ThreadRecord;

// The threads to wake as soon as the mutex is free. Waking them earlier would cost two more thread
// switches: each would have to wait for the mutex. Shares ownership, because a thread may end
// meanwhile.
inline std::vector<std::shared_ptr<ThreadRecord>> g_ToWake HOST_GUARDED_BY(g_Monitor);

// Holds `g_Monitor`, and wakes the threads in `g_ToWake` after its release. A function with such a
// parameter must be called with that mutex held.
class HOST_SCOPED_CAPABILITY MonitorLock : public Base::MutexLock {
 public:
  MonitorLock() HOST_ACQUIRE(g_Monitor) : Base::MutexLock(g_Monitor) {}
  ~MonitorLock() HOST_RELEASE() {
    if (!g_ToWake.empty()) UnlockAndWake();
  }

 private:
  void UnlockAndWake() HOST_NO_THREAD_SAFETY_ANALYSIS;
};

// The condition variable on which one thread sleeps. Both waits are cancellation points; the mutex
// is held again during the unwinding.
class WakeSignal {
 public:
  WakeSignal() { pthread_cond_init(&m_Condition, nullptr); }
  ~WakeSignal() { pthread_cond_destroy(&m_Condition); }
  WakeSignal(const WakeSignal&) = delete;
  WakeSignal& operator=(const WakeSignal&) = delete;

  void Await(MonitorLock& lock) HOST_REQUIRES(g_Monitor);
  // `deadlineNs` is a time on the machine's monotonic clock.
  void AwaitUntil(MonitorLock& lock, std::int64_t deadlineNs) HOST_REQUIRES(g_Monitor);
  // Call with or without the monitor held.
  void Send() { pthread_cond_signal(&m_Condition); }

 private:
  pthread_cond_t m_Condition;
};

struct Sleeper;

// A native thread as the kit sees it.
struct ThreadRecord : std::enable_shared_from_this<ThreadRecord> {
  WakeSignal wakeSignal;
  std::atomic<bool> cancelRequested{false};

  // Written before another thread can reach the record, or with the monitor held.
  std::string name;

  Sleeper* sleeper HOST_GUARDED_BY(g_Monitor) = nullptr;  // set while it blocks
  bool blocked HOST_GUARDED_BY(g_Monitor) = false;

  // Above 0 if virtual time waits for the thread. Written with the monitor held; the thread itself
  // reads it without the monitor.
  unsigned int registrations = 0;

  // Only the thread itself uses these.
  unsigned int heldLocks = 0;
  bool pinned = false;  // no switch points while it is inside a native lock
};

// A condition that a thread can wait for.
class Condition {
 public:
  virtual ~Condition() = default;
  // Whether `Take` would succeed.
  virtual bool IsMet() const HOST_REQUIRES(g_Monitor) = 0;
  // Takes the lock, event or other condition on behalf of `taker`. Returns false, without an
  // effect, if it is not available.
  virtual bool Take(ThreadRecord& taker) HOST_REQUIRES(g_Monitor) = 0;
  // Returns a description for people, such as "lock 2, held by main".
  virtual std::string Text() const HOST_REQUIRES(g_Monitor) = 0;
};

// One wait in progress.
struct Sleeper {
  ThreadRecord& thread;
  const Condition& condition;
  const std::int64_t deadlineNs;
  // The condition was met, the deadline has passed, or the thread was canceled.
  bool woken HOST_GUARDED_BY(g_Monitor) = false;
  bool timedOut HOST_GUARDED_BY(g_Monitor) = false;
};

// One time mode.
class WaitScheduler {
 public:
  virtual ~WaitScheduler() = default;

  // Called when the mode is selected, before any thread is added.
  virtual void Restart(std::uint64_t seed) HOST_REQUIRES(g_Monitor) = 0;

  // Return the steady clock, the wall clock, and whether both are the machine's.
  virtual std::int64_t SteadyNs() const = 0;
  virtual std::int64_t EpochMs() const = 0;
  virtual bool IsReal() const = 0;

  // Called when a thread was registered or unregistered. The thread's creator calls
  // `OnThreadAdded`; the thread itself calls `Begin` before it does anything else.
  virtual void OnThreadAdded(ThreadRecord&) HOST_REQUIRES(g_Monitor) {}
  virtual void Begin(MonitorLock&, ThreadRecord&) HOST_REQUIRES(g_Monitor) {}
  virtual void OnThreadRemoved(MonitorLock&, ThreadRecord&) HOST_REQUIRES(g_Monitor) {}

  // A switch point: another thread may run here.
  virtual void SwitchPoint(ThreadRecord&) HOST_EXCLUDES(g_Monitor) {}
  // Blocks until the sleeper was woken or its deadline has passed.
  virtual void Block(MonitorLock& lock, Sleeper& sleeper) HOST_REQUIRES(g_Monitor) = 0;
  // Unblocks a thread.
  virtual void Wake(Sleeper& sleeper) HOST_REQUIRES(g_Monitor) = 0;

  // A cancellation point: ends the calling thread, `self`, if its cancellation was requested. Call
  // with or without the monitor held.
  virtual void TestCancel(ThreadRecord& self);
};

}  // namespace HostKit
