#include "tests/hostkit/toolkit/Fixtures.h"

using namespace MBX::Threading;

namespace {

class Waiter : public EveryTimeMode {
 protected:
  void AddAll() {
    for (CEvent* event : {static_cast<CEvent*>(&m_First), static_cast<CEvent*>(&m_Second),
                          static_cast<CEvent*>(&m_Third)}) {
      m_Waiter.Add(*event);
    }
  }

  void SetUp() override {
    EveryTimeMode::SetUp();
    m_First.Init(false, false);
    m_Second.Init(false, true);
    m_Third.Init(false, false);
  }

  CEvent m_First, m_Second, m_Third;
  CWaiter m_Waiter;
};

TEST_P(Waiter, FailsWithoutAUsableEvent) {
  EXPECT_EQ(WAIT_FAILED, m_Waiter.Wait(WAIT_INFINITE, false));
  CEvent unusable;
  m_Waiter.Add(unusable);
  EXPECT_EQ(WAIT_FAILED, m_Waiter.Wait(WAIT_INFINITE, false));
}

TEST_P(Waiter, ReturnsThePositionOfTheSetEvent) {
  AddAll();
  m_Third.Set();
  EXPECT_EQ(3U, m_Waiter.Wait(WAIT_INFINITE, false));
  m_Second.Set();
  EXPECT_EQ(2U, m_Waiter.Wait(WAIT_INFINITE, false));
}

TEST_P(Waiter, ReturnsTheFirstSetEventAndResetsOnlyThatEvent) {
  AddAll();
  m_Third.Set();
  m_First.Set();
  EXPECT_EQ(1U, m_Waiter.Wait(WAIT_INFINITE, false));
  EXPECT_EQ(3U, m_Waiter.Wait(WAIT_INFINITE, false));
  EXPECT_EQ(WAIT_TIMED_OUT, m_Waiter.Wait(0, false));
}

TEST_P(Waiter, IncludesUnusableEventsInPositions) {
  CEvent unusable;
  m_Waiter.Add(unusable);
  m_Waiter.Add(m_First);
  m_First.Set();
  EXPECT_EQ(2U, m_Waiter.Wait(WAIT_INFINITE, false));
}

TEST_P(Waiter, DoesNotTimeOutEarly) {
  AddAll();
  const std::int64_t begin = HostKit::SteadyNowNs();
  EXPECT_EQ(WAIT_TIMED_OUT, m_Waiter.Wait(15, false));
  EXPECT_GE(HostKit::SteadyNowNs() - begin, 15'000'000);
}

TEST_P(Waiter, IsWokenByAnyOfItsEvents) {
  AddAll();
  ReadyEvent started;
  unsigned int result = 0;
  Job job([&] {
    started.Set();
    result = m_Waiter.Wait(WAIT_INFINITE, false);
  });
  started.Wait(WAIT_INFINITE);
  m_Second.Set();
  job->Wait(WAIT_INFINITE);
  EXPECT_EQ(2U, result);
}

TEST_P(Waiter, WaitsForAllAndResetsThemTogether) {
  AddAll();
  m_First.Set();
  m_Third.Set();
  EXPECT_EQ(WAIT_TIMED_OUT, m_Waiter.Wait(0, true));
  m_Second.Set();
  EXPECT_EQ(1U, m_Waiter.Wait(WAIT_INFINITE, true));
  EXPECT_EQ(WAIT_TIMED_OUT, m_First.Wait(0));
  EXPECT_EQ(WAIT_SUCCEEDED, m_Second.Wait(0));
  EXPECT_EQ(WAIT_TIMED_OUT, m_Third.Wait(0));
}

IN_EVERY_TIME_MODE(Waiter);

}  // namespace
