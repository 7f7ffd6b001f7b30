// Keeps a canceled thread from unwinding out of file work: closing a file is a cancellation point,
// and one that stands in a destructor would end the process. The cancellation stays pending and
// acts at the next point after the shield, such as the sleep of a job.
#pragma once

#include <pthread.h>

namespace CardSim {

class CancellationShield {
 public:
  CancellationShield() { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &m_Previous); }
  ~CancellationShield() { pthread_setcancelstate(m_Previous, nullptr); }
  CancellationShield(const CancellationShield&) = delete;
  CancellationShield& operator=(const CancellationShield&) = delete;

 private:
  int m_Previous = PTHREAD_CANCEL_ENABLE;
};

}  // namespace CardSim
