#include <vector>

#include "tests/hostkit/toolkit/Fixtures.h"

using namespace MBX::Threading;

namespace {

class Lock : public EveryTimeMode {
 protected:
  // Waits for the lock on another thread, releases it if acquired, and returns the wait's result.
  static unsigned int WaitOnOtherThread(Native_OS::CFastMutex& lock, unsigned int timeoutMs = 0) {
    unsigned int result = 0;
    Job job([&] {
      result = lock.Wait(timeoutMs);
      if (result == WAIT_SUCCEEDED) lock.Release();
    });
    job->Wait(WAIT_INFINITE);
    return result;
  }
};

TEST_P(Lock, CannotBeAcquiredBeforeInit) {
  Native_OS::CFastMutex lock;
  EXPECT_EQ(WAIT_FAILED, lock.Wait(WAIT_INFINITE));
  EXPECT_EQ(WAIT_FAILED, lock.Wait(0));
}

TEST_P(Lock, KeepsItsOwnerAcrossASecondInit) {
  Native_OS::CFastMutex lock;
  EXPECT_EQ(1, lock.Init());
  EXPECT_EQ(WAIT_SUCCEEDED, lock.Wait(WAIT_INFINITE));
  EXPECT_EQ(1, lock.Init());
  EXPECT_EQ(WAIT_TIMED_OUT, WaitOnOtherThread(lock));
  lock.Release();
  EXPECT_EQ(WAIT_SUCCEEDED, WaitOnOtherThread(lock));
}

TEST_P(Lock, IsFreeAfterOneReleasePerWait) {
  ReadyLock lock;
  for (int i = 0; i < 3; ++i) EXPECT_EQ(WAIT_SUCCEEDED, lock.Wait(WAIT_INFINITE));
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(WAIT_TIMED_OUT, WaitOnOtherThread(lock));
    lock.Release();
  }
  EXPECT_EQ(WAIT_SUCCEEDED, WaitOnOtherThread(lock));
}

TEST_P(Lock, TimesOut) {
  ReadyLock lock;
  lock.Wait(WAIT_INFINITE);
  const unsigned long begin = MBX::Misc::now();
  EXPECT_EQ(WAIT_TIMED_OUT, WaitOnOtherThread(lock, 20));
  EXPECT_GE(MBX::Misc::now() - begin, 19U);
  lock.Release();
}

TEST_P(Lock, IsAcquiredByTheWaitingThreadWhenReleased) {
  ReadyLock lock;
  ReadyEvent waiting;
  lock.Wait(WAIT_INFINITE);
  unsigned int result = 0;
  Job job([&] {
    waiting.Set();
    result = lock.Wait(WAIT_INFINITE);
    lock.Release();
  });
  waiting.Wait(WAIT_INFINITE);
  lock.Release();
  job->Wait(WAIT_INFINITE);
  EXPECT_EQ(WAIT_SUCCEEDED, result);
}

TEST_P(Lock, CannotBeReleasedByAnotherThread) {
  ReadyLock lock;
  lock.Wait(WAIT_INFINITE);
  Job([&] { lock.Release(); })->Wait(WAIT_INFINITE);
  EXPECT_EQ(WAIT_TIMED_OUT, WaitOnOtherThread(lock));
  lock.Release();
}

TEST_P(Lock, ExcludesOtherThreads) {
  constexpr int rounds = 200;
  ReadyLock lock;
  int inside = 0;
  int most = 0;
  int total = 0;
  const auto body = [&] {
    for (int i = 0; i < rounds; ++i) {
      const CSyncGuard guard(lock, WAIT_INFINITE);
      most = std::max(most, ++inside);
      HostKit::SwitchPoint();
      ++total;
      --inside;
    }
  };
  {
    const Job first(body);
    const Job second(body);
    const Job third(body);
  }
  EXPECT_EQ(1, most);
  EXPECT_EQ(600, total);
}

TEST_P(Lock, IsNotReleasedByAGuardThatTimedOut) {
  ReadyLock lock;
  lock.Wait(WAIT_INFINITE);
  Job([&] { const CSyncGuard guard(lock, 0); })->Wait(WAIT_INFINITE);
  EXPECT_EQ(WAIT_TIMED_OUT, WaitOnOtherThread(lock));
  lock.Release();
}

TEST_P(Lock, IsReleasedByAGuardThatAcquiredIt) {
  ReadyLock lock;
  {
    const CSyncGuard guard(lock, WAIT_INFINITE);
    EXPECT_EQ(WAIT_TIMED_OUT, WaitOnOtherThread(lock));
  }
  EXPECT_EQ(WAIT_SUCCEEDED, WaitOnOtherThread(lock));
}

IN_EVERY_TIME_MODE(Lock);

}  // namespace
