#include <thread>

#include "tests/hostkit/toolkit/Fixtures.h"
#include "tests/hostkit/toolkit/Sleeper.h"

using namespace MBX::Threading;

namespace {

constexpr long kHourMs = 3'600'000;

using Sleeping = EveryTimeMode;

TEST_P(Sleeping, TakesAtLeastItsTime) {
  const std::int64_t begin = HostKit::SteadyNowNs();
  SleepWithBoost(20);
  EXPECT_GE(HostKit::SteadyNowNs() - begin, 20'000'000);
}

TEST_P(Sleeping, IsInterruptedByACancellation) {
  ReadyEvent started;
  Job job([&] {
    started.Set();
    SleepWithBoost(1000 * kHourMs);
  });
  started.Wait(WAIT_INFINITE);
  job->Cancel();
  EXPECT_EQ(WAIT_SUCCEEDED, job->Wait(WAIT_INFINITE));
}

IN_EVERY_TIME_MODE(Sleeping);

class LongSleeping : public EveryTimeMode {
 protected:
  const std::chrono::steady_clock::time_point m_Begin = std::chrono::steady_clock::now();

  void TearDown() override {
    EXPECT_LT(std::chrono::steady_clock::now() - m_Begin, std::chrono::minutes(30));
    EveryTimeMode::TearDown();
  }
};

TEST_P(LongSleeping, TakesExactlyItsVirtualTime) {
  const unsigned long begin = MBX::Misc::now();
  SleepWithBoost(kHourMs);
  EXPECT_EQ(3'600'000U, MBX::Misc::now() - begin);
}

TEST_P(LongSleeping, OverlapsAcrossThreads) {
  const unsigned long begin = MBX::Misc::now();
  {
    const Job hour([] { SleepWithBoost(kHourMs); });
    const Job halves([] {
      SleepWithBoost(kHourMs / 2);
      SleepWithBoost(kHourMs / 2);
    });
  }
  EXPECT_EQ(3'600'000U, MBX::Misc::now() - begin);
}

TEST_P(LongSleeping, IsRealInAThreadThatTheKitDoesNotKnow) {
  const unsigned long begin = MBX::Misc::now();
  const auto real = std::chrono::steady_clock::now();
  std::thread([] { SleepWithBoost(10); }).join();
  EXPECT_GE(std::chrono::steady_clock::now() - real, std::chrono::milliseconds(10));
  EXPECT_EQ(begin, MBX::Misc::now());
}

INSTANTIATE_TEST_SUITE_P(TimeModes, LongSleeping,
                         testing::Values(TimeMode::Virtual, TimeMode::Seeded), TimeModeName);

}  // namespace
