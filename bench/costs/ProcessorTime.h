// The processor time of this process.
#pragma once

#include <ctime>

namespace CorvaneBench {

// Returns the processor time that all threads have used, in nanoseconds. Unlike elapsed time, it
// does not grow while other programs run.
inline double ProcessorNs() {
  timespec time{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) * 1e9 + static_cast<double>(time.tv_nsec);
}

}  // namespace CorvaneBench
