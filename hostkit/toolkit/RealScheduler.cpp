#include "hostkit/toolkit/RealScheduler.h"

#include <chrono>

namespace HostKit {

namespace {

class RealScheduler final : public WaitScheduler {
 public:
  // Nothing depends on the seed: the machine decides in which order the threads run.
  void Restart(std::uint64_t /*seed*/) override {}

  std::int64_t SteadyNs() const override {
    return std::chrono::nanoseconds(std::chrono::steady_clock::now().time_since_epoch()).count();
  }

  std::int64_t EpochMs() const override;
  bool IsReal() const override { return true; }
  void Block(MonitorLock& lock, Sleeper& sleeper) override HOST_REQUIRES(g_Monitor);

  void Wake(Sleeper& sleeper) override HOST_REQUIRES(g_Monitor) {
    sleeper.woken = true;
    g_ToWake.push_back(sleeper.thread.shared_from_this());
  }

  void TestCancel(ThreadRecord&) override { pthread_testcancel(); }

 private:
  mutable std::atomic<std::int64_t> m_AheadOfSteadyMs{std::numeric_limits<std::int64_t>::min()};
};

// If the wall clock is set back, the result keeps increasing at the pace of the steady clock. If
// the wall clock is set forward, as after a boot without a battery-backed clock, the result jumps
// forward too.
std::int64_t RealScheduler::EpochMs() const {
  const std::int64_t steadyMs = SteadyNs() / kNsPerMs;
  const auto wall = std::chrono::system_clock::now().time_since_epoch();
  const std::int64_t wallMs = std::chrono::duration_cast<std::chrono::milliseconds>(wall).count();
  std::int64_t ahead = m_AheadOfSteadyMs.load();
  while (wallMs - steadyMs > ahead) {
    if (m_AheadOfSteadyMs.compare_exchange_weak(ahead, wallMs - steadyMs)) {
      ahead = wallMs - steadyMs;
    }
  }
  return steadyMs + ahead;
}

void RealScheduler::Block(MonitorLock& lock, Sleeper& sleeper) {
  while (!sleeper.woken && !sleeper.timedOut) {
    if (sleeper.deadlineNs == kNever) {
      sleeper.thread.wakeSignal.Await(lock);
    } else {
      sleeper.thread.wakeSignal.AwaitUntil(lock, sleeper.deadlineNs);
      sleeper.timedOut = SteadyNs() >= sleeper.deadlineNs;
    }
  }
}

}  // namespace

WaitScheduler& RealTimeScheduler() {
  // Never destroyed, because threads may still wait while the process exits.
  static RealScheduler& scheduler = *new RealScheduler;
  return scheduler;
}

}  // namespace HostKit
