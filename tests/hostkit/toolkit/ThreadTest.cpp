#include <memory>

#include "hostkit/FailedThreads.h"
#include "tests/hostkit/toolkit/Fixtures.h"

using namespace MBX::Threading;

namespace {

// A thread object whose thread runs until `AllowEnd` is called.
class Thread : public EveryTimeMode {
 protected:
  using Delegate = MBX::Delegates_and_Calls::TDelegateR0<Thread, unsigned int>;

  unsigned int Run() {
    m_MayEnd.Wait(WAIT_INFINITE);
    m_Done.Set();
    return 1;
  }

  int Create(bool suspended = false) {
    return m_pThread->Create(Delegate(this, &Thread::Run), suspended);
  }
  void AllowEnd() { m_MayEnd.Set(); }

  ReadyEvent m_MayEnd, m_Done;
  std::unique_ptr<CThread> m_pThread = std::make_unique<CThread>();
};

TEST_P(Thread, HasNoHandleBeforeItIsStarted) {
  EXPECT_EQ(WAIT_FAILED, m_pThread->Wait(0));
  EXPECT_EQ(0UL, m_pThread->GetHandle());
}

TEST_P(Thread, CannotBeCreatedSuspended) {
  EXPECT_EQ(0, Create(true));
  EXPECT_EQ(0UL, m_pThread->GetHandle());
}

TEST_P(Thread, RunsUntilItsCallReturns) {
  EXPECT_EQ(1, Create());
  EXPECT_NE(0UL, m_pThread->GetHandle());
  EXPECT_EQ(WAIT_TIMED_OUT, m_pThread->Wait(0));
  EXPECT_EQ(WAIT_TIMED_OUT, m_pThread->Wait(5));
  AllowEnd();
  EXPECT_EQ(WAIT_SUCCEEDED, m_pThread->Wait(WAIT_INFINITE));
  EXPECT_EQ(WAIT_SUCCEEDED, m_pThread->Wait(0));
  EXPECT_NE(0UL, m_pThread->GetHandle());
}

TEST_P(Thread, CannotBeCreatedTwice) {
  EXPECT_EQ(1, Create());
  EXPECT_EQ(0, Create());
  AllowEnd();
  EXPECT_EQ(WAIT_SUCCEEDED, m_pThread->Wait(WAIT_INFINITE));
  EXPECT_EQ(0, Create());
}

TEST_P(Thread, HasNoHandleIfItsStartFails) {
  HostKit::FailThreadCreate(1);
  ASSERT_EQ(0, Create());
  EXPECT_EQ(0UL, m_pThread->GetHandle());
  EXPECT_EQ(WAIT_FAILED, m_pThread->Wait(0));
  EXPECT_EQ(WAIT_FAILED, m_pThread->Wait(WAIT_INFINITE));
  m_pThread->Cancel();
  EXPECT_TRUE(HostKit::Threads().empty());
  m_pThread.reset();
}

TEST_P(Thread, CanBeStartedAfterAFailedStart) {
  HostKit::FailThreadCreate(1);
  EXPECT_EQ(0, Create());
  EXPECT_EQ(1, Create());
  AllowEnd();
  EXPECT_EQ(WAIT_SUCCEEDED, m_pThread->Wait(WAIT_INFINITE));
  EXPECT_EQ(WAIT_SUCCEEDED, m_Done.Wait(0));
}

TEST_P(Thread, CountsFailedStarts) {
  const std::size_t before = HostKit::FailedThreads();
  HostKit::FailThreadCreate(2);
  EXPECT_EQ(1, Create());
  EXPECT_EQ(before, HostKit::FailedThreads());
  AllowEnd();
  m_pThread->Wait(WAIT_INFINITE);
  m_pThread = std::make_unique<CThread>();
  EXPECT_EQ(0, Create());
  EXPECT_EQ(before + 1, HostKit::FailedThreads());
}

// FailThreadCreate counts only starts that would have succeeded.
TEST_P(Thread, FailsTheSelectedStarts) {
  HostKit::FailThreadCreate(2);
  HostKit::FailThreadCreate(4);
  std::string results;
  for (int i = 0; i < 5; ++i) {
    AllowEnd();
    m_pThread = std::make_unique<CThread>();
    EXPECT_EQ(0, Create(true));
    results += std::to_string(Create());
    m_pThread->Wait(WAIT_INFINITE);
    if (m_pThread->GetHandle() != 0) {
      EXPECT_EQ(0, Create());
    }
  }
  EXPECT_EQ("10101", results);
}

TEST_P(Thread, CountsCancelRequests) {
  EXPECT_EQ(1, Create());
  EXPECT_EQ(0U, HostKit::Threads()[0].cancelRequests);
  AllowEnd();
  EXPECT_EQ(WAIT_SUCCEEDED, m_pThread->Wait(WAIT_INFINITE));
  m_pThread->Cancel();
  m_pThread->Cancel();
  EXPECT_EQ(2U, HostKit::Threads()[0].cancelRequests);
  EXPECT_FALSE(HostKit::Threads()[0].canceled);
}

TEST_P(Thread, CanBeDeletedWithoutBeingStarted) {
  m_pThread.reset();
  EXPECT_TRUE(HostKit::Threads().empty());
}

TEST_P(Thread, CanBeDeletedAfterItExits) {
  EXPECT_EQ(1, Create());
  AllowEnd();
  EXPECT_EQ(WAIT_SUCCEEDED, m_pThread->Wait(WAIT_INFINITE));
  m_pThread.reset();
  m_Done.Wait(WAIT_INFINITE);
}

TEST_P(Thread, ContinuesIfDeletedWhileItRuns) {
  EXPECT_EQ(1, Create());
  m_pThread.reset();
  ASSERT_EQ(1U, HostKit::Threads().size());
  EXPECT_FALSE(HostKit::Threads()[0].ended);
  AllowEnd();
  EXPECT_EQ(WAIT_SUCCEEDED, m_Done.Wait(WAIT_INFINITE));
  while (!HostKit::Threads().empty()) Sleep(1);
}

TEST_P(Thread, MayHaveSeveralWaiters) {
  EXPECT_EQ(1, Create());
  unsigned int results[2] = {0, 0};
  {
    const Job first([&] { results[0] = m_pThread->Wait(WAIT_INFINITE); });
    const Job second([&] { results[1] = m_pThread->Wait(WAIT_INFINITE); });
    AllowEnd();
  }
  EXPECT_EQ(WAIT_SUCCEEDED, results[0]);
  EXPECT_EQ(WAIT_SUCCEEDED, results[1]);
}

IN_EVERY_TIME_MODE(Thread);

}  // namespace
