// DeInitialize: how long it waits for running jobs, and when it stops the library.
//
// `Initialize` does not start threads, so only the jobs that a test starts are running.

#include <gmock/gmock.h>

#include "hostkit/Inspect.h"
#include "tests/plugin/ScanView.h"
#include "tests/support/Numbers.h"

namespace CorvaneTest {
namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

constexpr const char* WAIT_ATTACH = "16 Wait for termination... (Attach)";
constexpr const char* WAIT_DETACH = "16 Wait for termination... (Detach)";

// A trace line of the command, with its time in milliseconds since the start of the command.
struct TimedLine {
  unsigned long ms;
  std::string line;
};

bool operator==(const TimedLine& left, const TimedLine& right) {
  return left.ms == right.ms && left.line == right.line;
}

void PrintTo(const TimedLine& traced, std::ostream* stream) {
  *stream << traced.ms << " ms: " << traced.line;
}

class DeInitialize : public testing::Test {
 protected:
  // Card 0 is attached and card 1 is detached; jobs end as soon as the library call returns.
  void SetUp() override {
    for (int i = 0; i < 2; ++i) {
      const std::string card = m_Host.AddCard();
      m_Host.Cards().Set(card, "attach_ms", "0");
      m_Host.Cards().Set(card, "detach_ms", "0");
    }
    m_Host.Cards().Set("card1", "iom_state", "0");
  }

  // Delays the result of each job by the given time.
  void DelayJobs(unsigned int attachMs, unsigned int detachMs) {
    CardSim::SetHook([=](const CardSim::Call& call) {
      if (call.function != "vsl_op_wait_for_result") return;
      SleepMs(call.handle == "attach#1" ? attachMs : detachMs);
    });
  }

  unsigned int Attach() { return m_Host.Run(m_Host.AdapterId(1), PI::OP_ATTACH); }
  unsigned int Detach() { return m_Host.Run(m_Host.AdapterId(0), PI::OP_DETACH); }

  // Runs the command and returns its result. Records its trace lines about threads, and its
  // duration.
  unsigned int Stop() {
    m_TracedLines.clear();
    const unsigned long start = MBX::Misc::now();
    HostKit::SetTraceSink([this, start](const HostKit::TraceLine& line) {
      // Failures of the jobs are also traced at level 16.
      if (line.text.rfind("Wait for", 0) != 0 && line.text.rfind("Kill", 0) != 0) return;
      m_TracedLines.push_back(
          {MBX::Misc::now() - start, std::to_string(line.level) + " " + line.text});
    });
    unsigned int result = 1;
    m_StopMs = ElapsedMs([&] { result = m_Host.DeInitialize(); });
    HostKit::SetTraceSink([](const HostKit::TraceLine&) {});
    return result;
  }

  // Waits for the delayed jobs, which must end before the plug-in is released.
  void AwaitJobs() {
    while (!AllEnded()) SleepMs(100);
  }
  static bool AllEnded() {
    for (const HostKit::ThreadView& thread : HostKit::Threads()) {
      if (!thread.ended) return false;
    }
    return true;
  }

  SimulatedHost m_Host;
  std::vector<TimedLine> m_TracedLines;
  unsigned long m_StopMs = 0;
};

TEST_F(DeInitialize, StopsTheLibraryAfterAPauseIfNoThreadRuns) {
  ASSERT_EQ(m_Host.Initialize(), 0U);
  m_Host.ClearCalls();
  m_Host.ClearTraces();
  const unsigned long ms = ElapsedMs([&] { EXPECT_EQ(m_Host.DeInitialize(), 0U); });
  EXPECT_EQ(ms, 200U);
  EXPECT_THAT(m_Host.Calls(), ElementsAre("vsl_fini"));
  EXPECT_THAT(TracesWithLevel(m_Host), ElementsAre("2 ENTER DeInitialize", "2 LEAVE DeInitialize"));
}

TEST_F(DeInitialize, LeavesTheStopRequestSet) {
  ASSERT_EQ(m_Host.Initialize(), 0U);
  m_Host.DeInitialize();
  const std::vector<HostKit::EventView> events = HostKit::Events();
  ASSERT_EQ(events.size(), 3U);
  EXPECT_FALSE(events[0].set);
  EXPECT_TRUE(events[1].set);
  EXPECT_FALSE(events[2].set);
}

TEST_F(DeInitialize, KeepsTheObjects) {
  ASSERT_EQ(m_Host.Initialize(), 0U);
  m_Host.DeInitialize();
  EXPECT_EQ(m_Host.Topology().size(), 5U);
  EXPECT_EQ(ShownValue(m_Host, m_Host.AdapterId(0), PI::Property::SERIAL_NUMBER), "FA00000001");
}

TEST_F(DeInitialize, KeepsTheEvents) {
  ASSERT_EQ(m_Host.Initialize(), 0U);
  CardSim::FailCall("vsl_iom_attach_create", 1, 62, "failed");
  ASSERT_EQ(Attach(), 0U);
  AwaitJobs();
  m_Host.DeInitialize();
  EXPECT_EQ(m_Host.CollectEvents().size(), 1U);
}

TEST_F(DeInitialize, ASecondCallStopsTheLibraryAgain) {
  ASSERT_EQ(m_Host.Initialize(), 0U);
  m_Host.DeInitialize();
  m_Host.ClearCalls();
  EXPECT_EQ(m_Host.DeInitialize(), 0U);
  EXPECT_THAT(m_Host.Calls(), ElementsAre("vsl_fini"));
}

// Returns how often each lock has been acquired.
std::vector<std::uint64_t> LockCounts() {
  std::vector<std::uint64_t> taken;
  for (const HostKit::LockView& lock : HostKit::Locks()) taken.push_back(lock.taken);
  return taken;
}

TEST_F(DeInitialize, DoesNotAcquireALock) {
  ASSERT_EQ(m_Host.Initialize(), 0U);
  ASSERT_EQ(m_Host.AssignAdapterNumbers(), 0U);
  SleepMs(1);
  const std::vector<std::uint64_t> before = LockCounts();
  EXPECT_THAT(before, ElementsAre(1, 0));
  m_Host.ClearTraces();
  m_Host.DeInitialize();
  EXPECT_EQ(LockCounts(), before);
  EXPECT_THAT(m_Host.Traces(8), IsEmpty());
}

TEST_F(DeInitialize, DoesNotCallTheLibraryBeforeInitialize) {
  ASSERT_EQ(m_Host.Create(), 0U);
  EXPECT_EQ(m_Host.DeInitialize(), 0U);
  EXPECT_THAT(m_Host.Calls(), IsEmpty());
}

// A way in which startup can fail, and the expected result.
struct FailedStart {
  const char* name;
  unsigned int result;
  void (*causeFailure)(SimulatedHost& host);
};

void PrintTo(const FailedStart& value, std::ostream* stream) {
  *stream << value.name;
}

class DeInitializeAfterFailure : public testing::TestWithParam<FailedStart> {};

TEST_P(DeInitializeAfterFailure, DoesNotCallTheLibrary) {
  SimulatedHost host;
  host.AddCard();
  GetParam().causeFailure(host);
  ASSERT_EQ(host.Initialize(), GetParam().result);
  host.ClearCalls();
  EXPECT_EQ(host.DeInitialize(), 0U);
  EXPECT_THAT(host.Calls(), IsEmpty());
}

constexpr FailedStart FAILED_STARTS[] = {
    {"LockUnusable", Number::ERR_LOCK_INITIALIZATION_FAILED,
     [](SimulatedHost&) { HostKit::FailLockInit(1); }},
    {"NoCardOnTheBus", Number::ERR_NO_SUPPORTED_HARDWARE,
     [](SimulatedHost& host) {
       host.Cards().RemoveCard("card0");
       host.RefreshPciBus();
     }},
    {"LibraryBroken", Number::ERR_API_INITIALIZATION_FAILED,
     [](SimulatedHost&) { CardSim::FailCall("vsl_init", 1, 5, "no"); }},
    {"SecondStartBroken", Number::ERR_API_INITIALIZATION_FAILED,
     [](SimulatedHost&) { CardSim::FailCall("vsl_init", 2, 5, "no"); }},
    {"NoUsableCard", Number::ERR_NO_SUPPORTED_HARDWARE,
     [](SimulatedHost& host) { host.Cards().MakeAbsent("card0", "serial_number"); }},
    {"ScanFailed", Number::ERR_NO_SUPPORTED_HARDWARE,
     [](SimulatedHost&) { CardSim::FailCall("vsl_open", 1, 5, "no"); }},
    {"ScanEmpty", Number::ERR_NO_SUPPORTED_HARDWARE,
     [](SimulatedHost&) { CardSim::FailCall("vsl_iom_create_by_name", 1, 5, "no"); }},
};

INSTANTIATE_TEST_SUITE_P(Start, DeInitializeAfterFailure, testing::ValuesIn(FAILED_STARTS),
                         [](const auto& test) { return test.param.name; });

TEST_F(DeInitialize, DoesNotCallALibraryThatCouldNotBeStartedAgain) {
  ASSERT_EQ(m_Host.Initialize(), 0U);
  m_Host.DeInitialize();
  m_Host.ClearCalls();
  CardSim::FailCall("vsl_init", 1, 5, "no");
  ASSERT_EQ(m_Host.Initialize(), Number::ERR_API_INITIALIZATION_FAILED);
  EXPECT_EQ(m_Host.DeInitialize(), 0U);
  EXPECT_THAT(m_Host.Calls(), ElementsAre("vsl_init"));
}

TEST_F(DeInitialize, ChecksForAJobEveryHalfSecond) {
  ASSERT_EQ(m_Host.Initialize(), 0U);
  DelayJobs(3000, 0);
  ASSERT_EQ(Attach(), 0U);
  EXPECT_EQ(Stop(), 0U);
  EXPECT_THAT(m_TracedLines,
              ElementsAre(TimedLine{100, WAIT_ATTACH}, TimedLine{600, WAIT_ATTACH},
                          TimedLine{1100, WAIT_ATTACH}, TimedLine{1600, WAIT_ATTACH},
                          TimedLine{2100, WAIT_ATTACH}, TimedLine{2600, WAIT_ATTACH}));
  EXPECT_EQ(m_StopMs, 3200U);
  EXPECT_EQ(m_Host.Cards().Get("card1", "iom_state"), "2");
  EXPECT_EQ(m_Host.Calls().back(), "vsl_fini");
}

TEST_F(DeInitialize, DoesNotWaitForAJobThatEndsDuringTheFirstSleep) {
  ASSERT_EQ(m_Host.Initialize(), 0U);
  DelayJobs(99, 0);
  ASSERT_EQ(Attach(), 0U);
  EXPECT_EQ(Stop(), 0U);
  EXPECT_THAT(m_TracedLines, IsEmpty());
  EXPECT_EQ(m_StopMs, 200U);
}

TEST_F(DeInitialize, DoesNotWaitForAFinishedJob) {
  ASSERT_EQ(m_Host.Initialize(), 0U);
  ASSERT_EQ(Attach(), 0U);
  ASSERT_EQ(Detach(), 0U);
  AwaitJobs();
  EXPECT_EQ(Stop(), 0U);
  EXPECT_THAT(m_TracedLines, IsEmpty());
}

TEST_F(DeInitialize, WaitsForBothJobsAndTracesEachRunningJob) {
  ASSERT_EQ(m_Host.Initialize(), 0U);
  DelayJobs(700, 1300);
  ASSERT_EQ(Detach(), 0U);
  ASSERT_EQ(Attach(), 0U);
  EXPECT_EQ(Stop(), 0U);
  EXPECT_THAT(m_TracedLines, ElementsAre(TimedLine{100, WAIT_ATTACH}, TimedLine{100, WAIT_DETACH},
                                         TimedLine{600, WAIT_ATTACH}, TimedLine{600, WAIT_DETACH},
                                         TimedLine{1100, WAIT_DETACH}));
  EXPECT_EQ(m_StopMs, 1700U);
}

TEST_F(DeInitialize, TreatsAForcedDetachAsADetach) {
  ASSERT_EQ(m_Host.Initialize(), 0U);
  DelayJobs(0, 200);
  ASSERT_EQ(m_Host.Run(m_Host.AdapterId(0), PI::OP_FORCE_DETACH), 0U);
  EXPECT_EQ(Stop(), 0U);
  EXPECT_THAT(m_TracedLines, ElementsAre(TimedLine{100, WAIT_DETACH}));
}

// Checks at 100, 600, ... 25,100 ms; only the last one is past 25 s.
std::vector<TimedLine> EveryCheck(const std::vector<const char*>& lines) {
  std::vector<TimedLine> tracedLines;
  for (unsigned long ms = 100; ms <= 25100; ms += 500) {
    for (const char* line : lines) tracedLines.push_back({ms, line});
  }
  return tracedLines;
}

TEST_F(DeInitialize, WaitsForAJobOfJustUnderTwentyFiveSeconds) {
  ASSERT_EQ(m_Host.Initialize(), 0U);
  DelayJobs(25099, 0);
  ASSERT_EQ(Attach(), 0U);
  EXPECT_EQ(Stop(), 0U);
  std::vector<TimedLine> expected = EveryCheck({WAIT_ATTACH});
  expected.pop_back();
  EXPECT_EQ(expected.size(), 50U);
  EXPECT_THAT(m_TracedLines, ElementsAreArray(expected));
  EXPECT_EQ(m_StopMs, 25200U);
}

TEST_F(DeInitialize, AbandonsAJobAfterTwentyFiveSecondsWithoutCancelingIt) {
  ASSERT_EQ(m_Host.Initialize(), 0U);
  DelayJobs(25150, 0);
  ASSERT_EQ(Attach(), 0U);
  EXPECT_EQ(Stop(), 0U);
  std::vector<TimedLine> expected = EveryCheck({WAIT_ATTACH});
  expected.push_back({25100, "16 Kill Attach"});
  EXPECT_THAT(m_TracedLines, ElementsAreArray(expected));
  EXPECT_EQ(m_StopMs, 25200U);
  AwaitJobs();
  ASSERT_EQ(HostKit::Threads().size(), 1U);
  EXPECT_FALSE(HostKit::Threads()[0].canceled);
  EXPECT_EQ(m_Host.Cards().Get("card1", "iom_state"), "2");
}

TEST_F(DeInitialize, AbandonsBothJobsAtTheSameCheck) {
  ASSERT_EQ(m_Host.Initialize(), 0U);
  DelayJobs(60000, 50000);
  ASSERT_EQ(Attach(), 0U);
  ASSERT_EQ(Detach(), 0U);
  EXPECT_EQ(Stop(), 0U);
  std::vector<TimedLine> expected = EveryCheck({WAIT_ATTACH, WAIT_DETACH});
  expected.push_back({25100, "16 Kill Attach"});
  expected.push_back({25100, "16 Kill Detach"});
  EXPECT_THAT(m_TracedLines, ElementsAreArray(expected));
  EXPECT_EQ(m_StopMs, 25200U);
  EXPECT_EQ(m_Host.Calls().back(), "vsl_fini");
  AwaitJobs();
  for (const HostKit::ThreadView& thread : HostKit::Threads()) EXPECT_FALSE(thread.canceled);
}

TEST_F(DeInitialize, ASecondCallWaitsForAnAbandonedJob) {
  ASSERT_EQ(m_Host.Initialize(), 0U);
  DelayJobs(26000, 0);
  ASSERT_EQ(Attach(), 0U);
  EXPECT_EQ(Stop(), 0U);
  EXPECT_EQ(Stop(), 0U);
  EXPECT_THAT(m_TracedLines, ElementsAre(TimedLine{100, WAIT_ATTACH}, TimedLine{600, WAIT_ATTACH}));
  EXPECT_EQ(m_StopMs, 1200U);
}

}  // namespace
}  // namespace CorvaneTest
