// What differs between real, virtual and seeded time: who may run, and when a time-out fires.
#pragma once

#include <pthread.h>

#include <atomic>
#include <cstdint>
#include <limits>
#include <mutex>
#include <string>

namespace HostKit {

constexpr std::int64_t kNever = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t kAtOnce = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t kNsPerMs = 1'000'000;

// Holds the monitor's mutex, which guards everything below that says "guarded".
using MonitorLock = std::unique_lock<std::mutex>;

// Where one thread sleeps. `Await` may be left by a cancellation, with the mutex taken again.
class WakeSignal {
 public:
  WakeSignal() { pthread_cond_init(&m_Condition, nullptr); }
  ~WakeSignal() { pthread_cond_destroy(&m_Condition); }
  WakeSignal(const WakeSignal&) = delete;
  WakeSignal& operator=(const WakeSignal&) = delete;

  void Await(MonitorLock& lock);
  // `deadlineNs` on the machine's monotonic clock.
  void AwaitUntil(MonitorLock& lock, std::int64_t deadlineNs);
  void Send() { pthread_cond_signal(&m_Condition); }

 private:
  pthread_cond_t m_Condition;
};

struct Sleeper;

// A native thread as the kit sees it. Guarded, but for what its own thread alone touches.
struct ThreadRecord {
  std::string name;
  WakeSignal wake;
  Sleeper* sleeper = nullptr;   // set while it blocks
  unsigned int knownDepth = 0;  // above 0: virtual time waits for it
  bool blocked = false;
  unsigned int heldLocks = 0;  // its own
  bool pinned = false;         // its own: no switch points while it is inside a native lock
  std::atomic<bool> cancelRequested{false};
};

// What a thread can wait for.
class Condition {
 public:
  virtual ~Condition() = default;
  // Whether `Take` would succeed; guarded.
  virtual bool Met() const = 0;
  // Takes what was waited for, if it is there; guarded.
  virtual bool Take(ThreadRecord& taker) = 0;
  // For people, as in "lock 2, held by main"; guarded.
  virtual std::string Text() const = 0;
};

// One wait that is under way; guarded.
struct Sleeper {
  ThreadRecord& thread;
  const Condition& condition;
  const std::int64_t deadlineNs;
  bool woken = false;  // the condition was met, the time is up, or the thread is canceled
  bool timedOut = false;
};

// One time mode. Functions that take a lock are called with the monitor's mutex held.
class WaitScheduler {
 public:
  virtual ~WaitScheduler() = default;

  // Called when the mode is selected, before any thread joins.
  virtual void Restart(std::uint64_t seed) = 0;

  virtual std::int64_t SteadyNs() const = 0;
  virtual std::int64_t EpochMs() const = 0;
  virtual bool IsReal() const = 0;

  // The thread was added to or taken from the known ones. `Joined` is called by whoever makes the
  // thread, `Begin` by the thread itself before it does anything.
  virtual void Joined(ThreadRecord&) {}
  virtual void Begin(MonitorLock&, ThreadRecord&) {}
  virtual void Left(MonitorLock&, ThreadRecord&) {}

  // The calling thread could be overtaken here. Called without the mutex.
  virtual void Point(ThreadRecord&) {}
  // Returns when the sleeper was woken or its time is up.
  virtual void Block(MonitorLock& lock, Sleeper& sleeper) = 0;
  // Makes a blocked thread go on.
  virtual void Wake(Sleeper& sleeper) = 0;

  // Ends the calling thread if it was asked to, and lets itself be canceled.
  virtual void CancelHere(ThreadRecord& self);
};

}  // namespace HostKit
