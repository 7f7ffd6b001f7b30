// Threads for calls that wait for a card, so that the server's threads never block.
#pragma once

#include <functional>

#include "base/Mutex.h"

namespace Service {

// Thread-safe.
class CallThreads {
 public:
  CallThreads() = default;
  // Waits for all calls.
  ~CallThreads();
  CallThreads(const CallThreads&) = delete;
  CallThreads& operator=(const CallThreads&) = delete;

  // Runs the call, which must not throw, on a separate thread. Returns false if the maximum number
  // of calls is running or no thread can be started.
  bool Run(std::function<void()> call);

 private:
  Base::Mutex m_Lock;
  Base::ConditionVariable m_Ended;
  int m_Running HOST_GUARDED_BY(m_Lock) = 0;
};

}  // namespace Service
