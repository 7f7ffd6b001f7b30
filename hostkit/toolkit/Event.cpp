#include "host/Toolkit.h"
#include "hostkit/toolkit/EventAccess.h"
#include "hostkit/toolkit/Ledger.h"

namespace HostKit {

EventState::EventState() {
  const MonitorLock lock;
  m_Ordinal = Ledger::Get().events.Add(*this);
}

EventState::~EventState() {
  const MonitorLock lock;
  Ledger::Get().events.Remove(*this);
}

bool EventState::Take(ThreadRecord&) {
  if (!m_Set) return false;
  m_Set = m_ManualReset;
  return true;
}

std::string EventState::Text() const {
  return "event " + std::to_string(m_Ordinal);
}

}  // namespace HostKit

namespace MBX::Threading {

using HostKit::Ledger;
using HostKit::Monitor;
using HostKit::MonitorLock;

namespace {

bool IsUsable(const HostKit::EventState& state) {
  const MonitorLock lock;
  return state.m_Usable;
}

void Assign(HostKit::EventState& state, bool set) {
  Monitor& monitor = Monitor::Get();
  monitor.SwitchPoint();
  {
    const MonitorLock lock;
    if (!state.m_Usable) return;
    state.m_Set = set;
    monitor.WakeReadyThreads(lock);
  }
  monitor.SwitchPoint();
}

}  // namespace

CEvent::CEvent() : m_pState(std::make_shared<State>()) {}

CEvent::~CEvent() = default;

int CEvent::Init(bool initiallySet, bool manualReset) {
  Monitor& monitor = Monitor::Get();
  monitor.SwitchPoint();
  const MonitorLock lock;
  if (Ledger::Get().failingEventInits.count(m_pState->m_Ordinal) > 0) return 0;
  m_pState->m_Usable = true;
  m_pState->m_ManualReset = manualReset;
  m_pState->m_Set = initiallySet;
  monitor.WakeReadyThreads(lock);
  return 1;
}

void CEvent::Set() {
  Assign(*m_pState, true);
}

void CEvent::Reset() {
  Assign(*m_pState, false);
}

unsigned int CEvent::Wait(unsigned int timeoutMs) {
  const std::shared_ptr<State> state = m_pState;
  if (!IsUsable(*state)) return WAIT_FAILED;
  Monitor& monitor = Monitor::Get();
  monitor.WaitPoint();
  return monitor.WaitFor(*state, timeoutMs) ? WAIT_SUCCEEDED : WAIT_TIMED_OUT;
}

}  // namespace MBX::Threading
