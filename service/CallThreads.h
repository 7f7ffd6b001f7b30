// Threads for calls that wait for a card, so that the server's threads never do.
#pragma once

#include <functional>

#include "base/Mutex.h"

namespace Service {

// Any thread may call its members.
class CallThreads {
 public:
  CallThreads() = default;
  // Waits for all calls.
  ~CallThreads();
  CallThreads(const CallThreads&) = delete;
  CallThreads& operator=(const CallThreads&) = delete;

  // Runs the call in a thread of its own; it must not throw. False if as many calls are running as
  // may, or no thread can be started.
  bool Run(std::function<void()> call);

 private:
  Base::Mutex m_Lock;
  Base::ConditionVariable m_Ended;
  int m_Running HOST_GUARDED_BY(m_Lock) = 0;
};

}  // namespace Service
