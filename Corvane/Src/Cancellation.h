// Defers the cancellation of a thread in code that must not be unwound.
#pragma once

#include <pthread.h>

namespace NAMESPACE_Corvane {

// For as long as the object lives, a cancellation of the calling thread stays pending.
class CancellationBlocked {
 public:
  CancellationBlocked() { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &m_Before); }
  ~CancellationBlocked() { pthread_setcancelstate(m_Before, nullptr); }
  CancellationBlocked(const CancellationBlocked&) = delete;
  CancellationBlocked& operator=(const CancellationBlocked&) = delete;

 private:
  int m_Before = PTHREAD_CANCEL_ENABLE;
};

}  // namespace NAMESPACE_Corvane
