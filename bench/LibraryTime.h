// Measures the time spent in the card library.
#pragma once

#include <chrono>

namespace CorvaneBench {

using Clock = std::chrono::steady_clock;

// Returns the time that all threads have spent in the card library since the program started.
Clock::duration TimeInLibrary();

// The duration of a task, and the part of it spent in the card library, in seconds.
struct TimeSplit {
  double m_Total;
  double m_InLibrary;
};

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
