// How long the card library itself took, measured around each of its calls.
#pragma once

#include <chrono>

namespace CorvaneBench {

using Clock = std::chrono::steady_clock;

// Time inside the card library since the program began, of all threads together.
Clock::duration InLibrary();

// The time of some work, and the card library's part of it.
struct Split {
  double m_Whole;    // seconds
  double m_Library;  // seconds
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
