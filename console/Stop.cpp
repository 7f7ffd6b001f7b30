#include "console/Stop.h"

#include <poll.h>
#include <signal.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdint>

#include "console/Failure.h"

namespace Console {
namespace {

volatile sig_atomic_t g_Stop = 0;
int g_StopFd = -1;

// The first signal also restores the default action, so that the second one ends the program.
void OnSignal(int) {
  const int keep = errno;
  g_Stop = 1;
  const std::uint64_t one = 1;
  if (write(g_StopFd, &one, sizeof one) < 0) {
    // Nothing can be said from here, and the flag is set already.
  }
  errno = keep;
}

}  // namespace

void CatchStopSignals() {
  g_StopFd = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
  struct sigaction action = {};
  sigemptyset(&action.sa_mask);
  action.sa_flags = static_cast<int>(SA_RESETHAND);
  action.sa_handler = OnSignal;
  for (const int number : {SIGINT, SIGTERM, SIGHUP}) sigaction(number, &action, nullptr);
  signal(SIGPIPE, SIG_IGN);
}

void CheckStop() {
  if (g_Stop != 0) throw Stopped();
}

bool WaitReadable(int fd, std::chrono::milliseconds atMost) {
  std::array<pollfd, 2> waits = {pollfd{fd, POLLIN, 0}, pollfd{g_StopFd, POLLIN, 0}};
  const int count = poll(waits.data(), waits.size(), static_cast<int>(atMost.count()));
  return count > 0 && (waits[0].revents & POLLIN) != 0 && g_Stop == 0;
}

}  // namespace Console
