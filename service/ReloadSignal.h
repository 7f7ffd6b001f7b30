// SIGHUP as a request to reload.
#pragma once

#include <signal.h>

#include <chrono>

namespace Service {

// While it exists, SIGHUP does not terminate the program. Only one may exist at a time. Not
// thread-safe.
class ReloadSignal {
 public:
  // Throws `std::system_error`.
  ReloadSignal();
  ~ReloadSignal();
  ReloadSignal(const ReloadSignal&) = delete;
  ReloadSignal& operator=(const ReloadSignal&) = delete;

  // Waits for SIGHUP. Returns false on timeout or if a stop signal has arrived. Several signals
  // count as one.
  bool Wait(std::chrono::milliseconds timeout) const;

 private:
  struct sigaction m_Before = {};
};

}  // namespace Service
