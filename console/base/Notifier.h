// An eventfd with which one thread wakes another.
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
  // True if notified; clears all notifications so far.
  bool Wait(std::chrono::milliseconds timeout, const WaitSet& also) const;
  // Readable while notified, for a poll with others.
  int Number() const { return m_Descriptor.Get(); }

 private:
  const Base::Descriptor m_Descriptor;
};

}  // namespace Console
