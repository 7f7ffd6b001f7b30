// A registry of the kit's locks, events and threads, with the failures to inject. All members are
// guarded by the monitor.
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
  // Adds a state; the caller must remove it before destroying it. Returns its ordinal in order of
  // construction, starting at 1.
  std::size_t Add(State& state) HOST_REQUIRES(g_Monitor) {
    m_Live.push_back(&state);
    return m_Next++;
  }
  void Remove(State& state) HOST_REQUIRES(g_Monitor) {
    m_Live.erase(std::find(m_Live.begin(), m_Live.end(), &state));
  }
  // Numbers states added later from 1, and sets the ordinals of existing states to 0.
  void RestartOrdinals() HOST_REQUIRES(g_Monitor) {
    for (State* state : m_Live) state->m_Ordinal = 0;
    m_Next = 1;
  }
  const std::vector<State*>& Live() const HOST_REQUIRES(g_Monitor) { return m_Live; }

 private:
  std::vector<State*> m_Live HOST_GUARDED_BY(g_Monitor);  // in order of construction
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
  std::vector<unsigned int> failingThreadCreates;  // calls of `Create` left until each failure
};

}  // namespace HostKit
