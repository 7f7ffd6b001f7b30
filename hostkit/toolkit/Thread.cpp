#include <algorithm>
#include <atomic>
#include <utility>

#include "base/CancellationGuard.h"
#include "host/Toolkit.h"
#include "hostkit/FailedThreads.h"
#include "hostkit/toolkit/Ledger.h"
#include "hostkit/toolkit/WaitObjects.h"

namespace HostKit {

ThreadState::ThreadState() : m_pRecord(std::make_shared<ThreadRecord>()) {
  const MonitorLock lock;
  m_Ordinal = Ledger::Get().threads.Add(*this);
  m_pRecord->name = "thread " + std::to_string(m_Ordinal);
}

ThreadState::~ThreadState() {
  const MonitorLock lock;
  Ledger::Get().threads.Remove(*this);
}

std::string ThreadState::Text() const {
  return "the end of " + m_pRecord->name;
}

namespace {

using MBX::Delegates_and_Calls::CDelegate;

struct Launch {
  std::shared_ptr<ThreadState> state;
  std::unique_ptr<CDelegate> call;
};

// When destroyed, disables the cancellation of the calling thread and marks the thread as ended, on
// return as well as on unwinding.
class ThreadEndGuard {
 public:
  explicit ThreadEndGuard(std::shared_ptr<ThreadState> state) : m_State(std::move(state)) {}

  ~ThreadEndGuard() {
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, nullptr);
    Monitor& monitor = Monitor::Get();
    MonitorLock lock;
    m_State->m_Ended = true;
    monitor.WakeReadyThreads(lock);
    monitor.UnregisterThread(lock, *m_State->m_pRecord);
  }

  ThreadEndGuard(const ThreadEndGuard&) = delete;
  ThreadEndGuard& operator=(const ThreadEndGuard&) = delete;

 private:
  const std::shared_ptr<ThreadState> m_State;
};

void Run(std::unique_ptr<Launch> launch) {
  Monitor& monitor = Monitor::Get();
  ThreadRecord& self = *launch->state->m_pRecord;
  monitor.Adopt(launch->state->m_pRecord);
  const ThreadEndGuard guard(launch->state);
  const std::unique_ptr<CDelegate> call = std::move(launch->call);
  {
    MonitorLock lock;
    monitor.Scheduler().Begin(lock, self);
  }
  call->Call();
}

extern "C" void* HostKitThread(void* launch) {
  Run(std::unique_ptr<Launch>(static_cast<Launch*>(launch)));
  return nullptr;
}

// Counts this start, and returns true if it must fail.
bool CountDownToFailure(std::vector<unsigned int>& startsLeft) {
  for (unsigned int& left : startsLeft) --left;
  const auto due = std::find(startsLeft.begin(), startsLeft.end(), 0U);
  if (due == startsLeft.end()) return false;
  startsLeft.erase(due);
  return true;
}

std::atomic<std::size_t> g_FailedThreads{0};

// Registers the thread before it runs, so that virtual time waits for its first step.
bool Start(std::unique_ptr<Launch> launch) {
  Monitor& monitor = Monitor::Get();
  ThreadState& state = *launch->state;
  MonitorLock lock;
  if (state.m_Created) return false;
  if (CountDownToFailure(Ledger::Get().failingThreadCreates)) {
    ++g_FailedThreads;
    return false;
  }
  monitor.RegisterThread(lock, *state.m_pRecord);
  pthread_t thread{};
  if (pthread_create(&thread, nullptr, HostKitThread, launch.get()) != 0) {
    monitor.UnregisterThread(lock, *state.m_pRecord);
    ++g_FailedThreads;
    return false;
  }
  launch.release();
  state.m_Created = true;
  state.m_Handle = thread;
  return true;
}

}  // namespace

std::size_t FailedThreads() {
  return g_FailedThreads;
}

}  // namespace HostKit

namespace MBX::Delegates_and_Calls {

CDelegate::~CDelegate() = default;

}  // namespace MBX::Delegates_and_Calls

namespace MBX::Threading {

using HostKit::Monitor;
using HostKit::MonitorLock;

struct CThread::State : HostKit::ThreadState {};

CThread::CThread() : m_pState(std::make_shared<State>()) {}

CThread::~CThread() {
  // Joining is a cancellation point, and a destructor must not be canceled.
  const Base::CancellationGuard guard;
  MonitorLock lock;
  if (!m_pState->m_Created) return;
  const pthread_t thread = m_pState->m_Handle;
  if (!m_pState->m_Ended) {
    pthread_detach(thread);
    return;
  }
  lock.Unlock();
  // Returns almost immediately: the thread has nothing left to do.
  pthread_join(thread, nullptr);
}

int CThread::Create(const Delegates_and_Calls::CDelegate& delegate, bool suspended) {
  if (suspended) return 0;
  auto launch = std::make_unique<HostKit::Launch>(HostKit::Launch{m_pState, delegate.Clone()});
  if (!HostKit::Start(std::move(launch))) return 0;
  Monitor::Get().SwitchPoint();
  return 1;
}

unsigned int CThread::Wait(unsigned int timeoutMs) {
  const std::shared_ptr<State> state = m_pState;
  Monitor& monitor = Monitor::Get();
  {
    const MonitorLock lock;
    if (!state->m_Created) return WAIT_FAILED;
  }
  monitor.WaitPoint();
  return monitor.WaitFor(*state, timeoutMs) ? WAIT_SUCCEEDED : WAIT_TIMED_OUT;
}

unsigned long CThread::GetHandle() const {
  const MonitorLock lock;
  return m_pState->m_Handle;
}

void CThread::Cancel() {
  Monitor& monitor = Monitor::Get();
  monitor.SwitchPoint();
  const MonitorLock lock;
  if (!m_pState->m_Created) return;
  ++m_pState->m_CancelRequests;
  if (m_pState->m_Ended) return;
  m_pState->m_Canceled = true;
  if (monitor.Scheduler().IsReal()) {
    pthread_cancel(m_pState->m_Handle);
    return;
  }
  HostKit::ThreadRecord& target = *m_pState->m_pRecord;
  target.cancelRequested = true;
  if (target.sleeper != nullptr && !target.sleeper->woken) {
    monitor.Scheduler().Wake(*target.sleeper);
  }
}

}  // namespace MBX::Threading
