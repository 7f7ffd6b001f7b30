#include "console/base/Notifier.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace Console {

Notifier::Notifier() : m_Fd(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
  if (m_Fd < 0) throw std::system_error(errno, std::generic_category(), "creating an eventfd");
}

Notifier::~Notifier() {
  close(m_Fd);
}

void Notifier::Notify() const {
  // It can only fail when the counter is full, and then the descriptor is readable anyway.
  if (eventfd_write(m_Fd, 1) != 0) return;
}

bool Notifier::Wait(std::chrono::milliseconds atMost, const WaitSet& also) const {
  if (!WaitReadable(m_Fd, atMost, also)) return false;
  eventfd_t rings = 0;
  return eventfd_read(m_Fd, &rings) == 0;
}

}  // namespace Console
