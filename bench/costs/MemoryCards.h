// A card library in memory that does as little work as possible, so that a benchmark measures its
// caller. This program exports its functions, and the loader prefers them to those of the
// simulator. Every card is healthy, attached and has all attributes. Not thread-safe.
#pragma once

#include <cstdint>
#include <vector>

namespace CorvaneBench::MemoryCards {

// Replaces the cards by `count` new ones. Invalidates all handles and recorded calls.
void Create(int count);

// Sets the warning mask of all cards.
void SetWarnings(std::uint64_t mask);

// One call to the library, which `m_Repeat` repeats with the same handle.
struct Call {
  void (*m_Repeat)(void* handle);
  void* m_Handle;
};
using Calls = std::vector<Call>;

// Appends all calls from now on to `calls`; null: stops.
void Record(Calls* calls);

// Returns the calls that `work` makes, on any thread.
template <class Work>
Calls CallsOf(Work work) {
  Calls calls;
  Record(&calls);
  work();
  Record(nullptr);
  return calls;
}

inline void Repeat(const Calls& calls) {
  for (const Call& call : calls) call.m_Repeat(call.m_Handle);
}

// Selects whether scans are timed, which costs two readings of the clock per pass.
void TimeScans(bool on);

// Returns the processor time, in nanoseconds, between the first and the last call of the most
// recent scan: from the creation of the first card's handle to the destruction of the last card's.
double LastScanNs();

}  // namespace CorvaneBench::MemoryCards
