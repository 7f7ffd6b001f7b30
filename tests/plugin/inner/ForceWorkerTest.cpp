// The event that forces a full scan. It is the first of the three events that the worker waits for.
// Nothing in the plug-in sets it, so the test does.

#include "tests/plugin/Watch.h"
#include "tests/plugin/inner/PrivateMember.h"

namespace CorvaneTest {
namespace {

using MBX::Threading::CEvent;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

PRIVATE_MEMBER(ForceWorkerMember, m_ForceWorker, CEvent Plugin::*);
PRIVATE_MEMBER(StopRequestMember, m_StopRequest, CEvent Plugin::*);
PRIVATE_MEMBER(PrivateEventMember, m_PrivateEvent, CEvent Plugin::*);

template <class Member>
void SetEvent(Member member) {
  (ThePlugin().*PointerTo(member)).Set();
}

constexpr const char* FORCED = "4 Worker() m_ForceWorker event received, force scan";

class ForceWorker : public WorkerFixture {
 protected:
  // Starts with one card and a worker that has waited for a while.
  void Start() {
    AddCards(1);
    StartWatch();
    PassMs(1234);
    ClearRecords();
  }
  static void Force() { SetEvent(ForceWorkerMember()); }
};

TEST_F(ForceWorker, ScansImmediatelyWithoutAQuickPoll) {
  Start();
  Force();
  PassMs(100);
  const Lines lines = RecordedLines();
  ASSERT_GE(lines.size(), 7U);
  EXPECT_THAT(
      Lines(lines.begin(), lines.begin() + 7),
      ElementsAre(FORCED, "8 Before m_DataLock.Wait(INFINITE)", "8 After m_DataLock.Wait(INFINITE)",
                  "8 Before m_EventsLock.Wait(INFINITE)", "8 After m_EventsLock.Wait(INFINITE)",
                  "16 Before ScanSystem()", "2 ENTER ScanSystem(0) PhyDrive=0"));
  EXPECT_EQ(lines.back(), "2 Worker() before restart interval");
  EXPECT_THAT(ScanTimes(), ElementsAre(1234U));
  // A quick poll would query the masks next.
  EXPECT_EQ(m_Host.Calls()[2], "vsl_has_pci_bus card#1");
}

TEST_F(ForceWorker, CausesOneScanAndRestartsTheInterval) {
  Start();
  Force();
  PassMs(16000);
  // The scan takes 12 ms, as does each quick poll.
  EXPECT_THAT(TimesOf(FORCED), ElementsAre(1234U));
  EXPECT_THAT(WakeUpTimes(), ElementsAre(6246U, 11258U, 16270U));
  EXPECT_THAT(ScanTimes(), ElementsAre(1234U, 16270U));
}

TEST_F(ForceWorker, DetectsAChangeThatAQuickPollDoesNotSee) {
  Start();
  Set("card0", "sector_size_bytes", "4096");
  Force();
  PassMs(100);
  EXPECT_THAT(Notifications(), ElementsAre(1246U));
  EXPECT_THAT(Events(), SizeIs(1));
}

TEST_F(ForceWorker, IsKeptWhileTheDataLockIsUnavailable) {
  Start();
  HostKit::FailLockWait(1, 1);
  Force();
  PassMs(100);
  EXPECT_THAT(ScanTimes(), IsEmpty());
  // By the interval alone, no scan would be due yet.
  PassMs(5000);
  EXPECT_THAT(ScanTimes(), ElementsAre(6234U));
}

TEST_F(ForceWorker, IsKeptWhileTheEventsLockIsUnavailable) {
  Start();
  HostKit::FailLockWait(2, 1);
  Force();
  PassMs(100);
  EXPECT_THAT(ScanTimes(), IsEmpty());
  PassMs(5000);
  EXPECT_THAT(ScanTimes(), ElementsAre(6234U));
}

// All three events are set during the host's callback, in reverse order.
TEST_F(ForceWorker, IsServedBeforeTheStopAndTheStopBeforeTheHostCall) {
  Start();
  bool first = true;
  m_OnNotify = [&first] {
    if (!first) return;
    first = false;
    SetEvent(PrivateEventMember());
    SetEvent(StopRequestMember());
    Force();
  };
  SetEvent(PrivateEventMember());
  PassMs(100);
  m_OnNotify = nullptr;
  Lines received;
  for (const std::string& line : RecordedLines()) {
    if (line.rfind("4 Worker() ", 0) == 0) received.push_back(line);
  }
  EXPECT_THAT(received, ElementsAre("4 Worker() m_PrivateEvent event received", FORCED,
                                    "4 Worker() after bscan",
                                    "4 Worker() something else perhaps m_StopRequest"));
  EXPECT_THAT(RecordedLines(), Contains("2 LEAVE Worker()"));
}

}  // namespace
}  // namespace CorvaneTest
