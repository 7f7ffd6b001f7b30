// Keeps a native cancellation away from code that must not be unwound.
#pragma once

#include <pthread.h>

namespace HostKit {

// For as long as the object lives, a cancellation of the calling thread stays pending. Needed
// wherever the kit reaches a native cancellation point below something that is noexcept.
class CancelShield {
 public:
  CancelShield() { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &m_Before); }
  ~CancelShield() { pthread_setcancelstate(m_Before, nullptr); }
  CancelShield(const CancelShield&) = delete;
  CancelShield& operator=(const CancelShield&) = delete;

 private:
  int m_Before = PTHREAD_CANCEL_ENABLE;
};

}  // namespace HostKit
