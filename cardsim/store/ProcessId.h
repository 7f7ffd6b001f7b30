// Who runs a job: a process, known again even if its number is given to another one.
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

ProcessId ThisProcess();

// Whether that very process still runs; one that has ended and was not waited for does not.
bool IsAlive(const ProcessId& process);

}  // namespace CardSim
