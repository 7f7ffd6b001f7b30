// Identities of processes, which remain unique even if a pid is reused. Thread-safe.
#pragma once

#include <cstdint>

namespace CardSim {

struct ProcessId {
  std::int64_t pid = 0;
  std::uint64_t start = 0;  // in clock ticks since boot
};

inline bool operator==(const ProcessId& a, const ProcessId& b) {
  return a.pid == b.pid && a.start == b.start;
}

// Returns the identity of this process. Throws `std::runtime_error` if /proc exists and cannot be
// read.
ProcessId ThisProcess();

// Whether exactly that process is still running. A zombie counts as exited; a process that cannot
// be examined counts as running.
bool IsAlive(const ProcessId& process);

}  // namespace CardSim
