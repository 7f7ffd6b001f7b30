// Numbers of the kit's locks, events and threads, and the failures that were ordered for them.
// Everything here is guarded by the monitor.
#pragma once

#include <algorithm>
#include <cstddef>
#include <map>
#include <set>
#include <vector>

#include "hostkit/toolkit/Monitor.h"

namespace HostKit {

// What is alive of one kind. A state enters when it is made and leaves when it goes.
template <class State>
class Registry {
 public:
  std::size_t Add(State& state) {
    m_Alive.push_back(&state);
    return m_Next++;
  }
  void Remove(State& state) { m_Alive.erase(std::find(m_Alive.begin(), m_Alive.end(), &state)); }
  void RestartOrdinals() {
    for (State* state : m_Alive) state->m_Ordinal = 0;
    m_Next = 1;
  }
  const std::vector<State*>& Alive() const { return m_Alive; }

 private:
  std::vector<State*> m_Alive;  // in order of construction
  std::size_t m_Next = 1;
};

struct LockState;
struct EventState;
struct ThreadState;

struct Ledger {
  static Ledger& Get();

  Registry<LockState> locks;
  Registry<EventState> events;
  Registry<ThreadState> threads;
  std::set<std::size_t> failingLockInits;
  std::set<std::size_t> failingEventInits;
  std::map<std::size_t, std::vector<unsigned int>> failingLockWaits;  // for locks not made yet
  std::vector<unsigned int> failingThreadCreates;                     // starts until each failure
};

}  // namespace HostKit
