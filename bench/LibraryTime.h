// Measures the time spent in the card library.
#pragma once

#include <chrono>

namespace CorvaneBench {

using Clock = std::chrono::steady_clock;

// Returns the time that all threads have spent in the card library since the program started.
Clock::duration TimeInLibrary();

// The duration of a task, and the part of it spent in the card library, in seconds. If several
// threads call the library at the same time, that part can be longer than the total.
struct TimeSplit {
  double m_Total;
  double m_InLibrary;
};

// Calls `work` and returns its duration, split in this way.
template <class Work>
TimeSplit MeasureTime(Work work) {
  const Clock::duration library = TimeInLibrary();
  const Clock::time_point begin = Clock::now();
  work();
  const std::chrono::duration<double> whole = Clock::now() - begin;
  const std::chrono::duration<double> inside = TimeInLibrary() - library;
  return {whole.count(), inside.count()};
}

}  // namespace CorvaneBench
