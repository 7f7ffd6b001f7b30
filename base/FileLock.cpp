#include "base/FileLock.h"

#include <sys/file.h>

#include <cerrno>
#include <thread>

namespace Base {

int Lock(const Descriptor& file, std::chrono::milliseconds timeout) {
  constexpr std::chrono::milliseconds kPause(20);
  const auto end = std::chrono::steady_clock::now() + timeout;
  while (flock(file.Get(), LOCK_EX | LOCK_NB) != 0) {
    if (errno == EINTR) continue;
    if (errno != EWOULDBLOCK || std::chrono::steady_clock::now() >= end) return errno;
    std::this_thread::sleep_for(kPause);
  }
  return 0;
}

}  // namespace Base
