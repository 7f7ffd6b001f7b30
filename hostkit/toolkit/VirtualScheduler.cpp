#include "hostkit/toolkit/VirtualScheduler.h"

#include <algorithm>

#include "hostkit/toolkit/Monitor.h"

namespace HostKit {

namespace {

// Every run in virtual time starts at the same time, 2026-01-01 00:00 UTC, so that it can be
// repeated exactly. The steady clock starts at a different value, as on a real machine.
constexpr std::int64_t kFirstEpochMs = 1'767'225'600'000;
constexpr std::int64_t kFirstSteadyNs = 1'000'000'000'000;

}  // namespace

void VirtualScheduler::Restart(std::uint64_t /*seed*/) {
  m_NowNs = kFirstSteadyNs;
  m_DeadlockReported = false;
}

std::int64_t VirtualScheduler::EpochMs() const {
  return kFirstEpochMs + (m_NowNs - kFirstSteadyNs) / kNsPerMs;
}

void VirtualScheduler::OnThreadRemoved(MonitorLock& lock, ThreadRecord&) {
  AdvanceIfIdle(lock, nullptr);
}

void VirtualScheduler::Block(MonitorLock& lock, Sleeper& sleeper) {
  sleeper.thread.blocked = true;
  AdvanceIfIdle(lock, &sleeper);
  while (!sleeper.woken) sleeper.thread.wakeSignal.Await(lock);
}

void VirtualScheduler::Wake(Sleeper& sleeper) {
  m_DeadlockReported = false;
  sleeper.woken = true;
  sleeper.thread.blocked = false;
  sleeper.thread.wakeSignal.Send();
}

bool VirtualScheduler::JumpToDeadline() {
  std::int64_t earliest = kNever;
  for (const Sleeper* sleeper : Monitor::Get().Sleepers()) {
    if (!sleeper->woken) earliest = std::min(earliest, sleeper->deadlineNs);
  }
  if (earliest == kNever) return false;
  m_NowNs = std::max(m_NowNs.load(), earliest);
  for (Sleeper* sleeper : Monitor::Get().Sleepers()) {
    if (sleeper->woken || sleeper->deadlineNs > m_NowNs) continue;
    sleeper->timedOut = true;
    Wake(*sleeper);
  }
  return true;
}

// An unregistered thread counts as running from its wake-up until it continues.
bool VirtualScheduler::AnyThreadCanRun() const {
  const auto& registered = Monitor::Get().RegisteredThreads();
  const auto& sleepers = Monitor::Get().Sleepers();
  return std::any_of(registered.begin(), registered.end(),
                     [](auto* thread) HOST_REQUIRES(g_Monitor) { return !thread->blocked; }) ||
         std::any_of(sleepers.begin(), sleepers.end(),
                     [](auto* sleeper) HOST_REQUIRES(g_Monitor) { return sleeper->woken; });
}

void VirtualScheduler::AdvanceIfIdle(MonitorLock& lock, Sleeper* own) {
  while (!AnyThreadCanRun() && !JumpToDeadline() && !m_DeadlockReported) {
    if (Monitor::Get().Sleepers().empty()) return;
    ReportDeadlock(lock, own);
  }
}

// The handler may use the kit to resolve the deadlock, so its thread counts as running.
void VirtualScheduler::ReportDeadlock(MonitorLock& lock, Sleeper* own) {
  m_DeadlockReported = true;
  if (own != nullptr) own->thread.blocked = false;
  Monitor::Get().ReportDeadlock(lock);
  if (own != nullptr) own->thread.blocked = !own->woken;
}

WaitScheduler& VirtualTimeScheduler() {
  // Never destroyed, because threads may still wait while the process exits.
  static VirtualScheduler& scheduler = *new VirtualScheduler;
  return scheduler;
}

}  // namespace HostKit
