#include "hostkit/toolkit/SeededScheduler.h"

#include "hostkit/toolkit/Monitor.h"

namespace HostKit {

namespace {

// On average, one in this many switches fires a timeout although threads could run: often enough to
// happen in every schedule, but rarely enough that jobs can finish in time.
constexpr unsigned int kSwitchesPerTimeout = 64;

}  // namespace

void SeededScheduler::Restart(std::uint64_t seed) {
  VirtualScheduler::Restart(seed);
  m_Random.seed(seed);
  m_pTurn = nullptr;
}

void SeededScheduler::OnThreadAdded(ThreadRecord& thread) {
  thread.blocked = false;
  if (m_pTurn == nullptr) m_pTurn = &thread;
}

void SeededScheduler::Begin(MonitorLock& lock, ThreadRecord& self) {
  AwaitTurn(lock, self);
}

void SeededScheduler::OnThreadRemoved(MonitorLock& lock, ThreadRecord& thread) {
  if (m_pTurn != &thread) return;
  m_pTurn = nullptr;
  PassTurn(lock, nullptr);
}

void SeededScheduler::SwitchPoint(ThreadRecord& self) {
  if (self.registrations == 0 || self.pinned) return;
  MonitorLock lock;
  MaybeFireTimer();
  ThreadRecord* next = PickReadyThread();
  if (next == &self) return;
  SetTurn(next);
  AwaitTurn(lock, self);
}

void SeededScheduler::Block(MonitorLock& lock, Sleeper& sleeper) {
  const bool registered = sleeper.thread.registrations > 0;
  sleeper.thread.blocked = true;
  if (registered || m_pTurn == nullptr) PassTurn(lock, &sleeper);
  if (registered) {
    AwaitTurn(lock, sleeper.thread);
  } else {
    while (!sleeper.woken) sleeper.thread.wakeSignal.Await(lock);
  }
}

void SeededScheduler::Wake(Sleeper& sleeper) {
  VirtualScheduler::Wake(sleeper);
  // Only an unregistered thread can wake another while no thread has the turn.
  if (m_pTurn == nullptr && sleeper.thread.registrations > 0) m_pTurn = &sleeper.thread;
}

void SeededScheduler::AwaitTurn(MonitorLock& lock, ThreadRecord& self) {
  while (m_pTurn != &self) self.wakeSignal.Await(lock);
}

void SeededScheduler::PassTurn(MonitorLock& lock, Sleeper* own) {
  MaybeFireTimer();
  AdvanceIfIdle(lock, own);
  const bool others = m_pTurn != nullptr && (own == nullptr || m_pTurn != &own->thread);
  if (!others) SetTurn(PickReadyThread());
}

void SeededScheduler::MaybeFireTimer() {
  if (m_Random() % kSwitchesPerTimeout == 0) JumpToDeadline();
}

ThreadRecord* SeededScheduler::PickReadyThread() {
  std::size_t ready = 0;
  for (const ThreadRecord* thread : Monitor::Get().RegisteredThreads()) {
    ready += thread->blocked ? 0 : 1;
  }
  if (ready == 0) return nullptr;
  std::size_t skip = m_Random() % ready;
  for (ThreadRecord* thread : Monitor::Get().RegisteredThreads()) {
    if (!thread->blocked && skip-- == 0) return thread;
  }
  return nullptr;
}

void SeededScheduler::SetTurn(ThreadRecord* thread) {
  m_pTurn = thread;
  if (thread != nullptr) thread->wakeSignal.Send();
}

WaitScheduler& SeededTimeScheduler() {
  // Never destroyed, because threads may still wait while the process exits.
  static SeededScheduler& scheduler = *new SeededScheduler;
  return scheduler;
}

}  // namespace HostKit
