#include "host/Toolkit.h"
#include "hostkit/toolkit/EventAccess.h"

namespace MBX::Threading {

using HostKit::EventState;
using HostKit::Monitor;

namespace {

// A condition that combines several events. Positions count from 0.
class EventSet final : public HostKit::Condition {
 public:
  explicit EventSet(bool all) : m_All(all) {}

  void Add(EventState& event, unsigned int position) { m_Events.push_back({&event, position}); }
  bool Empty() const { return m_Events.empty(); }
  unsigned int Taken() const { return m_Taken; }

  bool IsMet() const override HOST_REQUIRES(HostKit::g_Monitor);
  bool Take(HostKit::ThreadRecord& taker) override HOST_REQUIRES(HostKit::g_Monitor);
  std::string Text() const override HOST_REQUIRES(HostKit::g_Monitor);

 private:
  struct Entry {
    EventState* event;
    unsigned int position;
  };

  std::vector<Entry> m_Events;
  const bool m_All;
  unsigned int m_Taken = 0;
};

bool EventSet::IsMet() const {
  const auto isSet = [](const Entry& entry)
                         HOST_REQUIRES(HostKit::g_Monitor) { return entry.event->IsMet(); };
  return m_All ? std::all_of(m_Events.begin(), m_Events.end(), isSet)
               : std::any_of(m_Events.begin(), m_Events.end(), isSet);
}

bool EventSet::Take(HostKit::ThreadRecord& taker) {
  if (!IsMet()) return false;
  bool taken = false;
  for (const Entry& entry : m_Events) {
    if (!entry.event->Take(taker)) continue;
    if (!taken) m_Taken = entry.position;
    taken = true;
    if (!m_All) break;
  }
  return true;
}

std::string EventSet::Text() const {
  std::string text;
  for (const Entry& entry : m_Events) {
    text += (text.empty() ? "" : m_All ? " and " : " or ") + entry.event->Text();
  }
  return text;
}

}  // namespace

CWaiter::CWaiter() = default;

CWaiter::~CWaiter() = default;

void CWaiter::Add(CEvent& event) {
  m_Events.push_back(event.m_pState);
}

unsigned int CWaiter::Wait(unsigned int timeoutMs, bool all) {
  Monitor& monitor = Monitor::Get();
  EventSet events(all);
  {
    const HostKit::MonitorLock lock;
    for (std::size_t i = 0; i < m_Events.size(); ++i) {
      if (m_Events[i]->m_Usable) events.Add(*m_Events[i], static_cast<unsigned int>(i));
    }
  }
  if (events.Empty()) return WAIT_FAILED;
  monitor.WaitPoint();
  return monitor.WaitFor(events, timeoutMs) ? events.Taken() + 1 : WAIT_TIMED_OUT;
}

}  // namespace MBX::Threading
