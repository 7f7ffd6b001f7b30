// Only in builds with CORVANE_CHECK_LOCKS.
#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "base/Mutex.h"

namespace {

// The calls under test hide the locks from the compiler's analysis, which would reject them.
void Block() HOST_NO_THREAD_SAFETY_ANALYSIS {
  Base::RequireNoLock("a slow call");
}

class HeldLocks : public testing::Test {
 protected:
  HeldLocks() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }

  Base::Mutex m_First;
  Base::Mutex m_Second;
};

using HeldLocksDeathTest = HeldLocks;

TEST_F(HeldLocksDeathTest, AbortABlockingCall) {
  const Base::MutexLock lock(m_First);
  EXPECT_DEATH(Block(), "a slow call while the thread holds a lock \\(1 in total\\)");
}

TEST_F(HeldLocksDeathTest, AreCounted) {
  const Base::MutexLock first(m_First);
  const Base::MutexLock second(m_Second);
  EXPECT_DEATH(Block(), "a slow call while the thread holds a lock \\(2 in total\\)");
}

TEST_F(HeldLocksDeathTest, AbortABlockingCallAfterAWait) {
  Base::ConditionVariable changed;
  Base::MutexLock lock(m_First);
  changed.WaitFor(lock, std::chrono::milliseconds(1));
  EXPECT_DEATH(Block(), "a slow call while the thread holds a lock");
}

TEST_F(HeldLocks, DoNotCountOnceReleased) {
  { const Base::MutexLock lock(m_First); }
  EXPECT_EQ(Base::t_HeldLocks, 0);
  Base::MutexLock lock(m_First);
  lock.Unlock();
  EXPECT_EQ(Base::t_HeldLocks, 0);
  Block();
  lock.Lock();
  EXPECT_EQ(Base::t_HeldLocks, 1);
}

TEST_F(HeldLocks, DoNotCountOnOtherThreads) {
  const Base::MutexLock lock(m_First);
  int held = -1;
  std::thread([&held] {
    Block();
    held = Base::t_HeldLocks;
  }).join();
  EXPECT_EQ(held, 0);
}

}  // namespace
