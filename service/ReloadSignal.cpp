#include "service/ReloadSignal.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <system_error>

#include "console/base/StopSignals.h"

namespace Service {
namespace {

int g_ReloadFd = -1;  // an eventfd for the signal handler

void OnReload(int) {
  const int saved = errno;
  const std::uint64_t one = 1;
  if (write(g_ReloadFd, &one, sizeof one) < 0) {
    // Fails only if the counter is full, and a full counter is readable.
  }
  errno = saved;
}

}  // namespace

ReloadSignal::ReloadSignal() {
  if (g_ReloadFd < 0) g_ReloadFd = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
  if (g_ReloadFd < 0) throw std::system_error(errno, std::generic_category(), "eventfd");
  struct sigaction action = {};
  sigemptyset(&action.sa_mask);
  action.sa_handler = OnReload;
  action.sa_flags = SA_RESTART;
  sigaction(SIGHUP, &action, &m_Before);
}

// The descriptor stays open, because a handler may still be running.
ReloadSignal::~ReloadSignal() {
  sigaction(SIGHUP, &m_Before, nullptr);
}

bool ReloadSignal::Wait(std::chrono::milliseconds timeout) const {
  if (!Console::WaitReadable(g_ReloadFd, timeout)) return false;
  eventfd_t ignored = 0;
  return eventfd_read(g_ReloadFd, &ignored) == 0;
}

}  // namespace Service
