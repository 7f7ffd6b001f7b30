// Objects that are marked as locked. The worker removes all marks before it notifies the host.
// Nothing in the plug-in sets a mark, so the test does.

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "hostkit/Tracing.h"
#include "tests/plugin/inner/PrivateMember.h"
#include "tests/support/HeldCall.h"
#include "tests/support/SimulatedHost.h"

namespace CorvaneTest {
namespace {

PRIVATE_MEMBER(LockObjectsMember, LockObjects, unsigned int (Plugin::*)(int adapter, int drive));
PRIVATE_MEMBER(UnlockObjectsMember, UnlockObjects, unsigned int (Plugin::*)());

using testing::ElementsAre;

// A running plug-in with three cards.
class LockObjects : public testing::Test {
 protected:
  void SetUp() override {
    m_Host.WriteIni("PollInterval=255\n");
    for (int i = 0; i < 3; ++i) m_Host.AddCard();
    ASSERT_EQ(m_Host.Start(), 0U);
    SleepFor(1);
  }

  static unsigned int Lock(int adapter, int drive) {
    return (ThePlugin().*PointerTo(LockObjectsMember()))(adapter, drive);
  }
  static unsigned int Unlock() { return (ThePlugin().*PointerTo(UnlockObjectsMember()))(); }

  // Renders one character per object in the order of the tree: L if it is marked.
  std::string Marks() {
    std::string marks;
    for (const PI::CObject& object : m_Host.Topology()) marks += object.m_Locked ? 'L' : '-';
    return marks;
  }

  SimulatedHost m_Host;
};

TEST_F(LockObjects, MarksAllObjectsWithoutAnAdapter) {
  for (const int drive : {-1, 0, 7}) {
    EXPECT_EQ(Marks(), "-------");
    EXPECT_EQ(Lock(-1, drive), 0U);
    EXPECT_EQ(Marks(), "LLLLLLL");
    EXPECT_EQ(Unlock(), 0U);
  }
}

TEST_F(LockObjects, MarksOnlyTheDriveOfAnAdapter) {
  const std::pair<int, const char*> cases[] = {
      {0, "----L--"}, {1, "-----L-"}, {2, "------L"}, {3, "-------"}};
  for (const auto& [adapter, marks] : cases) {
    for (const int drive : {-5, -1, 0, 1, 99}) {
      EXPECT_EQ(Lock(adapter, drive), 0U);
      EXPECT_EQ(Marks(), marks) << adapter << " " << drive;
      EXPECT_EQ(Unlock(), 0U);
    }
  }
}

// Only the sign of the drive's number matters: a negative number marks all drives, any other number
// the first drive.
TEST_F(LockObjects, MarksTheFirstOrBothDrivesOfAnAdapter) {
  Drives()[2].m_CardIndex = 1;
  EXPECT_EQ(Lock(1, 5), 0U);
  EXPECT_EQ(Marks(), "-----L-");
  EXPECT_EQ(Lock(1, -1), 0U);
  EXPECT_EQ(Marks(), "-----LL");
}

TEST_F(LockObjects, AddsToExistingMarks) {
  EXPECT_EQ(Lock(0, 0), 0U);
  EXPECT_EQ(Lock(2, -1), 0U);
  EXPECT_EQ(Marks(), "----L-L");
}

// A new interval wakes the worker to notify the host.
TEST_F(LockObjects, IsUndoneBeforeTheHostIsCalled) {
  EXPECT_EQ(Lock(-1, -1), 0U);
  std::string marks;
  m_Host.Plugin()->m_HostNotify = [&](IPLUGINAPI*) { marks = Marks(); };
  EXPECT_EQ(m_Host.SetPollInterval(200), 0U);
  SleepFor(1);
  EXPECT_EQ(marks, "-------");
}

// A scan creates adapters and drives without marks; the plug-in object keeps its mark until the
// host is notified.
TEST_F(LockObjects, IsUndoneByAScanThatCallsTheHost) {
  EXPECT_EQ(m_Host.SetPollInterval(2), 0U);
  SleepFor(5000);
  EXPECT_EQ(Lock(-1, -1), 0U);
  SleepFor(5000);
  EXPECT_EQ(Marks(), "L------");
  m_Host.Cards().Set("card0", "board_name", "Other");
  SleepFor(5000);
  EXPECT_EQ(Marks(), "-------");
}

// The marks are removed before other threads can acquire the lock.
TEST_F(LockObjects, IsUndoneByAScanBeforeTheDataLockIsReleased) {
  EXPECT_EQ(m_Host.SetPollInterval(2), 0U);
  SleepFor(1);
  EXPECT_EQ(Lock(-1, -1), 0U);
  m_Host.Cards().Set("card0", "board_name", "Other");
  bool scanned = false;
  std::vector<bool> locked;
  HostKit::SetTraceSink([&](const HostKit::TraceLine& line) {
    if (line.text == "Worker() after bscan") scanned = true;
    if (scanned && line.text == "Before m_DataLock.Release ()") {
      locked.push_back(PluginObject().m_Locked);
    }
  });
  SleepFor(2500);
  HostKit::SetTraceSink({});
  EXPECT_THAT(locked, ElementsAre(false));
}

// Marks that exist during a failed scan. Because the scan does not replace any record, only a
// notification removes them.
class LockObjectsInAFailedScan : public LockObjects {
 protected:
  // Returns the marks at each notification.
  std::vector<std::string> MarksAtNotifications() {
    std::vector<std::string> marks;
    m_Host.Plugin()->m_HostNotify = [&](IPLUGINAPI*) { marks.push_back(Marks()); };
    CardSim::FailCall("vsl_open", 1, 62, "unavailable", 1000);
    m_Host.ClearTraces();
    SleepFor(3000);
    EXPECT_THAT(m_Host.Traces(16), testing::Contains("After ScanSystem() ret = 20003").Times(1));
    m_Host.Plugin()->m_HostNotify = [](IPLUGINAPI*) {};
    return marks;
  }
};

TEST_F(LockObjectsInAFailedScan, IsKeptWithoutAnEvent) {
  EXPECT_EQ(m_Host.SetPollInterval(2), 0U);
  SleepFor(1);
  EXPECT_EQ(Lock(-1, -1), 0U);
  EXPECT_THAT(MarksAtNotifications(), testing::IsEmpty());
  EXPECT_EQ(Marks(), "LLLLLLL");
}

TEST_F(LockObjectsInAFailedScan, IsUndoneWithAQueuedEvent) {
  EXPECT_EQ(m_Host.SetPollInterval(2), 0U);
  CardSim::FailCall("vsl_iom_attach_create", 1, 62, "failed");
  EXPECT_EQ(m_Host.Run(m_Host.AdapterId(0), PI::OP_ATTACH), 0U);
  SleepFor(1);
  EXPECT_EQ(Lock(-1, -1), 0U);
  EXPECT_THAT(MarksAtNotifications(), ElementsAre("-------"));
}

}  // namespace
}  // namespace CorvaneTest
