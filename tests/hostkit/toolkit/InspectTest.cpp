#include <sstream>

#include "tests/hostkit/toolkit/Fixtures.h"

using namespace MBX::Threading;

namespace {

class Inspect : public EveryTimeMode {
 protected:
  void TearDown() override {
    HostKit::ResetLedger();
    EveryTimeMode::TearDown();
  }

  // Renders the locks with owner and depth, as "1:main*2 2:free".
  static std::string RenderLocks() {
    std::ostringstream text;
    for (const auto& lock : HostKit::Locks()) {
      text << (text.tellp() > 0 ? " " : "") << lock.ordinal << ':'
           << (lock.owner.empty() ? "free" : lock.owner);
      if (lock.depth > 0) text << '*' << lock.depth;
    }
    return text.str();
  }
};

TEST_P(Inspect, ShowsOwnersAndDepthsOfLocks) {
  ReadyLock first, second;
  first.Wait(WAIT_INFINITE);
  first.Wait(WAIT_INFINITE);
  EXPECT_EQ("1:main*2 2:free", RenderLocks());
  Job([&] {
    const CSyncGuard guard(second, WAIT_INFINITE);
    EXPECT_EQ("1:main*2 2:thread 1*1", RenderLocks());
  })->Wait(WAIT_INFINITE);
  first.Release();
  first.Release();
  EXPECT_EQ("1:free 2:free", RenderLocks());
}

TEST_P(Inspect, ShowsTheOwnerOfALockAfterItsThreadExits) {
  ReadyLock lock;
  Job([&] { lock.Wait(WAIT_INFINITE); })->Wait(WAIT_INFINITE);
  EXPECT_EQ("1:thread 1*1", RenderLocks());
  EXPECT_EQ(WAIT_TIMED_OUT, lock.Wait(0));
}

TEST_P(Inspect, CountsHowOftenALockWasTaken) {
  ReadyLock lock;
  EXPECT_EQ(0U, HostKit::Locks()[0].taken);
  EXPECT_EQ(WAIT_SUCCEEDED, lock.Wait(WAIT_INFINITE));
  EXPECT_EQ(WAIT_SUCCEEDED, lock.Wait(WAIT_INFINITE));
  EXPECT_EQ(2U, HostKit::Locks()[0].taken);
  unsigned int timedOut = 0;
  Job([&] { timedOut = lock.Wait(1); })->Wait(WAIT_INFINITE);
  EXPECT_EQ(WAIT_TIMED_OUT, timedOut);
  EXPECT_EQ(2U, HostKit::Locks()[0].taken);
  lock.Release();
  lock.Release();
  Job([&] { const CSyncGuard guard(lock, WAIT_INFINITE); })->Wait(WAIT_INFINITE);
  EXPECT_EQ(3U, HostKit::Locks()[0].taken);
}

TEST_P(Inspect, ShowsWhichLocksAreReadyForUse) {
  const Native_OS::CFastMutex unusable;
  const ReadyLock ready;
  ASSERT_EQ(2U, HostKit::Locks().size());
  EXPECT_FALSE(HostKit::Locks()[0].initialized);
  EXPECT_TRUE(HostKit::Locks()[1].initialized);
}

TEST_P(Inspect, NumbersFromOneAfterAReset) {
  ReadyLock before;
  HostKit::ResetLedger();
  ReadyLock after;
  EXPECT_EQ("0:free 1:free", RenderLocks());
}

TEST_P(Inspect, ShowsTheStateOfEvents) {
  ReadyEvent automatic;
  ReadyEvent manual(true);
  CEvent unusable;
  manual.Set();
  const auto events = HostKit::Events();
  ASSERT_EQ(3U, events.size());
  EXPECT_TRUE(events[0].initialized && !events[0].manualReset && !events[0].set);
  EXPECT_TRUE(events[1].initialized && events[1].manualReset && events[1].set);
  EXPECT_FALSE(events[2].initialized);
  EXPECT_EQ(3U, events[2].ordinal);
}

TEST_P(Inspect, ShowsThreadsThatWereStarted) {
  const CThread none;
  ReadyEvent event;
  Job job([&] { event.Wait(WAIT_INFINITE); });
  ASSERT_EQ(1U, HostKit::Threads().size());
  EXPECT_EQ(2U, HostKit::Threads()[0].ordinal);
  EXPECT_FALSE(HostKit::Threads()[0].ended);
  event.Set();
  job->Wait(WAIT_INFINITE);
  EXPECT_TRUE(HostKit::Threads()[0].ended);
  EXPECT_FALSE(HostKit::Threads()[0].canceled);
}

TEST_P(Inspect, FailsTheSelectedInit) {
  HostKit::FailLockInit(2);
  HostKit::FailEventInit(1);
  Native_OS::CFastMutex first, second;
  CEvent event;
  EXPECT_EQ(1, first.Init());
  EXPECT_EQ(0, second.Init());
  EXPECT_EQ(0, event.Init(false, false));
  EXPECT_EQ(WAIT_FAILED, second.Wait(0));
  HostKit::ResetLedger();
  EXPECT_EQ(1, second.Init());
  EXPECT_EQ(1, event.Init(false, false));
}

TEST_P(Inspect, FailsTheNthWaitOfAnExistingOrFutureLock) {
  HostKit::FailLockWait(2, 1);
  ReadyLock first, second;
  HostKit::FailLockWait(1, 2);
  HostKit::FailLockWait(1, 4);
  EXPECT_EQ(WAIT_FAILED, second.Wait(WAIT_INFINITE));
  EXPECT_EQ(WAIT_SUCCEEDED, second.Wait(WAIT_INFINITE));
  std::string results;
  for (int i = 0; i < 5; ++i) results += std::to_string(first.Wait(WAIT_INFINITE));
  EXPECT_EQ("10101", results);
}

TEST_P(Inspect, ClearsFailuresOnReset) {
  ReadyLock lock;
  HostKit::FailLockWait(1, 1);
  HostKit::FailThreadCreate(1);
  HostKit::ResetLedger();
  EXPECT_EQ(WAIT_SUCCEEDED, lock.Wait(0));
  bool ran = false;
  Job([&] { ran = true; })->Wait(WAIT_INFINITE);
  EXPECT_TRUE(ran);
}

IN_EVERY_TIME_MODE(Inspect);

}  // namespace
