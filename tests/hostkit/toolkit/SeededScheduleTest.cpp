#include <gmock/gmock.h>

#include <atomic>
#include <set>
#include <thread>

#include "hostkit/Tracing.h"
#include "tests/hostkit/toolkit/Fixtures.h"

using namespace MBX::Threading;

namespace {

class SeededSchedule : public testing::Test {
 protected:
  void TearDown() override {
    HostKit::OnDeadlock({});
    HostKit::UseRealTime();
  }

  // Returns the order of the steps of three threads. `order` is used without a lock, because only
  // one thread runs at a time.
  static std::string OrderOf(std::uint64_t seed) {
    HostKit::UseSeededSchedule(seed);
    std::string order;
    const auto steps = [&](char name) {
      for (int i = 0; i < 6; ++i) {
        order += name;
        HostKit::SwitchPoint();
      }
    };
    {
      const Job a([&] { steps('a'); });
      const Job b([&] { steps('b'); });
      const Job c([&] { steps('c'); });
    }
    return order;
  }

  // Lets two threads take two locks in opposite order. Returns the deadlock report, or an empty
  // string if no deadlock occurred.
  static std::string RunLockInversion(std::uint64_t seed) {
    HostKit::UseSeededSchedule(seed);
    HostKit::ResetLedger();
    std::string waits;
    ReadyLock first, second;
    const auto takeBoth = [](auto& one, auto& other) {
      const CSyncGuard outer(one, WAIT_INFINITE);
      const CSyncGuard inner(other, WAIT_INFINITE);
    };
    Job forward([&] { takeBoth(first, second); });
    Job backward([&] { takeBoth(second, first); });
    HostKit::OnDeadlock([&](const std::string& text) {
      waits = text;
      forward->Cancel();
      backward->Cancel();
    });
    forward->Wait(WAIT_INFINITE);
    backward->Wait(WAIT_INFINITE);
    return waits;
  }
};

TEST_F(SeededSchedule, IsTheSameForTheSameSeed) {
  for (std::uint64_t seed = 0; seed < 20; ++seed) EXPECT_EQ(OrderOf(seed), OrderOf(seed));
}

TEST_F(SeededSchedule, DiffersBetweenSeeds) {
  std::set<std::string> orders;
  for (std::uint64_t seed = 0; seed < 50; ++seed) orders.insert(OrderOf(seed));
  EXPECT_GE(orders.size(), 45U);
}

TEST_F(SeededSchedule, FindsALockInversion) {
  int found = 0;
  for (std::uint64_t seed = 0; seed < 300; ++seed) found += RunLockInversion(seed).empty() ? 0 : 1;
  EXPECT_GT(found, 0);
  EXPECT_LT(found, 300);
}

TEST_F(SeededSchedule, ReplaysADeadlockAndReportsTheOwnersOfLocks) {
  std::uint64_t seed = 0;
  while (RunLockInversion(seed).empty()) ASSERT_LT(++seed, 300U);
  const std::string waits = RunLockInversion(seed);
  EXPECT_EQ(waits, RunLockInversion(seed));
  EXPECT_THAT(waits, testing::HasSubstr("thread 1 waits for lock 2, held by thread 2"));
  EXPECT_THAT(waits, testing::HasSubstr("thread 2 waits for lock 1, held by thread 1"));
  EXPECT_THAT(waits, testing::HasSubstr("main waits for the end of thread 1"));
}

// The threads read and write a counter without a lock, with a call into the kit in between.
TEST_F(SeededSchedule, FindsALostUpdate) {
  int lost = 0;
  for (std::uint64_t seed = 0; seed < 100; ++seed) {
    HostKit::UseSeededSchedule(seed);
    int counter = 0;
    const auto increment = [&] {
      const int before = counter;
      HostKit::SwitchPoint();
      counter = before + 1;
    };
    {
      const Job first(increment);
      const Job second(increment);
    }
    lost += counter == 2 ? 0 : 1;
  }
  EXPECT_GT(lost, 0);
  EXPECT_LT(lost, 100);
}

// The busy thread could always run, so in virtual time the timeout would never fire first.
TEST_F(SeededSchedule, SometimesTimesOutWhileThreadsCouldRun) {
  int early = 0;
  for (std::uint64_t seed = 0; seed < 100; ++seed) {
    HostKit::UseSeededSchedule(seed);
    ReadyEvent done;
    const Job busy([&] {
      for (int i = 0; i < 10; ++i) HostKit::SwitchPoint();
      done.Set();
    });
    early += done.Wait(60'000) == WAIT_TIMED_OUT ? 1 : 0;
  }
  EXPECT_GT(early, 0);
  EXPECT_LT(early, 50);
}

TEST_F(SeededSchedule, IncludesThreadsThatRegister) {
  HostKit::UseSeededSchedule(1);
  bool inside = false;
  bool together = false;
  std::atomic<bool> left{false};
  std::thread native([&] {
    {
      const HostKit::RegisteredThread self("native");
      inside = true;
      for (int i = 0; i < 50; ++i) HostKit::SwitchPoint();
      inside = false;
    }
    left = true;
  });
  // The thread needs turns to leave the schedule, so joining it before it has left would block both
  // threads.
  while (!left) {
    together = together || inside;
    HostKit::SwitchPoint();
  }
  native.join();
  EXPECT_TRUE(together);
}

// The trace log holds a native lock, so no other thread may get a turn while a line is written.
TEST_F(SeededSchedule, DoesNotSwitchThreadsInATraceSink) {
  const MBX::Misc::CModuleInfo module(1, "Module", "1", nullptr, nullptr);
  int lines = 0;
  HostKit::SetTraceSink([&](const HostKit::TraceLine&) {
    MBX::Misc::now();
    ++lines;
  });
  for (std::uint64_t seed = 0; seed < 20; ++seed) {
    HostKit::UseSeededSchedule(seed);
    const auto trace = [&] {
      const MBX::Internals::CTraceStreamBuffer line(2, module, "File.cpp", "Function", 1);
      HostKit::SwitchPoint();
    };
    const Job first(trace);
    const Job second(trace);
  }
  HostKit::SetTraceSink({});
  EXPECT_EQ(40, lines);
}

}  // namespace
