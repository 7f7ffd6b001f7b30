#include "console/base/AwaitExit.h"

#include <sys/wait.h>

#include <chrono>
#include <thread>

namespace Console {

std::optional<int> AwaitExit(pid_t child, const Deadline& deadline) {
  constexpr std::chrono::milliseconds kPause(10);
  for (;;) {
    int status = 0;
    if (waitpid(child, &status, WNOHANG) != 0) return status;
    if (deadline.HasPassed()) return std::nullopt;
    std::this_thread::sleep_for(deadline.Remaining(kPause));
  }
}

}  // namespace Console
