#include <atomic>

#include "tests/hostkit/toolkit/Fixtures.h"

using namespace MBX::Threading;

namespace {

using Event = EveryTimeMode;

TEST_P(Event, CannotBeAwaitedBeforeInit) {
  CEvent event;
  event.Set();
  EXPECT_EQ(0U, event.Wait(WAIT_INFINITE));
  EXPECT_EQ(1, event.Init(false, true));
  EXPECT_EQ(130U, event.Wait(0));
}

TEST_P(Event, EndsOneWaitWhenItResetsItself) {
  ReadyEvent event;
  EXPECT_EQ(130U, event.Wait(0));
  event.Set();
  event.Set();
  EXPECT_EQ(1U, event.Wait(WAIT_INFINITE));
  EXPECT_EQ(130U, event.Wait(0));
}

TEST_P(Event, EndsEveryWaitUntilItIsResetByHand) {
  ReadyEvent event(true);
  event.Set();
  EXPECT_EQ(1U, event.Wait(WAIT_INFINITE));
  EXPECT_EQ(1U, event.Wait(0));
  event.Reset();
  EXPECT_EQ(130U, event.Wait(0));
}

TEST_P(Event, MayBeSetFromTheStart) {
  CEvent event;
  EXPECT_EQ(1, event.Init(true, false));
  EXPECT_EQ(1U, event.Wait(0));
  EXPECT_EQ(130U, event.Wait(0));
}

TEST_P(Event, TimesOutNoEarlierThanAsked) {
  ReadyEvent event;
  const std::int64_t begin = HostKit::SteadyNowNs();
  EXPECT_EQ(130U, event.Wait(15));
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
  EXPECT_EQ(1U, result);
}

TEST_P(Event, WakesOneOfTwoWhenItResetsItselfAndBothOtherwise) {
  for (const bool manualReset : {false, true}) {
    ReadyEvent event(manualReset);
    std::atomic<int> woken{0};
    const auto body = [&] { woken += event.Wait(40) == 1 ? 1 : 0; };
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
