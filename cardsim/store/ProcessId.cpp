#include "cardsim/store/ProcessId.h"

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <stdexcept>
#include <system_error>

#include "base/CancellationGuard.h"
#include "base/Descriptor.h"

namespace CardSim {
namespace {

// What /proc/PID/stat says about a process. By default, the process is dead.
struct ProcessLine {
  char state = 'X';
  std::uint64_t start = 0;
};

// Returns the start of the field with that number, or null if the line does not have it.
const char* Field(const char* line, int number) {
  for (int field = 1; field < number && line != nullptr; ++field) {
    line = std::strchr(line, ' ');
    if (line != nullptr) ++line;
  }
  return line;
}

// Returns std::nullopt, with the reason in errno, if the process cannot be examined, and a dead
// process if the line is incomplete. Does not allocate memory, so that a process is not considered
// dead because memory ran out.
std::optional<ProcessLine> ReadProcessLine(std::int64_t pid) {
  char name[32];
  std::snprintf(name, sizeof name, "/proc/%lld/stat", static_cast<long long>(pid));
  const Base::Descriptor file(open(name, O_RDONLY | O_CLOEXEC));
  char text[1024];
  const ssize_t length = file.IsOpen() ? read(file.Get(), text, sizeof text - 1) : -1;
  if (length < 0) return std::nullopt;
  text[length] = '\0';
  // The second field is the program's name in parentheses, which may contain spaces and
  // parentheses.
  const char* bracket = std::strrchr(text, ')');
  const char* state = bracket == nullptr ? nullptr : Field(bracket, 2);
  const char* start = Field(state, 20);
  if (start == nullptr) return ProcessLine();
  return ProcessLine{*state, std::strtoull(start, nullptr, 10)};
}

}  // namespace

ProcessId ThisProcess() {
  // Cached, because every job record needs it. A forked child is another process.
  static std::atomic<std::int64_t> known{0};
  static std::atomic<std::uint64_t> start{0};
  const std::int64_t pid = getpid();
  if (known.load(std::memory_order_acquire) == pid) return {pid, start.load()};
  const Base::CancellationGuard guard;
  const auto line = ReadProcessLine(pid);
  // Without /proc, processes are distinguished only by their pid.
  if (!line && errno != ENOENT) {
    throw std::runtime_error("/proc/self/stat: " + std::generic_category().message(errno));
  }
  start.store(line ? line->start : 0);
  known.store(pid, std::memory_order_release);
  return {pid, start.load()};
}

bool IsAlive(const ProcessId& process) {
  if (process.pid <= 0) return false;
  if (kill(static_cast<pid_t>(process.pid), 0) != 0 && errno == ESRCH) return false;
  const Base::CancellationGuard guard;
  const auto line = ReadProcessLine(process.pid);
  if (!line) return true;
  return line->state != 'X' && line->state != 'Z' && line->start == process.start;
}

}  // namespace CardSim
