// Native mutexes annotated for clang's thread-safety analysis.
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

#include "base/HeldLocks.h"
#include "host/own/ThreadSafety.h"

namespace Base {

// A non-recursive mutex. Construction and destruction have no effect at run time, so that a static
// mutex can be used until the process exits.
class HOST_CAPABILITY Mutex {
 public:
  // Blocks until the calling thread holds the mutex.
  void Lock() HOST_ACQUIRE() {
    m_Native.lock();
    CountLocks(1);
  }
  // Releases the mutex. Call only from the thread that holds it.
  void Unlock() HOST_RELEASE() {
    CountLocks(-1);
    m_Native.unlock();
  }

  // Returns the native mutex, for waiting on a condition variable.
  std::mutex& Native() { return m_Native; }

 private:
  std::mutex m_Native;
};

// Holds a mutex for its lifetime, except between `Unlock` and `Lock`. Do not call functions with
// `HOST_BLOCKS` meanwhile.
class HOST_SCOPED_CAPABILITY MutexLock {
 public:
  explicit MutexLock(Mutex& mutex) HOST_ACQUIRE(mutex, g_AnyLock) : m_Mutex(mutex), m_IsHeld(true) {
    m_Mutex.Lock();
  }
  ~MutexLock() HOST_RELEASE() {
    if (m_IsHeld) m_Mutex.Unlock();
  }
  MutexLock(const MutexLock&) = delete;
  MutexLock& operator=(const MutexLock&) = delete;

  void Unlock() HOST_RELEASE() {
    m_IsHeld = false;
    m_Mutex.Unlock();
  }
  void Lock() HOST_ACQUIRE() {
    m_Mutex.Lock();
    m_IsHeld = true;
  }

 private:
  friend class ConditionVariable;
  Mutex& m_Mutex;
  bool m_IsHeld;
};

// `std::condition_variable` for a `MutexLock`, which must be held. The mutex is released during a
// wait. Wakeups can be spurious, so wait in a loop that tests the condition.
class ConditionVariable {
 public:
  void Wait(MutexLock& lock) {
    std::unique_lock<std::mutex> native(lock.m_Mutex.Native(), std::adopt_lock);
    m_Native.wait(native);
    native.release();
  }
  template <class Rep, class Period>
  void WaitFor(MutexLock& lock, const std::chrono::duration<Rep, Period>& duration) {
    WaitUntil(lock, std::chrono::steady_clock::now() + duration);
  }
  // Returns false on timeout.
  template <class Clock, class Duration>
  bool WaitUntil(MutexLock& lock, const std::chrono::time_point<Clock, Duration>& deadline) {
    std::unique_lock<std::mutex> native(lock.m_Mutex.Native(), std::adopt_lock);
    const std::cv_status status = m_Native.wait_until(native, deadline);
    native.release();
    return status == std::cv_status::no_timeout;
  }
  void NotifyOne() noexcept { m_Native.notify_one(); }
  void NotifyAll() noexcept { m_Native.notify_all(); }

 private:
  std::condition_variable m_Native;
};

}  // namespace Base
