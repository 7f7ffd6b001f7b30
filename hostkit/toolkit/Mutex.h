// Native mutexes that clang's thread-safety analysis knows. For what is locked for moments, and
// never while waiting for anything of the toolkit.
#pragma once

#include <mutex>

#include "host/own/ThreadSafety.h"

namespace HostKit {

// Not recursive. Needs no initialization, and its destruction does nothing, so that a static one
// may be used until the process is gone.
class HOST_CAPABILITY Mutex {
 public:
  // Blocks until the calling thread holds the mutex.
  void Lock() HOST_ACQUIRE() { m_Native.lock(); }
  // By the thread that holds it.
  void Unlock() HOST_RELEASE() { m_Native.unlock(); }

  // For waits that release the mutex meanwhile.
  std::mutex::native_handle_type NativeHandle() { return m_Native.native_handle(); }

 private:
  std::mutex m_Native;
};

// Holds a mutex as long as it lives, except between `Unlock` and `Lock`.
class HOST_SCOPED_CAPABILITY MutexLock {
 public:
  explicit MutexLock(Mutex& mutex) HOST_ACQUIRE(mutex) : m_Mutex(mutex), m_IsHeld(true) {
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
  Mutex& m_Mutex;
  bool m_IsHeld;
};

}  // namespace HostKit
