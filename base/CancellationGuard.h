// A guard that defers cancellation of the calling thread.
#pragma once

#include <pthread.h>

namespace Base {

// While the object exists, a native cancellation of the calling thread remains pending. It takes
// effect at the thread's first cancellation point after the guard is destroyed. Required around
// cancellation points, such as close(), in destructors and other noexcept functions, because
// unwinding out of these would terminate the process. Guards can be nested. Construct and destroy a
// guard on the same thread.
class CancellationGuard {
 public:
  CancellationGuard() { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &m_Previous); }
  ~CancellationGuard() { pthread_setcancelstate(m_Previous, nullptr); }
  CancellationGuard(const CancellationGuard&) = delete;
  CancellationGuard& operator=(const CancellationGuard&) = delete;

 private:
  int m_Previous = PTHREAD_CANCEL_ENABLE;
};

}  // namespace Base
