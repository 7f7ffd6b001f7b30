// Defers a cancellation of the calling thread.
#pragma once

#include <pthread.h>

namespace Base {

// While the object lives, a native cancellation of the calling thread stays pending; it acts at the
// thread's next cancellation point afterwards. Needed around cancellation points, such as close(),
// that are reached below a destructor or anything else that is noexcept: unwinding from there would
// end the process. Guards nest. Construct and destroy it on the same thread.
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
