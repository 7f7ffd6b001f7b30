#include "host/Toolkit.h"
#include "hostkit/toolkit/Ledger.h"
#include "hostkit/toolkit/WaitObjects.h"

namespace HostKit {

LockState::LockState() {
  const MonitorLock lock;
  Ledger& ledger = Ledger::Get();
  m_Ordinal = ledger.locks.Add(*this);
  const auto failing = ledger.failingLockWaits.find(m_Ordinal);
  if (failing == ledger.failingLockWaits.end()) return;
  m_FailingWaits = failing->second;
  m_MayFail = true;
}

LockState::~LockState() {
  const MonitorLock lock;
  Ledger::Get().locks.Remove(*this);
}

bool LockState::Take(ThreadRecord& taker) {
  ThreadRecord* owner = m_pOwner.load(std::memory_order_relaxed);
  if (owner != &taker) {
    owner = nullptr;
    if (!m_pOwner.compare_exchange_strong(owner, &taker)) return false;
    ++taker.heldLocks;
  }
  // The depth of a free lock is 0.
  m_Depth.store(m_Depth.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
  m_Taken.store(m_Taken.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
  return true;
}

std::string LockState::Text() const {
  const ThreadRecord* owner = m_pOwner.load();
  const std::string name = "lock " + std::to_string(m_Ordinal);
  return owner == nullptr ? name : name + ", held by " + owner->name;
}

bool LockState::CountDownToFailure() {
  if (!m_MayFail) return false;
  const MonitorLock lock;
  for (unsigned int& remaining : m_FailingWaits) --remaining;
  const auto due = std::find(m_FailingWaits.begin(), m_FailingWaits.end(), 0U);
  if (due == m_FailingWaits.end()) return false;
  m_FailingWaits.erase(due);
  m_MayFail = !m_FailingWaits.empty();
  return true;
}

}  // namespace HostKit

namespace MBX::Threading {

using HostKit::Ledger;
using HostKit::Monitor;
using HostKit::MonitorLock;

namespace {

// Counts a waiter before the waiter tries the lock again. `Release` frees the lock before it checks
// for waiters. Therefore either the waiter sees the free lock, or `Release` sees the waiter.
class CountedWaiter {
 public:
  explicit CountedWaiter(HostKit::LockState& state) : m_State(state) { ++m_State.m_Waiters; }
  ~CountedWaiter() { --m_State.m_Waiters; }
  CountedWaiter(const CountedWaiter&) = delete;
  CountedWaiter& operator=(const CountedWaiter&) = delete;

 private:
  HostKit::LockState& m_State;
};

}  // namespace

namespace Native_OS {

struct CFastMutex::State : HostKit::LockState {};

CFastMutex::CFastMutex() : m_pState(std::make_shared<State>()) {}

CFastMutex::~CFastMutex() = default;

int CFastMutex::Init() {
  Monitor::Get().SwitchPoint();
  const MonitorLock lock;
  if (Ledger::Get().failingLockInits.count(m_pState->m_Ordinal) > 0) return 0;
  m_pState->m_Usable = true;
  return 1;
}

unsigned int CFastMutex::Wait(unsigned int timeoutMs) {
  if (!m_pState->m_Usable) return WAIT_FAILED;
  Monitor& monitor = Monitor::Get();
  monitor.WaitPoint();
  if (m_pState->CountDownToFailure()) return WAIT_FAILED;
  if (m_pState->Take(Monitor::Self())) return WAIT_SUCCEEDED;

  const std::shared_ptr<State> state = m_pState;
  const CountedWaiter waiter(*state);
  return monitor.WaitFor(*state, timeoutMs) ? WAIT_SUCCEEDED : WAIT_TIMED_OUT;
}

void CFastMutex::Release() {
  Monitor& monitor = Monitor::Get();
  monitor.SwitchPoint();
  HostKit::ThreadRecord& self = Monitor::Self();
  State& state = *m_pState;
  if (state.m_pOwner.load(std::memory_order_relaxed) != &self) return;
  const unsigned int depth = state.m_Depth.load(std::memory_order_relaxed) - 1;
  state.m_Depth.store(depth, std::memory_order_relaxed);
  if (depth > 0) return;
  --self.heldLocks;
  state.m_pOwner = nullptr;
  if (state.m_Waiters > 0) {
    const MonitorLock lock;
    monitor.WakeReadyThreads(lock);
  }
  monitor.SwitchPoint();
}

}  // namespace Native_OS

CSyncGuard::CSyncGuard(Native_OS::CFastMutex& lock, unsigned int timeoutMs)
    : m_Lock(lock), m_Held(lock.Wait(timeoutMs) == WAIT_SUCCEEDED) {}

CSyncGuard::~CSyncGuard() {
  if (m_Held) m_Lock.Release();
}

}  // namespace MBX::Threading
