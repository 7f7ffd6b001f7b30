#include "service/EventAnnouncer.h"

#include <utility>

namespace Service {

using Events = std::vector<HostKit::LoggedEvent>;

EventAnnouncer::EventAnnouncer(StateThread& state, EventFeed& feed, EventSummary& summary,
                               EventHooks* hooks,
                               std::function<void(const HostKit::LoggedEvent&)> log,
                               OnCards onCards, std::function<void()> onFailure)
    : m_State(state),
      m_Feed(feed),
      m_Summary(summary),
      m_Hooks(hooks),
      m_Log(std::move(log)),
      m_OnCards(std::move(onCards)),
      m_OnFailure(std::move(onFailure)) {}

// The state thread announces all events in the order of the log. If its queue is full, the events
// go straight to the journal, and the programs, which read the log, get them with the next
// observation.
void EventAnnouncer::Announce(const Events& events) {
  m_Summary.Update();  // before the snapshot that shows the changes
  const auto announce = [this, events](const auto&) {
    for (const HostKit::LoggedEvent& event : events) m_Log(event);
    if (m_Hooks != nullptr) m_Hooks->OnEvents();
  };
  if (m_State.QueueRead([](StateStore&) { return true; }, announce)) return;
  for (const HostKit::LoggedEvent& event : events) m_Log(event);
  m_HasPending = true;
}

// The state thread reports failures. Each observation updates the summary, because other programs
// may have written to the log, or an earlier update may have failed.
bool EventAnnouncer::Record(const Observation& observation) {
  const auto announce = [this, hasPending = m_HasPending](const StateOutcome<Events>& outcome) {
    if (outcome.m_Result) m_Summary.Update();
    if (!outcome.m_Result && m_OnFailure) m_OnFailure();
    const bool hasNew = outcome.m_Result && !outcome.m_Result->empty();
    if (hasNew) {
      for (const HostKit::LoggedEvent& event : *outcome.m_Result) m_Log(event);
    }
    if ((hasNew || hasPending) && m_Hooks != nullptr) m_Hooks->OnEvents();
    if (hasNew) m_Feed.ReadLog();  // the snapshot that shows these events is already published
  };
  const auto record = [this, observation](StateStore& store) {
    Events events = store.Record(observation);
    if (m_OnCards) m_OnCards(store.Records());
    return events;
  };
  const bool isAccepted = m_State.QueueChange(record, announce);
  if (isAccepted) m_HasPending = false;
  return isAccepted;
}

}  // namespace Service
