// Measures the time spent in the card library.
#pragma once

#include <chrono>

namespace CorvaneBench {

using Clock = std::chrono::steady_clock;

// Returns the time that all threads have spent in the card library since the program started.
Clock::duration InLibrary();

// The duration of a task, and the part of it spent in the card library, in seconds.
struct Split {
  double m_Whole;
  double m_Library;
};

template <class Work>
Split Timed(Work work) {
  const Clock::duration library = InLibrary();
  const Clock::time_point begin = Clock::now();
  work();
  const std::chrono::duration<double> whole = Clock::now() - begin;
  const std::chrono::duration<double> inside = InLibrary() - library;
  return {whole.count(), inside.count()};
}

}  // namespace CorvaneBench
