// A registry of the kit's locks, events and threads, with the failures requested for them. All
// members are guarded by the monitor.
#pragma once

#include <algorithm>
#include <cstddef>
#include <map>
#include <set>
#include <vector>

#include "hostkit/toolkit/Monitor.h"

namespace HostKit {

// The existing objects of one kind.
template <class State>
class Registry {
 public:
  // Adds a state, which must be removed before its destruction. Returns its ordinal, counted from 1
  // in order of construction.
  std::size_t Add(State& state) HOST_REQUIRES(g_Monitor) {
    m_Alive.push_back(&state);
    return m_Next++;
  }
  void Remove(State& state) HOST_REQUIRES(g_Monitor) {
    m_Alive.erase(std::find(m_Alive.begin(), m_Alive.end(), &state));
  }
  // Restarts the ordinals of states added later at 1, and sets those of existing states to 0.
  void RestartOrdinals() HOST_REQUIRES(g_Monitor) {
    for (State* state : m_Alive) state->m_Ordinal = 0;
    m_Next = 1;
  }
  const std::vector<State*>& Alive() const HOST_REQUIRES(g_Monitor) { return m_Alive; }

 private:
  std::vector<State*> m_Alive HOST_GUARDED_BY(g_Monitor);  // in order of construction
  std::size_t m_Next HOST_GUARDED_BY(g_Monitor) = 1;
};

struct LockState;
struct EventState;
struct ThreadState;

struct Ledger {
  static Ledger& Get() HOST_REQUIRES(g_Monitor);

  Registry<LockState> locks;
  Registry<EventState> events;
  Registry<ThreadState> threads;
  std::set<std::size_t> failingLockInits;
  std::set<std::size_t> failingEventInits;
  std::map<std::size_t, std::vector<unsigned int>>
      failingLockWaits;                            // for locks that do not exist yet
  std::vector<unsigned int> failingThreadCreates;  // starts left until each failure
};

}  // namespace HostKit
