// The times of the worker's wake-ups, and the wake-ups at which it scans.

#include <cstdio>

#include "tests/plugin/Watch.h"
#include "tests/support/HostThread.h"
#include "tests/support/Numbers.h"
#include "tests/support/RowView.h"
#include "tests/support/StatementWatch.h"

namespace CorvaneTest {
namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using testing::SizeIs;

class WorkerTiming : public WorkerFixture {
 protected:
  void TearDown() override {
    if (HasFailure()) std::printf("%s\n", TimingRule().c_str());
  }
};

struct Timing {
  const char* name;
  const char* pollInterval;
  int cards;
  bool masks;  // without them a quick poll takes no time
  Timestamps wakeUps;
  Timestamps scans;  // the wake-ups with a scan
};

void PrintTo(const Timing& timing, std::ostream* stream) {
  *stream << timing.name;
}

// A wake-up occurs one third of the interval after the end of the previous wake-up. Two quick polls
// delay the third wake-up beyond the interval, so it scans. If the polls take no time, the third
// wake-up occurs exactly at the interval, which is not yet enough, and the fourth wake-up scans.
const Timing TIMINGS[] = {
    {"Default", "15", 1, true, {5000, 10012, 15024, 20036, 25048, 30060}, {15024, 30060}},
    {"DefaultWithInstantPolls",
     "15",
     1,
     false,
     {5000, 10000, 15000, 20000, 25000, 30000, 35000, 40000},
     {20000, 40000}},
    {"TwoCards", "15", 2, true, {5000, 10024, 15048, 20072, 25096, 30120}, {15048, 30120}},
    {"Shortest", "2", 1, true, {666, 1344, 2022, 2700, 3378, 4056}, {2022, 4056}},
    {"ShortestWithInstantPolls",
     "2",
     1,
     false,
     {666, 1332, 1998, 2664, 3330, 3996, 4662, 5328},
     {2664, 5328}},
    {"ThirdsAreExact", "3", 1, false, {1000, 2000, 3000, 4000, 5000}, {4000}},
    {"ThirdsAreRoundedDown", "16", 1, false, {5333, 10666, 15999, 21332}, {21332}},
    {"Longest", "255", 1, true, {85000, 170012, 255024}, {255024}},
};

class EachPollInterval : public WorkerTiming, public testing::WithParamInterface<Timing> {};

TEST_P(EachPollInterval, PollsEveryThirdAndScansEveryFullInterval) {
  AddCards(GetParam().cards);
  if (!GetParam().masks) RemoveMasks("card0");
  StartWatch(GetParam().pollInterval);
  PassMs(static_cast<std::int64_t>(GetParam().wakeUps.back()) + 100);
  EXPECT_THAT(WakeUpTimes(), ElementsAreArray(GetParam().wakeUps));
  EXPECT_THAT(ScanTimes(), ElementsAreArray(GetParam().scans));
}

INSTANTIATE_TEST_SUITE_P(Intervals, EachPollInterval, testing::ValuesIn(TIMINGS),
                         [](const auto& test) { return std::string(test.param.name); });

TEST_F(WorkerTiming, AScanAfterAQuickPollRestartsTheInterval) {
  AddCards(1);
  StartWatch();
  WaitForWakeUps();
  Set("card0", "iom_state", "4");
  // The quick poll at 10,012 ms sees the change and takes 12 ms, as does the scan.
  PassMs(28000);
  EXPECT_THAT(WakeUpTimes(), ElementsAre(5000U, 10012U, 15036U, 20048U, 25060U, 30072U));
  EXPECT_THAT(ScanTimes(), ElementsAre(10024U, 25060U));
}

// At 37,000 ms, exactly one interval has passed since the reads, which is not yet enough.
TEST_F(WorkerTiming, TheIntervalStartsWhenAScanHasReadTheCards) {
  AddCards(1);
  RemoveMasks("card0");
  StartWatch();
  CardSim::SetHook([](const CardSim::Call& call) {
    if (call.function == "vsl_has_pci_bus") SleepFor(2000);
  });
  PassMs(44500);
  EXPECT_THAT(WakeUpTimes(),
              ElementsAre(5000U, 10000U, 15000U, 20000U, 27000U, 32000U, 37000U, 42000U));
  EXPECT_THAT(ScanTimes(), ElementsAre(20000U, 42000U));
}

// The two statements of a scan without a change take a second.
TEST_F(WorkerTiming, WritingTheRowsDoesNotPostponeTheNextScan) {
  const ScopedDatabase database;
  AddCards(1);
  RemoveMasks("card0");
  StartWatch();
  StatementWatch statements;
  statements.OnStatement([](const std::string&) { SleepFor(500); });
  PassMs(38000);
  EXPECT_THAT(WakeUpTimes(), ElementsAre(5000U, 10000U, 15000U, 20000U, 26000U, 31000U, 36000U));
  EXPECT_THAT(ScanTimes(), ElementsAre(20000U, 36000U));
}

TEST_F(WorkerTiming, AShorterIntervalAppliesFromTheWakeUpThatItCauses) {
  AddCards(1);
  StartWatch("255");
  PassMs(7000);
  EXPECT_EQ(m_Host.SetPollInterval(2), 0U);
  PassMs(1400);
  EXPECT_THAT(TimesOf("4 Worker() m_PrivateEvent event received"), ElementsAre(7000U));
  EXPECT_THAT(WakeUpTimes(), ElementsAre(7666U, 8344U));
  EXPECT_THAT(ScanTimes(), ElementsAre(7666U));
}

TEST_F(WorkerTiming, ALongerIntervalAppliesFromTheWakeUpThatItCauses) {
  AddCards(1);
  StartWatch("2");
  PassMs(500);
  EXPECT_EQ(m_Host.SetPollInterval(255), 0U);
  PassMs(86000);
  EXPECT_THAT(WakeUpTimes(), ElementsAre(85500U));
  EXPECT_THAT(ScanTimes(), IsEmpty());
}

// Sets the interval after it has been restarted several times, and again later.
TEST_F(WorkerTiming, ANewIntervalAppliesAfterEarlierRestarts) {
  AddCards(1);
  RemoveMasks("card0");
  StartWatch("15");
  PassMs(12000);
  EXPECT_EQ(m_Host.SetPollInterval(30), 0U);
  PassMs(63000);
  EXPECT_EQ(m_Host.SetPollInterval(6), 0U);
  PassMs(7500);
  EXPECT_THAT(WakeUpTimes(), ElementsAre(5000U, 10000U, 22000U, 32000U, 42000U, 52000U, 62000U,
                                         72000U, 77000U, 79000U, 81000U));
  EXPECT_THAT(ScanTimes(), ElementsAre(32000U, 72000U, 79000U));
}

TEST_F(WorkerTiming, AnOperationOfADriveDelaysTheNextQuickPoll) {
  AddCards(1);
  StartWatch();
  PassMs(4000);
  EXPECT_EQ(m_Host.Run(FIRST_DRIVE, PI::OP_MAKE_OFFLINE), 0U);
  PassMs(5500);
  EXPECT_THAT(WakeUpTimes(), ElementsAre(9000U));
}

TEST_F(WorkerTiming, AnOverdueScanStaysDueUnderALongerInterval) {
  AddCards(1);
  StartWatch();
  WaitForWakeUps(2);
  HostKit::FailLockWait(1, 1);
  WaitForWakeUps();  // at 15,024 ms, when a scan is due and the data lock is unavailable
  EXPECT_THAT(ScanTimes(), IsEmpty());
  EXPECT_EQ(m_Host.SetPollInterval(255), 0U);
  PassMs(85100);
  // By the interval alone, no scan would be due yet.
  EXPECT_THAT(ScanTimes(), SizeIs(1));
}

TEST_F(WorkerTiming, ItScansWithoutCallsIfThereAreNoCards) {
  StartWatch("15", Number::ERR_NO_SUPPORTED_HARDWARE);
  PassMs(41000);
  EXPECT_THAT(WakeUpTimes(),
              ElementsAre(5000U, 10000U, 15000U, 20000U, 25000U, 30000U, 35000U, 40000U));
  EXPECT_THAT(ScanTimes(), ElementsAre(20000U, 40000U));
  EXPECT_THAT(TimesOf("16 After UpdateSystem() ret = 20000"), SizeIs(2));
  EXPECT_THAT(m_Host.Calls(), IsEmpty());
  EXPECT_THAT(Notifications(), IsEmpty());
}

TEST_F(WorkerTiming, ItReleasesItsLocksIfThereAreNoCards) {
  StartWatch("15", Number::ERR_NO_SUPPORTED_HARDWARE);
  PassMs(6000);
  ASSERT_THAT(WakeUpTimes(), ElementsAre(5000U));
  for (const HostKit::LockView& lock : HostKit::Locks()) ASSERT_EQ(lock.depth, 0U) << lock.owner;
  std::size_t objects = 0;
  {
    const HostThread host([&] { objects = m_Host.Topology().size(); });
  }
  EXPECT_EQ(objects, 1U);
  PassMs(15000);
  ASSERT_THAT(ScanTimes(), ElementsAre(20000U));
  for (const HostKit::LockView& lock : HostKit::Locks()) EXPECT_EQ(lock.depth, 0U) << lock.owner;
}

// The limits that a host sends may allow any number.
class OutOfRangeInterval : public WorkerTiming {
 protected:
  void StartWith(int value) {
    AddCards(1);
    StartWatch("255");
    PassMs(1000);
    ASSERT_EQ(m_Host.SetPollInterval(value, value, value), 0U);
    Settle();
  }
};

TEST_F(OutOfRangeInterval, ZeroNeitherSpinsNorStopsTheWorker) {
  StartWith(0);
  PassMs(1100);
  EXPECT_THAT(WakeUpTimes(), ElementsAre(1333U, 1678U, 2023U));
  EXPECT_THAT(ScanTimes(), ElementsAre(1333U));
  PassMs(8900);
  EXPECT_THAT(WakeUpTimes(), SizeIs(29));  // one every 345 ms, until 11,000 ms
  EXPECT_EQ(m_Host.SetPollInterval(255), 0U);
  ClearRecords();
  PassMs(84000);
  EXPECT_THAT(WakeUpTimes(), IsEmpty());
}

TEST_F(OutOfRangeInterval, OneSecondIsApplied) {
  StartWith(1);
  PassMs(1100);
  EXPECT_THAT(WakeUpTimes(), ElementsAre(1333U, 1678U, 2023U));
  // The first interval is counted from startup. The next one has elapsed three wake-ups later.
  EXPECT_THAT(ScanTimes(), ElementsAre(1333U));
  PassMs(300);
  EXPECT_THAT(ScanTimes(), ElementsAre(1333U, 2368U));
}

TEST_F(OutOfRangeInterval, MoreThanTheMaximumIsApplied) {
  StartWith(300);
  PassMs(310000);
  EXPECT_THAT(WakeUpTimes(), ElementsAre(101000U, 201012U, 301024U));
  EXPECT_THAT(ScanTimes(), ElementsAre(301024U));
}

// In milliseconds, 4,294,968 s would overflow 32 bits and become 0.7 s.
TEST_F(OutOfRangeInterval, ManyDaysDoNotOverflow) {
  StartWith(4294968);
  PassMs(std::int64_t{3} * 1431656000 - 5000);
  EXPECT_THAT(WakeUpTimes(), ElementsAre(1431657000U, 2863313012U));
  EXPECT_THAT(ScanTimes(), IsEmpty());
}

TEST_F(OutOfRangeInterval, NegativeNeitherSpinsNorBlocksThePlugin) {
  StartWith(-1);
  PassMs(86400000);
  EXPECT_THAT(WakeUpTimes(), IsEmpty());
  EXPECT_EQ(m_Host.SetPollInterval(2), 0U);
  PassMs(700);
  EXPECT_THAT(WakeUpTimes(), SizeIs(1));
  EXPECT_THAT(ScanTimes(), SizeIs(1));
}

TEST_F(OutOfRangeInterval, DoesNotDelayTheStop) {
  StartWith(0);
  EXPECT_EQ(m_Host.SetPollInterval(-1, -1, -1), 0U);
  const unsigned long begin = NowMs();
  EXPECT_EQ(m_Host.DeInitialize(), 0U);
  EXPECT_EQ(NowMs() - begin, 200U);
  EXPECT_THAT(TimesOf("2 LEAVE Worker()"), SizeIs(1));
}

}  // namespace
}  // namespace CorvaneTest
