// A thread that cannot be started: no error is returned to the host, the stop does not wait, and
// the next start succeeds.

#include "tests/plugin/Watch.h"
#include "tests/support/Numbers.h"

namespace CorvaneTest {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class ThreadCreation : public WorkerFixture {
 protected:
  void ExpectStopWithoutWaiting() {
    const unsigned long begin = NowMs();
    ClearRecords();
    EXPECT_EQ(m_Host.DeInitialize(), 0U);
    EXPECT_EQ(NowMs() - begin, 200U);
    EXPECT_THAT(m_Host.Calls(), ElementsAre("vsl_fini"));
    for (const std::string& line : RecordedLines()) {
      EXPECT_EQ(line.find("Wait for termination"), std::string::npos) << line;
    }
  }
};

TEST_F(ThreadCreation, CommandsWorkAndNothingIsPolledWithoutAWorker) {
  AddCards(1);
  HostKit::FailThreadCreate(1);
  StartWatch();  // the numbers are still accepted
  EXPECT_THAT(HostKit::Threads(), IsEmpty());
  EXPECT_EQ(Value(FIRST, PI::Property::NAME), "\"SanDisk Flash Adapter 785GB (1)\"");
  Set("card0", "iom_state", "0");
  ClearRecords();
  PassMs(60000);
  EXPECT_THAT(RecordedLines(), IsEmpty());
  EXPECT_THAT(m_Host.Calls(), IsEmpty());
  EXPECT_EQ(m_Host.SetPollInterval(20), 0U);
  PassMs(1000);
  EXPECT_THAT(Notifications(), IsEmpty());
  ExpectStopWithoutWaiting();
}

TEST_F(ThreadCreation, IsRetriedForTheWorkerWhenNumbersAreAssignedAgain) {
  AddCards(1);
  HostKit::FailThreadCreate(1);
  StartWatch();
  EXPECT_THAT(TimesOf("2 ENTER Worker()"), IsEmpty());
  EXPECT_EQ(m_Host.AssignAdapterNumbers(), 0U);
  PassMs(5100);
  EXPECT_THAT(TimesOf("2 ENTER Worker()"), SizeIs(1));
  EXPECT_THAT(WakeUpTimes(), ElementsAre(5000U));
}

// The first worker continues when a second one cannot be started.
TEST_F(ThreadCreation, FailureForASecondWorkerDoesNotStopTheFirst) {
  AddCards(1);
  StartWatch();
  HostKit::FailThreadCreate(1);
  EXPECT_EQ(m_Host.AssignAdapterNumbers(), 0U);
  PassMs(5100);
  EXPECT_THAT(WakeUpTimes(), ElementsAre(5000U));
}

// Without a worker to cancel, a job that exceeds the timeout continues on its card.
TEST_F(ThreadCreation, AJobThatExceedsTheTimeoutIsAbandonedEvenWithoutAWorker) {
  AddCards(1);
  Set("card0", "iom_state", "0");
  Set("card0", "attach_ms", "40000");
  HostKit::FailThreadCreate(1);
  StartWatch();
  EXPECT_EQ(m_Host.Run(FIRST, PI::OP_ATTACH), 0U);
  EXPECT_EQ(m_Host.DeInitialize(), 0U);
  EXPECT_EQ(NowMs(), 25200U);
  EXPECT_THAT(TimesOf("16 Kill Attach"), SizeIs(1));
  EXPECT_THAT(TimesOf("16 Kill Worker"), IsEmpty());
  PassMs(30000);
  ASSERT_THAT(HostKit::Threads(), SizeIs(1));
  EXPECT_TRUE(HostKit::Threads()[0].ended);
  EXPECT_EQ(HostKit::Threads()[0].cancelRequests, 0U);
}

struct JobKind {
  const char* name;
  std::uint32_t operation;
  const char* before;
  const char* after;
  Lines lines;
};

void PrintTo(const JobKind& job, std::ostream* stream) {
  *stream << job.name;
}

const JobKind JOB_KINDS[] = {
    {"Attach",
     Number::OP_ATTACH,
     "0",
     "2",
     {"2 ENTER ExecuteAdapterOperation(50126) (0)",
      "16 ExecuteAdapterOperation(), OP_ATTACH, start Attach thread",
      "2 LEAVE AdapterExecuteOperation() -> 0"}},
    {"Detach",
     Number::OP_DETACH,
     "2",
     "0",
     {"2 ENTER ExecuteAdapterOperation(50127) (0)",
      "16 ExecuteAdapterOperation(), OP_DETACH, start Detach thread",
      "2 LEAVE AdapterExecuteOperation() -> 0"}},
    {"ForceDetach",
     Number::OP_FORCE_DETACH,
     "2",
     "0",
     {"2 ENTER ExecuteAdapterOperation(50128) (0)",
      "16 ExecuteAdapterOperation(), OP_FORCE_DETACH, start ForceDetach thread",
      "2 LEAVE AdapterExecuteOperation() -> 0"}},
};

class EachJobWithoutAThread : public ThreadCreation, public testing::WithParamInterface<JobKind> {
 protected:
  // Starts with cards whose jobs take no time.
  void StartWith(int cards) {
    AddCards(cards);
    for (const std::string& card : m_Host.Cards().Cards()) {
      Set(card, "iom_state", GetParam().before);
      Set(card, "attach_ms", "0");
      Set(card, "detach_ms", "0");
    }
    StartWatch("255");
  }
  unsigned int Run(std::uint64_t adapter) { return m_Host.Run(adapter, GetParam().operation); }
  unsigned int Check(std::uint64_t adapter) { return m_Host.Check(adapter, GetParam().operation); }
};

TEST_P(EachJobWithoutAThread, DoesNotCauseAnErrorAnEventOrACardCall) {
  StartWith(1);
  ClearRecords();
  HostKit::FailThreadCreate(1);
  EXPECT_EQ(Run(FIRST), 0U);
  PassMs(10000);
  Lines lines;
  for (const std::string& line : RecordedLines()) {
    if (line.rfind("8 ", 0) != 0) lines.push_back(line);
  }
  EXPECT_EQ(lines, GetParam().lines);
  EXPECT_THAT(m_Host.Calls(), IsEmpty());
  EXPECT_THAT(HostKit::Threads(), SizeIs(1));  // the worker
  EXPECT_THAT(Events(), IsEmpty());
  EXPECT_EQ(m_Host.Cards().Get("card0", "iom_state"), GetParam().before);
}

TEST_P(EachJobWithoutAThread, IsNotBusyAndTheNextOneRuns) {
  StartWith(1);
  HostKit::FailThreadCreate(1);
  EXPECT_EQ(Run(FIRST), 0U);
  EXPECT_EQ(Check(FIRST), 0U);
  EXPECT_EQ(Run(FIRST), 0U);
  PassMs(10000);
  EXPECT_EQ(m_Host.Cards().Get("card0", "iom_state"), GetParam().after);
  EXPECT_THAT(Events(), IsEmpty());
}

// The failed job then owns the slot, which hides the running job.
TEST_P(EachJobWithoutAThread, TakesTheSlotOfTheRunningJob) {
  StartWith(2);
  HeldCall held("vsl_op_wait_for_result");
  EXPECT_EQ(Run(FIRST), 0U);
  held.WaitUntilReached();
  EXPECT_EQ(Check(SECOND), Number::ERR_ADAPTER_BUSY);
  HostKit::FailThreadCreate(1);
  EXPECT_EQ(Run(SECOND), 0U);
  EXPECT_EQ(Check(SECOND), 0U);
  held.Release();
  PassMs(10000);
  EXPECT_EQ(m_Host.Cards().Get("card0", "iom_state"), GetParam().after);
  EXPECT_EQ(m_Host.Cards().Get("card1", "iom_state"), GetParam().before);
}

TEST_P(EachJobWithoutAThread, DoesNotDelayTheStop) {
  StartWith(1);
  HostKit::FailThreadCreate(1);
  EXPECT_EQ(Run(FIRST), 0U);
  ExpectStopWithoutWaiting();
}

INSTANTIATE_TEST_SUITE_P(Kinds, EachJobWithoutAThread, testing::ValuesIn(JOB_KINDS),
                         [](const auto& test) { return std::string(test.param.name); });

}  // namespace
}  // namespace CorvaneTest
