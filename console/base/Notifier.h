// An eventfd that lets one thread wake another.
#pragma once

#include <chrono>

#include "base/Descriptor.h"
#include "console/base/StopSignals.h"

namespace Console {

class Notifier {
 public:
  // Throws `std::system_error`.
  Notifier();
  Notifier(const Notifier&) = delete;
  Notifier& operator=(const Notifier&) = delete;

  void Notify() const;
  // Waits up to `timeout`. If notified, clears all notifications and returns true. Returns false on
  // timeout, on a stop signal, or if only a descriptor of `extra` is ready.
  bool Wait(std::chrono::milliseconds timeout, const WaitSet& extra) const;
  // The descriptor for use in poll(), readable while notified.
  int Number() const { return m_Descriptor.Get(); }

 private:
  const Base::Descriptor m_Descriptor;
};

}  // namespace Console
