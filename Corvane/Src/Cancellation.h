// A guard that defers thread cancellation in code that must not be unwound.
#pragma once

#include <pthread.h>

namespace NAMESPACE_Corvane {

// While the object exists, a cancellation of the calling thread remains pending.
class CancellationBlocked {
 public:
  CancellationBlocked() { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &m_Previous); }
  ~CancellationBlocked() { pthread_setcancelstate(m_Previous, nullptr); }
  CancellationBlocked(const CancellationBlocked&) = delete;
  CancellationBlocked& operator=(const CancellationBlocked&) = delete;

 private:
  int m_Previous = PTHREAD_CANCEL_ENABLE;
};

}  // namespace NAMESPACE_Corvane
