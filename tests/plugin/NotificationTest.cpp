// The passes after which the worker notifies the host, and the locks that it holds during the
// callback.

#include "tests/plugin/Watch.h"
#include "tests/support/HeldTrace.h"
#include "tests/support/Numbers.h"

namespace CorvaneTest {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class Notification : public WorkerFixture {
 protected:
  // One card without a change, and one queued event.
  void StartWithAQueuedEvent() {
    AddCards(1);
    Set("card0", "iom_state", "0");
    StartWatch();
    CardSim::FailCall("vsl_iom_attach_create", 1, 62, "failed");
    ASSERT_EQ(m_Host.Run(FIRST, PI::OP_ATTACH), 0U);
    Settle();
  }
};

TEST_F(Notification, IsNotSentWhenNothingHasChanged) {
  AddCards(2);
  StartWatch();
  WaitForScans(3);
  EXPECT_THAT(TimesOf("16 After UpdateSystem() ret = 20000"), SizeIs(3));
  EXPECT_THAT(Notifications(), IsEmpty());
}

// Only a scan reads the temperature, and a change of it does not raise an event.
TEST_F(Notification, IsSentAfterAChangeWithoutAnEvent) {
  AddCards(1);
  StartWatch();
  Set("card0", "temp_internal_deg_c", "60.5");
  WaitForScans(2);
  EXPECT_THAT(Notifications(), ElementsAre(15036U));
  EXPECT_THAT(TimesOf("16 After UpdateSystem() ret = 0"), ElementsAre(15036U));
  EXPECT_THAT(Events(), IsEmpty());
}

TEST_F(Notification, IsSentWhenOnlyADriveHasChanged) {
  AddCards(1);
  StartWatch();
  Set("card0", "iom_format_max_sector_size_bytes", "2048");
  WaitForScans(2);
  EXPECT_THAT(Notifications(), ElementsAre(15036U));
  EXPECT_THAT(Events(), IsEmpty());
}

// The mask is not accepted yet, but its change is already visible.
TEST_F(Notification, IsSentForEachScanOfAMaskNotYetAccepted) {
  AddCards(1);
  StartWatch();
  Set("card0", "current_errors", "1");
  WaitForScans(3);
  PassMs(9000);
  EXPECT_THAT(Notifications(), ElementsAre(5024U, 10048U, 15072U));
}

TEST_F(Notification, IsSentAfterAQuickPollDetectsAChange) {
  AddCards(1);
  StartWatch();
  Set("card0", "iom_state", "0");
  WaitForScans();
  EXPECT_THAT(Notifications(), ElementsAre(5024U));
  EXPECT_THAT(Events(), SizeIs(1));
}

TEST_F(Notification, IsNotSentForAQueuedEventBeforeTheNextScan) {
  StartWithAQueuedEvent();
  WaitForWakeUps(2);
  EXPECT_EQ(Scans(), 0U);
  EXPECT_THAT(Notifications(), IsEmpty());
}

TEST_F(Notification, IsSentForAQueuedEventAtTheNextScan) {
  StartWithAQueuedEvent();
  WaitForScans();
  EXPECT_THAT(TimesOf("16 After UpdateSystem() ret = 20000"), ElementsAre(15036U));
  EXPECT_THAT(Notifications(), ElementsAre(15036U));
}

TEST_F(Notification, IsSentAtEveryScanUntilTheEventsAreCollected) {
  StartWithAQueuedEvent();
  WaitForScans(2);
  EXPECT_THAT(Notifications(), ElementsAre(15036U, 30072U));
  EXPECT_THAT(Events(), SizeIs(1));
  WaitForScans(2);
  EXPECT_THAT(Notifications(), SizeIs(2));
}

TEST_F(Notification, IsNotSentAfterAFailedScan) {
  AddCards(1);
  StartWatch();
  Set("card0", "temp_internal_deg_c", "60.5");
  WaitForWakeUps(2);
  CardSim::FailCall("vsl_open", 1, 62, "unavailable");
  WaitForScans();
  EXPECT_THAT(TimesOf("16 After ScanSystem() ret = 20003"), SizeIs(1));
  EXPECT_THAT(Notifications(), IsEmpty());
}

TEST_F(Notification, IsSentAfterAFailedScanWithAQueuedEvent) {
  StartWithAQueuedEvent();
  WaitForWakeUps(2);
  CardSim::FailCall("vsl_open", 1, 62, "unavailable");
  WaitForScans();
  EXPECT_THAT(TimesOf("16 After ScanSystem() ret = 20003"), SizeIs(1));
  EXPECT_THAT(Notifications(), ElementsAre(15024U));
}

// The worker has already seen that the queue is empty. Its next scan notifies the host.
TEST_F(Notification, IsNotSentForAnEventThatIsQueuedAfterTheScan) {
  AddCards(1);
  Set("card0", "iom_state", "0");
  StartWatch();
  CardSim::FailCall("vsl_iom_attach_create", 1, 62, "failed");
  HeldCall job("vsl_iom_attach_create");
  ASSERT_EQ(m_Host.Run(FIRST, PI::OP_ATTACH), 0U);
  job.WaitUntilReached();
  HeldTrace scan("After m_EventsLock.Release ()");
  scan.WaitUntilReached();
  job.Release();
  SleepFor(10);
  scan.Release();
  Settle();
  EXPECT_THAT(Notifications(), IsEmpty());
  PassMs(16000);
  EXPECT_THAT(Notifications(), SizeIs(1));
}

TEST_F(Notification, IsSentImmediatelyWithoutAPollWhenThePollIntervalIsSet) {
  AddCards(1);
  StartWatch();
  PassMs(1234);
  PI::CProperty interval(PI::Property::POLL_INTERVAL, true);
  interval.SetValue(20, 2, 255, 1);
  EXPECT_EQ(m_Host.Execute(PI::CMD_SET_PROPERTY, PLUGIN, &interval), 0U);
  PassMs(1);
  EXPECT_THAT(Notifications(), ElementsAre(1234U));
  EXPECT_THAT(m_Host.Calls(), IsEmpty());
}

TEST_F(Notification, IsSentEvenWhenThePollIntervalIsUnchanged) {
  AddCards(1);
  StartWatch("20");
  EXPECT_EQ(m_Host.SetPollInterval(20), 0U);
  PassMs(1);
  EXPECT_THAT(Notifications(), ElementsAre(0U));
}

TEST_F(Notification, IsSentImmediatelyAfterAnOperationOfADrive) {
  AddCards(1);
  Set("card0", "iom_state", "0");
  Set("card0", "format_ms", "700");
  StartWatch();
  EXPECT_EQ(m_Host.Run(FIRST_DRIVE, PI::OP_MAKE_OFFLINE), 0U);
  PassMs(100);
  EXPECT_EQ(m_Host.Run(FIRST_DRIVE, PI::OP_MAKE_ONLINE), 0U);
  PassMs(100);
  EXPECT_EQ(m_Host.Run(FIRST_DRIVE, PI::OP_FORMAT_DEVICE), 0U);
  PassMs(100);
  EXPECT_THAT(Notifications(), ElementsAre(0U, 100U, 900U));
  EXPECT_EQ(Scans(), 0U);
}

TEST_F(Notification, IsNotSentAfterAFailedOperationOfADrive) {
  AddCards(1);
  StartWatch();
  CardSim::FailCall("vsl_iom_create_by_name", 1, 62, "no", 3);
  for (const auto operation : {PI::OP_MAKE_OFFLINE, PI::OP_MAKE_ONLINE, PI::OP_FORMAT_DEVICE}) {
    EXPECT_EQ(m_Host.Run(FIRST_DRIVE, operation), Number::ERR_COMMAND_ERROR);
  }
  EXPECT_EQ(m_Host.Run(FIRST_DRIVE, PI::OP_ATTACH), Number::ERR_INVALID_OPERATION);
  PassMs(4000);
  EXPECT_THAT(Notifications(), IsEmpty());
}

TEST_F(Notification, IsNotSentForOperationsOfAnAdapter) {
  AddCards(1);
  StartWatch();
  EXPECT_EQ(m_Host.Run(FIRST, PI::OP_LOCATE_DEVICE), 0U);
  EXPECT_EQ(m_Host.Run(FIRST, PI::OP_STOP_LOCATE_DEVICE), 0U);
  PassMs(4000);
  EXPECT_THAT(Notifications(), IsEmpty());
}

TEST_F(Notification, IsSentOnceForTwoRequestsThatArriveTogether) {
  AddCards(1);
  StartWatch();
  HeldTrace held("Worker() m_PrivateEvent event received");
  PI::CProperty interval(PI::Property::POLL_INTERVAL, true);
  interval.SetValue(20, 2, 255, 1);
  // The worker is held at the first notification; two more requests are merged into one.
  EXPECT_EQ(m_Host.Execute(PI::CMD_SET_PROPERTY, PLUGIN, &interval), 0U);
  held.WaitUntilReached();
  EXPECT_EQ(m_Host.Execute(PI::CMD_SET_PROPERTY, PLUGIN, &interval), 0U);
  EXPECT_EQ(m_Host.Execute(PI::CMD_SET_PROPERTY, PLUGIN, &interval), 0U);
  held.Release();
  PassMs(1);
  EXPECT_THAT(Notifications(), SizeIs(2));
}

// No lock is held, so the host can send commands immediately, on the worker's thread and on others.
TEST_F(Notification, AllowsCommandsFromTheCallback) {
  AddCards(1);
  StartWatch();
  Lines collected;
  std::size_t objects = 0;
  m_OnNotify = [&] {
    collected = Events();
    objects = m_Host.Topology().size();
  };
  Set("card0", "iom_state", "0");
  WaitForScans();
  EXPECT_THAT(collected, SizeIs(1));
  EXPECT_EQ(objects, 3U);
  EXPECT_THAT(Events(), IsEmpty());
}

TEST_F(Notification, DoesNotBlockTheHostDuringALongCallback) {
  AddCards(1);
  StartWatch();
  m_OnNotify = [] { SleepFor(60000); };
  Set("card0", "iom_state", "0");
  PassMs(6000);
  ASSERT_THAT(Notifications(), ElementsAre(5024U));
  EXPECT_THAT(Events(), SizeIs(1));
  EXPECT_EQ(m_Host.Topology().size(), 3U);
  EXPECT_EQ(NowMs(), 6000U);
  // The interval starts when the host returns from the callback.
  PassMs(64100);
  EXPECT_THAT(WakeUpTimes(), ElementsAre(5000U, 70024U));
}

}  // namespace
}  // namespace CorvaneTest
