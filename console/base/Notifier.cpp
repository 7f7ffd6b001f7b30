#include "console/base/Notifier.h"

#include <sys/eventfd.h>

#include <cerrno>
#include <system_error>

namespace Console {

Notifier::Notifier() : m_Descriptor(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
  if (!m_Descriptor.IsOpen())
    throw std::system_error(errno, std::generic_category(), "creating an eventfd");
}

void Notifier::Notify() const {
  // Fails only if the counter is full; the descriptor is readable in that case.
  if (eventfd_write(m_Descriptor.Get(), 1) != 0) return;
}

bool Notifier::Wait(std::chrono::milliseconds timeout, const WaitSet& extra) const {
  if (!WaitReadable(m_Descriptor.Get(), timeout, extra)) return false;
  eventfd_t count = 0;
  return eventfd_read(m_Descriptor.Get(), &count) == 0;
}

}  // namespace Console
