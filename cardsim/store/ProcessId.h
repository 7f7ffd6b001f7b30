// Identity of a process, even if its number is reused later. May be called by any thread.
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

// This process. Throws `std::runtime_error` if /proc exists and cannot be read.
ProcessId ThisProcess();

// Whether exactly that process still runs. A zombie does not; a process that cannot be examined
// does.
bool IsAlive(const ProcessId& process);

}  // namespace CardSim
