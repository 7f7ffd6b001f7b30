// The worker when a step fails or the plug-in is stopped during a pass, and the lines that it
// traces.

#include <map>

#include "tests/plugin/Watch.h"
#include "tests/support/Numbers.h"

namespace CorvaneTest {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

class WorkerFaults : public WorkerFixture {
 protected:
  // Starts with two cards; the next wake-up scans them.
  void StartBeforeAScan() {
    AddCards(2);
    StartWatch();
    WaitForWakeUps(2);
  }
  void ExpectNoMisuseOrHeldLock() {
    EXPECT_THAT(CardSim::Misuse(), IsEmpty());
    ExpectNoLockHeld();
  }
  static HostKit::ThreadView NewestThread() { return HostKit::Threads().back(); }
  // Renders the threads of this test's plug-in, and how often `Cancel` was called for each.
  static Lines Cancellations() {
    Lines texts;
    for (const HostKit::ThreadView& thread : HostKit::Threads()) {
      if (thread.ordinal == 0) continue;
      texts.push_back(std::to_string(thread.ordinal) + (thread.ended ? " ended" : " runs") +
                      (thread.canceled ? " early" : "") + ", cancel " +
                      std::to_string(thread.cancelRequests));
    }
    return texts;
  }

  // Expects that a worker is canceled if `function` blocks for a minute.
  void ExpectCanceledIn(const std::string& function) {
    AddCards(1);
    StartWatch();
    CardSim::SetHook([function](const CardSim::Call& call) {
      if (call.function == function) SleepFor(60000);
    });
    PassMs(5500);
    const unsigned long begin = NowMs();
    EXPECT_EQ(m_Host.DeInitialize(), 0U);
    EXPECT_EQ(NowMs() - begin, 25200U);
    Timestamps waits;
    for (unsigned long ms = 100; ms <= 25100; ms += 500) waits.push_back(begin + ms);
    EXPECT_THAT(TimesOf("16 Wait for termination... (Worker)"), ElementsAreArray(waits));
    EXPECT_THAT(TimesOf("16 Kill Worker"), ElementsAre(begin + 25100));
    EXPECT_TRUE(NewestThread().canceled);
    PassMs(60000);
    EXPECT_TRUE(NewestThread().ended);
    EXPECT_THAT(TimesOf("2 LEAVE Worker()"), IsEmpty());
  }
};

const Lines WAKE_UP = {"4 Worker() timeout event received"};
const Lines LOCK_DATA = {"8 Before m_DataLock.Wait(INFINITE)", "8 After m_DataLock.Wait(INFINITE)"};
const Lines LOCK_EVENTS = {"8 Before m_EventsLock.Wait(INFINITE)",
                           "8 After m_EventsLock.Wait(INFINITE)"};
const Lines RELEASE_EVENTS = {"8 Before m_EventsLock.Release ()",
                              "8 After m_EventsLock.Release ()"};
const Lines RELEASE_DATA = {"8 Before m_DataLock.Release ()", "8 After m_DataLock.Release ()"};
const Lines RESTART_INTERVAL = {"2 Worker() before restart interval"};
const Lines SCAN = {"16 Before ScanSystem()",
                    "2 ENTER ScanSystem(0) PhyDrive=0",
                    "16 ScanSystem, vsl_has_first_use_ts = 1355270400000",
                    "16 ScanSystem, vsl_has_origin_ts = 1352937600000",
                    "16 ScanSystem, vsl_has_reserve_warning_threshold_percent = 10",
                    "2 LEAVE ScanSystem() -> 0",
                    "16 After ScanSystem() ret = 0"};

Lines Joined(const std::vector<Lines>& parts) {
  Lines all;
  for (const Lines& part : parts) all.insert(all.end(), part.begin(), part.end());
  return all;
}

TEST_F(WorkerFaults, TracesItsStartAndItsEnd) {
  AddCards(1);
  StartWatch();
  Set("card0", "current_errors", "1");
  WaitForWakeUps();
  PassMs(10);
  EXPECT_EQ(RecordedLines().at(0), "2 ENTER Worker()");
  EXPECT_THAT(TimesOf("2 ENTER Worker()"), ElementsAre(0U));
  ClearRecords();
  EXPECT_EQ(m_Host.DeInitialize(), 0U);
  Settle();
  EXPECT_THAT(RecordedLines(),
              ElementsAre("2 ENTER DeInitialize", "4 Worker() something else perhaps m_StopRequest",
                          "2 LEAVE Worker()", "2 LEAVE DeInitialize"));
  ExpectNoMisuseOrHeldLock();
}

TEST_F(WorkerFaults, TracesAScanWithoutAChange) {
  AddCards(1);
  StartWatch();
  WaitForWakeUps(2);
  ClearRecords();
  WaitForWakeUps();
  EXPECT_THAT(
      RecordedLines(),
      ElementsAreArray(Joined(
          {WAKE_UP,
           LOCK_DATA,
           LOCK_EVENTS,
           SCAN,
           {"16 Before UpdateSystem()", "2 ENTER UpdateSystem for 1 adapter, 1 physicalDrives",
            "2 LEAVE UpdateSystem ret = 20000", "16 After UpdateSystem() ret = 20000",
            "4 Worker() after bscan"},
           RELEASE_EVENTS,
           RELEASE_DATA,
           RESTART_INTERVAL})));
}

// Events are appended under the lock that the worker already holds.
TEST_F(WorkerFaults, TracesAScanWithEvents) {
  AddCards(1);
  StartWatch();
  WaitForWakeUps(2);
  Set("card0", "iom_state", "0");
  ClearRecords();
  WaitForWakeUps();
  EXPECT_THAT(
      RecordedLines(),
      ElementsAreArray(Joined(
          {WAKE_UP,
           LOCK_DATA,
           LOCK_EVENTS,
           SCAN,
           {"16 Before UpdateSystem()", "2 ENTER UpdateSystem for 1 adapter, 1 physicalDrives",
            "8 Before m_EventsLock.Wait (sg)", "8 After m_EventsLock.Wait (sg)",
            "2 LEAVE UpdateSystem ret = 0", "16 After UpdateSystem() ret = 0",
            "4 Worker() after bscan"},
           RELEASE_EVENTS,
           RELEASE_DATA,
           RESTART_INTERVAL})));
}

TEST_F(WorkerFaults, TracesAScanWithAChangeAndNoEvent) {
  AddCards(1);
  StartWatch();
  WaitForWakeUps(2);
  Set("card0", "temp_internal_deg_c", "60");
  ClearRecords();
  WaitForWakeUps();
  EXPECT_THAT(RecordedLines(), Not(Contains("8 Before m_EventsLock.Wait (sg)")));
  EXPECT_THAT(RecordedLines(), Contains("2 LEAVE UpdateSystem ret = 0"));
}

TEST_F(WorkerFaults, TracesAFailedScan) {
  AddCards(1);
  StartWatch();
  WaitForWakeUps(2);
  ClearRecords();
  CardSim::FailCall("vsl_open", 1, 62, "unavailable");
  WaitForWakeUps();
  EXPECT_THAT(
      RecordedLines(),
      ElementsAreArray(Joined({WAKE_UP,
                               LOCK_DATA,
                               LOCK_EVENTS,
                               {"16 Before ScanSystem()", "2 ENTER ScanSystem(0) PhyDrive=0",
                                "16 ScanSystem, vsl_open = 62 (unavailable)",
                                "16 After ScanSystem() ret = 20003", "4 Worker() after bscan"},
                               RELEASE_EVENTS,
                               RELEASE_DATA,
                               RESTART_INTERVAL})));
  EXPECT_THAT(m_Host.Calls(), ElementsAre("vsl_iom_create_by_name /dev/fct0", "vsl_open card#1",
                                          "vsl_destroy card#1"));
}

TEST_F(WorkerFaults, TracesThePrivateEventAfterAnOperation) {
  AddCards(1);
  StartWatch();
  ClearRecords();
  EXPECT_EQ(m_Host.Run(FIRST_DRIVE, PI::OP_MAKE_OFFLINE), 0U);
  Settle();
  const Lines lines = RecordedLines();
  const auto begin =
      std::find(lines.begin(), lines.end(), "4 Worker() m_PrivateEvent event received");
  ASSERT_NE(begin, lines.end());
  EXPECT_THAT(TimesOf("2 Worker() before restart interval"), SizeIs(1));
  EXPECT_THAT(TimesOf("8 Before m_DataLock.Wait(INFINITE)"), IsEmpty());
}

TEST_F(WorkerFaults, AScanThatFailsMidwayKeepsTheObjectsAndClearsThePluginsChildren) {
  StartBeforeAScan();
  const Lines before = Tree();
  Set("card0", "board_name", "Other");
  CardSim::FailCall("vsl_open", 2, 62, "unavailable");
  WaitForScans();
  Lines expected = before;
  expected[0] = "object 0130000000000000 type 19006 parents children";
  EXPECT_EQ(Tree(), expected);
  EXPECT_EQ(Value(FIRST, PI::Property::PRODUCT), "\"Flash Adapter 785GB\"");
  EXPECT_THAT(TimesOf("16 Before UpdateSystem()"), IsEmpty());
  WaitForScans();
  EXPECT_EQ(Tree(), before);
  EXPECT_EQ(Value(FIRST, PI::Property::PRODUCT), "\"Other\"");
  ExpectNoMisuseOrHeldLock();
}

TEST_F(WorkerFaults, TheScanAfterAFailedOneIsAFullIntervalLater) {
  AddCards(1);
  StartWatch();
  WaitForWakeUps(2);
  CardSim::FailCall("vsl_open", 1, 62, "unavailable");
  WaitForScans(2);
  // The failed scan takes no time. The next one follows three thirds of the interval (15 s) and two
  // quick polls (24 ms) later.
  EXPECT_THAT(ScanTimes(), ElementsAre(15024U, 30048U));
}

TEST_F(WorkerFaults, AQuickPollRetriesAFailedScan) {
  AddCards(1);
  StartWatch();
  Set("card0", "iom_state", "0");
  CardSim::FailCall("vsl_open", 2, 62, "unavailable");
  WaitForScans();
  EXPECT_THAT(Events(), IsEmpty());
  WaitForWakeUps();
  EXPECT_THAT(Events(), SizeIs(1));
}

TEST_F(WorkerFaults, APollIsSkippedIfTheDataLockFails) {
  AddCards(1);
  StartWatch();
  ClearRecords();
  HostKit::FailLockWait(1, 1);
  WaitForWakeUps();
  EXPECT_THAT(RecordedLines(), ElementsAreArray(Joined({WAKE_UP, LOCK_DATA, RESTART_INTERVAL})));
  EXPECT_THAT(m_Host.Calls(), IsEmpty());
  EXPECT_EQ(HostKit::Locks()[0].depth, 0U);
  WaitForWakeUps();
  EXPECT_THAT(m_Host.Calls(), SizeIs(24));
}

TEST_F(WorkerFaults, ADueScanWaitsForTheDataLock) {
  StartBeforeAScan();
  HostKit::FailLockWait(1, 1);
  WaitForWakeUps();
  EXPECT_EQ(Scans(), 0U);
  WaitForWakeUps();
  EXPECT_EQ(Scans(), 1U);
}

TEST_F(WorkerFaults, AScanIsPostponedIfTheEventsLockFails) {
  AddCards(1);
  StartWatch();
  Set("card0", "iom_state", "0");
  ClearRecords();
  HostKit::FailLockWait(2, 1);
  WaitForWakeUps();
  EXPECT_THAT(
      RecordedLines(),
      ElementsAreArray(Joined({WAKE_UP, LOCK_DATA, LOCK_EVENTS, RELEASE_DATA, RESTART_INTERVAL})));
  EXPECT_THAT(Notifications(), IsEmpty());
  ClearRecords();
  // The next pass must scan without a quick poll, which would not detect a change: the state is
  // back to its old value.
  Set("card0", "iom_state", "2");
  WaitForWakeUps();
  EXPECT_EQ(Scans(), 1U);
  EXPECT_EQ(m_Host.Calls()[2], "vsl_has_pci_bus card#1");
  ExpectNoMisuseOrHeldLock();
}

TEST_F(WorkerFaults, TheEventsLockCanBeUnavailableForSeveralWakeUps) {
  AddCards(1);
  StartWatch();
  WaitForWakeUps(2);
  for (int i = 0; i < 5; ++i) {
    HostKit::FailLockWait(2, 1);
    WaitForWakeUps();
    EXPECT_EQ(Scans(), 0U);
  }
  WaitForWakeUps();
  EXPECT_EQ(Scans(), 1U);
}

// Runs a plug-in with a scan in which one call fails.
class FailingScan : public WorkerFixture {
 public:
  // Starts the plug-in and waits until the next wake-up is due to scan.
  void Begin() {
    AddCards(2);
    StartWatch();
    WaitForWakeUps(2);
    m_OnLine = [this](const std::string& line) {
      if (line.rfind("16 After ScanSystem()", 0) == 0) m_Handles = CardSim::OpenHandles();
    };
    m_Host.ClearCalls();
  }
  std::map<std::string, unsigned int> CountScanCalls() {
    Begin();
    std::map<std::string, unsigned int> counts;
    m_OnLine = [&](const std::string& line) {
      if (line != "16 After ScanSystem() ret = 0") return;
      for (const CardSim::Call& call : CardSim::CallLog()) ++counts[call.function];
    };
    WaitForScans();
    return counts;
  }
  void FailOnce(const std::string& function, unsigned int nth) {
    Begin();
    CardSim::FailCall(function, nth, 62, "unavailable");
    WaitForScans();
    EXPECT_THAT(m_Handles, SizeIs(function == "vsl_destroy" ? 1 : 0));
    EXPECT_THAT(CardSim::Misuse(), SizeIs(function == "vsl_close" ? 1 : 0));
    ExpectNoLockHeld();
    // Later scans restore the tree, but a card that could not be found has new ids.
    WaitForScans(2);
    ASSERT_THAT(m_Host.Topology(), SizeIs(5));
    for (const std::uint64_t adapter : m_Host.ObjectOf(PLUGIN).m_Children) {
      EXPECT_EQ(Status(adapter), "OK");
      EXPECT_EQ(Reasons(adapter), "[ATTACHED]");
    }
    EXPECT_EQ(m_Host.DeInitialize(), 0U);
    EXPECT_THAT(TimesOf("2 LEAVE Worker()"), SizeIs(1));
  }

 private:
  void TestBody() override {}

  Lines m_Handles;
};

TEST(WorkerFaultSweep, SurvivesTheFailureOfEachCallOfAScan) {
  const std::map<std::string, unsigned int> counts = FailingScan().CountScanCalls();
  ASSERT_GE(counts.size(), 60U);
  for (const auto& [function, count] : counts) {
    for (unsigned int nth = 1; nth <= count; ++nth) {
      SCOPED_TRACE(function + " " + std::to_string(nth));
      FailingScan().FailOnce(function, nth);
    }
  }
}

// The worker detects the stop when it waits again.
TEST_F(WorkerFaults, AStopDuringAScanLetsItFinish) {
  AddCards(1);
  StartWatch();
  WaitForWakeUps(2);
  Set("card0", "iom_state", "0");
  CardSim::SetHook([](const CardSim::Call& call) {
    if (call.function == "vsl_has_pci_bus") SleepFor(2000);
  });
  PassMs(15100 - static_cast<std::int64_t>(NowMs()));
  const unsigned long begin = NowMs();
  EXPECT_EQ(m_Host.DeInitialize(), 0U);
  // The scan starts at 15,024 ms and ends at 17,036 ms.
  const Timestamps waits = TimesOf("16 Wait for termination... (Worker)");
  EXPECT_THAT(waits, ElementsAre(begin + 100, begin + 600, begin + 1100, begin + 1600));
  EXPECT_EQ(NowMs() - begin, 2200U);
  EXPECT_THAT(TimesOf("16 After UpdateSystem() ret = 0"), ElementsAre(17036U));
  EXPECT_THAT(Notifications(), ElementsAre(17036U));
  EXPECT_THAT(TimesOf("2 LEAVE Worker()"), ElementsAre(17036U));
  EXPECT_EQ(m_Host.Calls().back(), "vsl_fini");
  EXPECT_THAT(CardSim::Misuse(), IsEmpty());
}

// A host that continues although an event could not be initialized.
TEST_F(WorkerFaults, AWorkerThatCannotWaitEndsImmediately) {
  AddCards(1);
  HostKit::FailEventInit(1);
  StartWatch("15", Number::ERR_LOCK_INITIALIZATION_FAILED);
  EXPECT_THAT(RecordedLines(),
              ElementsAre("2 ENTER Worker()", "4 Worker() something else perhaps m_StopRequest",
                          "2 LEAVE Worker()"));
  EXPECT_THAT(m_Host.Calls(), IsEmpty());
}

TEST_F(WorkerFaults, AStopEndsAWaitingWorkerImmediately) {
  AddCards(1);
  StartWatch();
  PassMs(1234);
  EXPECT_EQ(m_Host.DeInitialize(), 0U);
  EXPECT_EQ(NowMs(), 1434U);
  EXPECT_THAT(TimesOf("2 LEAVE Worker()"), ElementsAre(1234U));
  EXPECT_THAT(TimesOf("16 Wait for termination... (Worker)"), IsEmpty());
}

TEST_F(WorkerFaults, AStoppedWorkerDoesNotCallTheHost) {
  AddCards(1);
  StartWatch();
  Set("card0", "iom_state", "0");
  EXPECT_EQ(m_Host.DeInitialize(), 0U);
  m_Host.ClearCalls();
  PassMs(60000);
  EXPECT_THAT(Notifications(), IsEmpty());
  EXPECT_THAT(m_Host.Calls(), IsEmpty());
}

TEST_F(WorkerFaults, ASecondDeInitializeDoesNotWaitForAWorkerAndStopsTheLibraryAgain) {
  AddCards(1);
  StartWatch();
  EXPECT_EQ(m_Host.DeInitialize(), 0U);
  ClearRecords();
  const unsigned long begin = NowMs();
  EXPECT_EQ(m_Host.DeInitialize(), 0U);
  EXPECT_EQ(NowMs() - begin, 200U);
  EXPECT_THAT(RecordedLines(), ElementsAre("2 ENTER DeInitialize", "2 LEAVE DeInitialize"));
  EXPECT_THAT(m_Host.Calls(), ElementsAre("vsl_fini"));
}

TEST_F(WorkerFaults, AStuckWorkerIsCanceledAfterTwentyFiveSeconds) {
  ExpectCanceledIn("vsl_open");
}

// As above, but while the worker destroys a handle.
TEST_F(WorkerFaults, AWorkerStuckDestroyingAHandleIsAlsoCanceled) {
  ExpectCanceledIn("vsl_destroy");
}

// Each abandoned thread causes a cancellation of the worker, which has already ended here.
TEST_F(WorkerFaults, AnAbandonedJobDoesNotAffectAnEndedWorker) {
  AddCards(1);
  Set("card0", "iom_state", "0");
  Set("card0", "attach_ms", "40000");
  StartWatch();
  EXPECT_EQ(m_Host.Run(FIRST, PI::OP_ATTACH), 0U);
  EXPECT_EQ(m_Host.DeInitialize(), 0U);
  EXPECT_THAT(TimesOf("16 Kill Attach"), SizeIs(1));
  EXPECT_THAT(TimesOf("16 Kill Worker"), IsEmpty());
  PassMs(30000);
  EXPECT_THAT(Cancellations(), ElementsAre("1 ended, cancel 1", "2 ended, cancel 0"));
}

TEST_F(WorkerFaults, TwoAbandonedJobsCancelAnEndedWorkerTwice) {
  AddCards(2);
  Set("card0", "iom_state", "0");
  Set("card0", "attach_ms", "40000");
  Set("card1", "detach_ms", "40000");
  StartWatch();
  EXPECT_EQ(m_Host.Run(FIRST, PI::OP_ATTACH), 0U);
  EXPECT_EQ(m_Host.Run(SECOND, PI::OP_FORCE_DETACH), 0U);
  EXPECT_EQ(m_Host.DeInitialize(), 0U);
  PassMs(30000);
  EXPECT_THAT(Cancellations(),
              ElementsAre("1 ended, cancel 2", "2 ended, cancel 0", "3 ended, cancel 0"));
}

// Each round checks the worker, then the attach job, then the detach job. Each abandoned thread
// causes a cancellation of the worker.
TEST_F(WorkerFaults, AStopWaitsForAllThreeThreadsAndAbandonsThemInOrder) {
  AddCards(2);
  Set("card0", "iom_state", "0");
  Set("card0", "attach_ms", "40000");
  Set("card1", "detach_ms", "40000");
  StartWatch();
  EXPECT_EQ(m_Host.Run(FIRST, PI::OP_ATTACH), 0U);
  EXPECT_EQ(m_Host.Run(SECOND, PI::OP_DETACH), 0U);
  CardSim::SetHook([](const CardSim::Call& call) {
    if (call.function == "vsl_open") SleepFor(60000);
  });
  PassMs(5500);
  ClearLines();
  EXPECT_EQ(m_Host.DeInitialize(), 0U);
  Lines expected = {"2 ENTER DeInitialize"};
  for (int round = 0; round < 51; ++round) {
    expected.insert(expected.end(),
                    {"16 Wait for termination... (Worker)", "16 Wait for termination... (Attach)",
                     "16 Wait for termination... (Detach)"});
  }
  expected.insert(expected.end(),
                  {"16 Kill Worker", "16 Kill Attach", "16 Kill Detach", "2 LEAVE DeInitialize"});
  // The canceled worker also traces the release of its lock.
  Lines lines = RecordedLines();
  const auto isLockLine = [](const std::string& line) { return line.rfind("8 ", 0) == 0; };
  lines.erase(std::remove_if(lines.begin(), lines.end(), isLockLine), lines.end());
  EXPECT_THAT(lines, ElementsAreArray(expected));
  EXPECT_EQ(NowMs(), 5500U + 25200U);
  PassMs(60000);
  EXPECT_THAT(Cancellations(),
              ElementsAre("1 ended early, cancel 3", "2 ended, cancel 0", "3 ended, cancel 0"));
}

TEST_F(WorkerFaults, AssigningNumbersTwiceStartsTwoWorkersAndBothEnd) {
  m_OneWorker = false;
  AddCards(1);
  StartWatch();
  EXPECT_EQ(m_Host.AssignAdapterNumbers(), 0U);
  Settle();
  EXPECT_THAT(TimesOf("2 ENTER Worker()"), SizeIs(2));
  PassMs(5100);
  EXPECT_THAT(WakeUpTimes(), ElementsAre(5000U, 5000U));
  EXPECT_THAT(m_Host.Calls(), SizeIs(48));
  ClearRecords();
  EXPECT_EQ(m_Host.DeInitialize(), 0U);
  Settle();
  EXPECT_THAT(TimesOf("2 LEAVE Worker()"), SizeIs(2));
  for (const HostKit::ThreadView& thread : HostKit::Threads()) EXPECT_TRUE(thread.ended);
  EXPECT_THAT(CardSim::Misuse(), IsEmpty());
}

TEST_F(WorkerFaults, TwoWorkersRaiseEachEventOnce) {
  m_OneWorker = false;
  AddCards(2);
  StartWatch();
  EXPECT_EQ(m_Host.AssignAdapterNumbers(), 0U);
  Set("card0", "iom_state", "0");
  PassMs(60000);
  EXPECT_THAT(Events(), SizeIs(1));
}

}  // namespace
}  // namespace CorvaneTest
