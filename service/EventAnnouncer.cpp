#include "service/EventAnnouncer.h"

#include <utility>

namespace Service {

using Events = std::vector<HostKit::LoggedEvent>;

EventAnnouncer::EventAnnouncer(StateThread& state, EventFeed& feed, EventHooks* hooks,
                               std::function<void(const HostKit::LoggedEvent&)> log)
    : m_State(state), m_Feed(feed), m_Hooks(hooks), m_Log(std::move(log)) {}

// The state thread announces all events in the order of the log. If its queue is full, the events
// go straight to the journal, and the programs, which read the log, get them with the next events.
void EventAnnouncer::Announce(const Events& events) const {
  const auto announce = [this, events](const auto&) {
    for (const HostKit::LoggedEvent& event : events) m_Log(event);
    if (m_Hooks != nullptr) m_Hooks->OnEvents();
  };
  if (m_State.Read([](StateStore&) { return true; }, announce)) return;
  for (const HostKit::LoggedEvent& event : events) m_Log(event);
}

// The state thread reports failures.
bool EventAnnouncer::Record(const Observation& observation) const {
  const auto announce = [this](const StateOutcome<Events>& outcome) {
    if (!outcome.m_Result || outcome.m_Result->empty()) return;
    for (const HostKit::LoggedEvent& event : *outcome.m_Result) m_Log(event);
    if (m_Hooks != nullptr) m_Hooks->OnEvents();
    m_Feed.ReadLog();  // the snapshot that shows these events is already published
  };
  return m_State.Change([observation](StateStore& store) { return store.Record(observation); },
                        announce);
}

}  // namespace Service
