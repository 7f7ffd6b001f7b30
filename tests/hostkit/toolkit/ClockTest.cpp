#include <ctime>

#include "tests/hostkit/toolkit/Fixtures.h"

using namespace MBX::Threading;

namespace {

using Clock = EveryTimeMode;

TEST_P(Clock, AdvancesWithASleep) {
  const unsigned long begin = MBX::Misc::now();
  Sleep(20);
  EXPECT_GE(MBX::Misc::now() - begin, 19U);
}

TEST_P(Clock, NeverGoesBackwardsAcrossThreads) {
  ReadyLock lock;
  unsigned long last = 0;
  bool backwards = false;
  const auto body = [&] {
    for (int i = 0; i < 500; ++i) {
      const CSyncGuard guard(lock, WAIT_INFINITE);
      const unsigned long now = MBX::Misc::now();
      backwards = backwards || now < last;
      last = now;
    }
  };
  {
    const Job first(body);
    const Job second(body);
  }
  EXPECT_FALSE(backwards);
  EXPECT_GT(last, 1'700'000'000'000U);
}

TEST_P(Clock, CountsDownAnInterval) {
  CWaitInterval interval(30);
  const unsigned int before = interval;
  EXPECT_LE(before, 30U);
  Sleep(10);
  const unsigned int left = interval;
  EXPECT_LE(left, before - 9);
  interval.Restart(3'600'000);
  EXPECT_GT(interval, 1'800'000U);
  interval.Restart(1);
  Sleep(3);
  EXPECT_EQ(0U, interval);
}

TEST_P(Clock, NeverCountsDownAnInfiniteInterval) {
  const CWaitInterval interval(WAIT_INFINITE);
  Sleep(1);
  EXPECT_EQ(0xFFFFFFFFU, interval);
}

IN_EVERY_TIME_MODE(Clock);

TEST(RealClock, IsTheSystemClock) {
  HostKit::UseRealTime();
  const auto wall = static_cast<unsigned long>(std::time(nullptr)) * 1000;
  EXPECT_NEAR(static_cast<double>(wall), static_cast<double>(MBX::Misc::now()), 5000.0);
}

// A time in milliseconds since the epoch, and its date: year, month, day, day of the week, day of
// the year and time of day.
struct DateCase {
  unsigned long milliseconds;
  MBXX::CSystemDate_Lx date;
};

const DateCase kDates[] = {
    {0, {1970, 1, 1, 4, 1, 0, 0, 0, 0}},
    {1'767'225'599'999, {2025, 12, 31, 3, 365, 23, 59, 59, 999}},
    {951'827'696'789, {2000, 2, 29, 2, 60, 12, 34, 56, 789}},
    {4'102'444'800'001, {2100, 1, 1, 5, 1, 0, 0, 0, 1}},
};

TEST(Date, IsInUniversalTime) {
  for (const DateCase& entry : kDates) {
    SCOPED_TRACE(entry.milliseconds);
    MBXX::CSystemDate_Lx date{};
    MBXX::CSystemTime_Lx::GetDate(entry.milliseconds, date);
    EXPECT_EQ(entry.date.m_Year, date.m_Year);
    EXPECT_EQ(entry.date.m_Month, date.m_Month);
    EXPECT_EQ(entry.date.m_Day, date.m_Day);
    EXPECT_EQ(entry.date.m_DayOfWeek, date.m_DayOfWeek);
    EXPECT_EQ(entry.date.m_DayOfYear, date.m_DayOfYear);
    EXPECT_EQ(entry.date.m_Hour, date.m_Hour);
    EXPECT_EQ(entry.date.m_Minute, date.m_Minute);
    EXPECT_EQ(entry.date.m_Second, date.m_Second);
    EXPECT_EQ(entry.date.m_Milliseconds, date.m_Milliseconds);
  }
}

}  // namespace
