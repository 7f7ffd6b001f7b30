#include <atomic>

#include "tests/hostkit/toolkit/Fixtures.h"

using namespace MBX::Threading;

namespace {

using Event = EveryTimeMode;

TEST_P(Event, CannotBeWaitedForBeforeInit) {
  CEvent event;
  event.Set();
  EXPECT_EQ(WAIT_FAILED, event.Wait(WAIT_INFINITE));
  EXPECT_EQ(1, event.Init(false, true));
  EXPECT_EQ(WAIT_TIMED_OUT, event.Wait(0));
}

TEST_P(Event, ReleasesOneWaitIfItResetsAutomatically) {
  ReadyEvent event;
  EXPECT_EQ(WAIT_TIMED_OUT, event.Wait(0));
  event.Set();
  event.Set();
  EXPECT_EQ(WAIT_SUCCEEDED, event.Wait(WAIT_INFINITE));
  EXPECT_EQ(WAIT_TIMED_OUT, event.Wait(0));
}

TEST_P(Event, ReleasesEveryWaitUntilItIsResetManually) {
  ReadyEvent event(true);
  event.Set();
  EXPECT_EQ(WAIT_SUCCEEDED, event.Wait(WAIT_INFINITE));
  EXPECT_EQ(WAIT_SUCCEEDED, event.Wait(0));
  event.Reset();
  EXPECT_EQ(WAIT_TIMED_OUT, event.Wait(0));
}

TEST_P(Event, MayBeSetInitially) {
  CEvent event;
  EXPECT_EQ(1, event.Init(true, false));
  EXPECT_EQ(WAIT_SUCCEEDED, event.Wait(0));
  EXPECT_EQ(WAIT_TIMED_OUT, event.Wait(0));
}

TEST_P(Event, DoesNotTimeOutEarly) {
  ReadyEvent event;
  const std::int64_t begin = HostKit::SteadyNowNs();
  EXPECT_EQ(WAIT_TIMED_OUT, event.Wait(15));
  EXPECT_GE(HostKit::SteadyNowNs() - begin, 15'000'000);
}

TEST_P(Event, WakesAWaitingThread) {
  ReadyEvent started, event;
  unsigned int result = 0;
  Job job([&] {
    started.Set();
    result = event.Wait(WAIT_INFINITE);
  });
  started.Wait(WAIT_INFINITE);
  event.Set();
  job->Wait(WAIT_INFINITE);
  EXPECT_EQ(WAIT_SUCCEEDED, result);
}

TEST_P(Event, WakesOneWaiterIfAutomaticAndAllIfManual) {
  for (const bool manualReset : {false, true}) {
    ReadyEvent event(manualReset);
    std::atomic<int> woken{0};
    const auto body = [&] { woken += event.Wait(40) == WAIT_SUCCEEDED ? 1 : 0; };
    {
      const Job first(body);
      const Job second(body);
      event.Set();
    }
    EXPECT_EQ(manualReset ? 2 : 1, woken);
  }
}

IN_EVERY_TIME_MODE(Event);

}  // namespace
