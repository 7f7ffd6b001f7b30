// Announces logged events in the journal, to the programs in events.d, to streams and in the
// summary of the log.
#pragma once

#include <functional>
#include <vector>

#include "hostkit/EventLog.h"
#include "service/EventFeed.h"
#include "service/EventHooks.h"
#include "service/EventSummary.h"
#include "service/state/Observation.h"
#include "service/state/StateThread.h"

namespace Service {

// Call the members only on the collector's thread.
class EventAnnouncer {
 public:
  using OnCards = std::function<void(const Console::CardRecords&)>;

  // The arguments must outlive this object. `hooks` may be null. `log` writes to the journal and
  // must be thread-safe. `onCards` is called on the state thread with the known cards after each
  // recorded observation, and `onFailure` after one that could not be recorded, if set.
  EventAnnouncer(StateThread& state, EventFeed& feed, EventSummary& summary, EventHooks* hooks,
                 std::function<void(const HostKit::LoggedEvent&)> log, OnCards onCards = nullptr,
                 std::function<void()> onFailure = nullptr);

  // Announces events reported by the plug-in; streams get them with the next snapshot. The programs
  // get all new events in the log, not only these. The summary contains the events when this
  // returns. Call with an empty list once events that could not be logged earlier have been logged.
  void Announce(const std::vector<HostKit::LoggedEvent>& events);
  // Records the observation, and announces events that it adds to the log because no plug-in
  // reported them. Returns false if the state thread did not accept it.
  bool Record(const Observation& observation);

 private:
  StateThread& m_State;
  EventFeed& m_Feed;
  EventSummary& m_Summary;
  EventHooks* const m_Hooks;
  const std::function<void(const HostKit::LoggedEvent&)> m_Log;
  const OnCards m_OnCards;
  const std::function<void()> m_OnFailure;
  bool m_HasPending = false;  // the programs do not have the newest entries yet
};

}  // namespace Service
