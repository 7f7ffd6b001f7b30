#include "hostkit/Inspect.h"

#include "hostkit/toolkit/Ledger.h"
#include "hostkit/toolkit/WaitObjects.h"

namespace HostKit {

Ledger& Ledger::Get() {
  static Ledger& ledger = *new Ledger;
  return ledger;
}

std::vector<LockView> Locks() {
  const MonitorLock lock;
  std::vector<LockView> views;
  for (const LockState* state : Ledger::Get().locks.Live()) {
    const ThreadRecord* owner = state->m_pOwner;
    views.push_back({state->m_Ordinal, owner == nullptr ? "" : owner->name, state->m_Depth,
                     state->m_Usable, state->m_Taken});
  }
  return views;
}

std::vector<EventView> Events() {
  const MonitorLock lock;
  std::vector<EventView> views;
  for (const EventState* state : Ledger::Get().events.Live()) {
    views.push_back({state->m_Ordinal, state->m_Usable, state->m_ManualReset, state->m_Set});
  }
  return views;
}

std::vector<ThreadView> Threads() {
  const MonitorLock lock;
  std::vector<ThreadView> views;
  for (const ThreadState* state : Ledger::Get().threads.Live()) {
    if (!state->m_Created) continue;
    views.push_back({state->m_Ordinal, state->m_Ended, state->m_Canceled, state->m_CancelRequests});
  }
  return views;
}

void ResetLedger() {
  const MonitorLock lock;
  Ledger& ledger = Ledger::Get();
  for (LockState* state : ledger.locks.Live()) {
    state->m_FailingWaits.clear();
    state->m_MayFail = false;
  }
  ledger.locks.RestartOrdinals();
  ledger.events.RestartOrdinals();
  ledger.threads.RestartOrdinals();
  ledger.failingLockInits.clear();
  ledger.failingEventInits.clear();
  ledger.failingLockWaits.clear();
  ledger.failingThreadCreates.clear();
}

void FailLockInit(std::size_t ordinal) {
  const MonitorLock lock;
  Ledger::Get().failingLockInits.insert(ordinal);
}

void FailEventInit(std::size_t ordinal) {
  const MonitorLock lock;
  Ledger::Get().failingEventInits.insert(ordinal);
}

void FailLockWait(std::size_t ordinal, unsigned int nth) {
  const MonitorLock lock;
  Ledger& ledger = Ledger::Get();
  for (LockState* state : ledger.locks.Live()) {
    if (state->m_Ordinal != ordinal) continue;
    state->m_FailingWaits.push_back(nth);
    state->m_MayFail = true;
    return;
  }
  ledger.failingLockWaits[ordinal].push_back(nth);
}

void FailThreadCreate(unsigned int nth) {
  const MonitorLock lock;
  Ledger::Get().failingThreadCreates.push_back(nth);
}

}  // namespace HostKit
