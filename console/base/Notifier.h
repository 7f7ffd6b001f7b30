// A descriptor that one thread makes readable when there is something to collect for another.
#pragma once

#include <chrono>

#include "console/base/StopSignals.h"

namespace Console {

class Bell {
 public:
  // Throws `std::system_error`.
  Bell();
  ~Bell();
  Bell(const Bell&) = delete;
  Bell& operator=(const Bell&) = delete;

  void Ring() const;
  // True when it rang; takes all rings so far.
  bool Wait(std::chrono::milliseconds atMost, const Interest& also) const;

 private:
  const int m_Fd;
};

}  // namespace Console
