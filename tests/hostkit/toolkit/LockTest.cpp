#include <vector>

#include "tests/hostkit/toolkit/Fixtures.h"

using namespace MBX::Threading;

namespace {

class Lock : public EveryTimeMode {
 protected:
  // What another thread gets when it tries.
  static unsigned int TryElsewhere(Native_OS::CFastMutex& lock, unsigned int timeoutMs = 0) {
    unsigned int result = 0;
    Job job([&] {
      result = lock.Wait(timeoutMs);
      if (result == WAIT_SUCCEEDED) lock.Release();
    });
    job->Wait(WAIT_INFINITE);
    return result;
  }
};

TEST_P(Lock, CannotBeTakenBeforeInit) {
  Native_OS::CFastMutex lock;
  EXPECT_EQ(0U, lock.Wait(WAIT_INFINITE));
  EXPECT_EQ(0U, lock.Wait(0));
}

TEST_P(Lock, CanBeTakenAfterInitAndAfterASecondInit) {
  Native_OS::CFastMutex lock;
  EXPECT_EQ(1, lock.Init());
  EXPECT_EQ(1U, lock.Wait(WAIT_INFINITE));
  EXPECT_EQ(1, lock.Init());
  EXPECT_EQ(130U, TryElsewhere(lock));
  lock.Release();
  EXPECT_EQ(1U, TryElsewhere(lock));
}

TEST_P(Lock, IsFreeAfterAsManyReleasesAsItsOwnerTookIt) {
  ReadyLock lock;
  for (int i = 0; i < 3; ++i) EXPECT_EQ(1U, lock.Wait(WAIT_INFINITE));
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(130U, TryElsewhere(lock));
    lock.Release();
  }
  EXPECT_EQ(1U, TryElsewhere(lock));
}

TEST_P(Lock, GivesUpAfterItsTimeOut) {
  ReadyLock lock;
  lock.Wait(WAIT_INFINITE);
  const unsigned long begin = MBX::Misc::now();
  EXPECT_EQ(130U, TryElsewhere(lock, 20));
  EXPECT_GE(MBX::Misc::now() - begin, 19U);
  lock.Release();
}

TEST_P(Lock, GoesToWhoWaitsForItWhenItIsReleased) {
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
  EXPECT_EQ(1U, result);
}

TEST_P(Lock, StaysWithItsOwnerWhenAnotherThreadReleasesIt) {
  ReadyLock lock;
  lock.Wait(WAIT_INFINITE);
  Job([&] { lock.Release(); })->Wait(WAIT_INFINITE);
  EXPECT_EQ(130U, TryElsewhere(lock));
  lock.Release();
}

TEST_P(Lock, LetsOneThreadInAtATime) {
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

TEST_P(Lock, StaysWithItsOwnerAfterAGuardThatDidNotGetIt) {
  ReadyLock lock;
  lock.Wait(WAIT_INFINITE);
  Job([&] { const CSyncGuard guard(lock, 0); })->Wait(WAIT_INFINITE);
  EXPECT_EQ(130U, TryElsewhere(lock));
  lock.Release();
}

TEST_P(Lock, IsFreeAfterAGuardThatGotIt) {
  ReadyLock lock;
  {
    const CSyncGuard guard(lock, WAIT_INFINITE);
    EXPECT_EQ(130U, TryElsewhere(lock));
  }
  EXPECT_EQ(1U, TryElsewhere(lock));
}

IN_EVERY_TIME_MODE(Lock);

}  // namespace
