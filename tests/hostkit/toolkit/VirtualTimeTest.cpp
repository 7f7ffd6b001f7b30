#include <gmock/gmock.h>

#include <future>
#include <stdexcept>
#include <thread>

#include "tests/hostkit/toolkit/Fixtures.h"

using namespace MBX::Threading;

namespace {

constexpr unsigned int kDayMs = 86'400'000;

class VirtualTime : public testing::Test {
 protected:
  void SetUp() override {
    HostKit::UseVirtualTime();
    HostKit::ResetLedger();
  }
  void TearDown() override {
    HostKit::OnDeadlock({});
    HostKit::UseRealTime();
  }
};

TEST_F(VirtualTime, AlwaysStartsAtTheSameTime) {
  EXPECT_EQ(1'767'225'600'000U, MBX::Misc::now());
  Sleep(5);
  HostKit::UseVirtualTime();
  EXPECT_EQ(1'767'225'600'000U, MBX::Misc::now());
}

TEST_F(VirtualTime, SkipsAMonthOfIntervals) {
  ReadyEvent stop;
  CWaitInterval interval(5000);
  CWaiter waiter;
  waiter.Add(stop);
  const unsigned long begin = MBX::Misc::now();
  for (int i = 0; i < 30 * 24 * 720; ++i) {
    EXPECT_EQ(WAIT_TIMED_OUT, waiter.Wait(interval, false));
    interval.Restart(5000);
  }
  EXPECT_EQ(30UL * kDayMs, MBX::Misc::now() - begin);
}

TEST_F(VirtualTime, ReachesDeadlinesInOrder) {
  ReadyLock lock;
  std::string order;
  const auto after = [&](unsigned int days, const char* name) {
    ReadyEvent never;
    never.Wait(days * kDayMs);
    const CSyncGuard guard(lock, WAIT_INFINITE);
    order += name;
  };
  {
    const Job third([&] { after(3, "third "); });
    const Job first([&] { after(1, "first "); });
    const Job second([&] { after(2, "second "); });
  }
  EXPECT_EQ("first second third ", order);
}

TEST_F(VirtualTime, StopsWhileAThreadRuns) {
  ReadyEvent never, started;
  Job sleeper([&] {
    started.Set();
    never.Wait(kDayMs);
  });
  started.Wait(WAIT_INFINITE);
  const unsigned long begin = MBX::Misc::now();
  std::this_thread::sleep_for(std::chrono::milliseconds(5));
  EXPECT_EQ(begin, MBX::Misc::now());
}

TEST_F(VirtualTime, StopsWhileARegisteredThreadRuns) {
  ReadyEvent never;
  std::promise<void> known;
  unsigned long duringWork = 0;
  std::thread worker([&] {
    const HostKit::RegisteredThread self("worker");
    known.set_value();
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
    duringWork = MBX::Misc::now();
  });
  known.get_future().wait();
  const unsigned long begin = MBX::Misc::now();
  EXPECT_EQ(WAIT_TIMED_OUT, never.Wait(kDayMs));
  worker.join();
  EXPECT_EQ(begin, duringWork);
  EXPECT_EQ(begin + kDayMs, MBX::Misc::now());
}

TEST_F(VirtualTime, CannotEndWhileAThreadOfTheKitRuns) {
  ReadyEvent event;
  const Job job([&] { event.Wait(WAIT_INFINITE); });
  EXPECT_THROW(HostKit::UseRealTime(), std::logic_error);
  event.Set();
}

TEST_F(VirtualTime, ReportsTheWaitsOfADeadlock) {
  ReadyLock lock;
  ReadyEvent first, second;
  std::string waits;
  lock.Wait(WAIT_INFINITE);
  Job blocked([&] { lock.Wait(WAIT_INFINITE); });
  Job waiting([&] {
    CWaiter waiter;
    waiter.Add(first);
    waiter.Add(second);
    waiter.Wait(WAIT_INFINITE, false);
  });
  HostKit::OnDeadlock([&](const std::string& text) {
    waits = text;
    second.Set();
    blocked->Cancel();
  });
  EXPECT_EQ(WAIT_SUCCEEDED, blocked->Wait(WAIT_INFINITE));
  lock.Release();
  EXPECT_THAT(waits, testing::HasSubstr("thread 1 waits for lock 1, held by main"));
  EXPECT_THAT(waits, testing::HasSubstr("thread 2 waits for event 1 or event 2"));
  EXPECT_THAT(waits, testing::HasSubstr("main waits for the end of thread 1"));
}

TEST_F(VirtualTime, ReportsEachDeadlockOnce) {
  ReadyEvent event;
  int reports = 0;
  HostKit::OnDeadlock([&](const std::string&) {
    ++reports;
    event.Set();
  });
  EXPECT_EQ(WAIT_SUCCEEDED, event.Wait(WAIT_INFINITE));
  EXPECT_EQ(1, reports);
  EXPECT_EQ(WAIT_SUCCEEDED, event.Wait(WAIT_INFINITE));
  EXPECT_EQ(2, reports);
}

using VirtualTimeDeathTest = VirtualTime;

TEST_F(VirtualTimeDeathTest, ADeadlockWithoutAHandlerTerminatesTheProcess) {
  testing::FLAGS_gtest_death_test_style = "threadsafe";
  EXPECT_DEATH(
      {
        ReadyEvent event;
        event.Wait(WAIT_INFINITE);
      },
      "deadlock:\nmain waits for event 1\n");
}

}  // namespace
