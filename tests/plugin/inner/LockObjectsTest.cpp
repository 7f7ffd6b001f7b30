// Objects that are marked as being worked on. The worker removes all marks before it notifies the
// host. Nothing sets a mark, so the test does it in the plug-in.

#include <gmock/gmock.h>

#include <string>

#include "tests/plugin/inner/Opened.h"
#include "tests/support/HeldCall.h"
#include "tests/support/SimulatedHost.h"

namespace CorvaneTest {
namespace {

OPEN_MEMBER(LockObjectsMember, LockObjects, unsigned int (Plugin::*)(int adapter, int drive));
OPEN_MEMBER(UnlockObjectsMember, UnlockObjects, unsigned int (Plugin::*)());

using testing::ElementsAre;

// Three cards.
class LockObjects : public testing::Test {
 protected:
  void SetUp() override {
    m_Host.WriteIni("PollInterval=255\n");
    for (int i = 0; i < 3; ++i) m_Host.AddCard();
    ASSERT_EQ(m_Host.Start(), 0U);
    Pass(1);
  }

  static unsigned int Lock(int adapter, int drive) {
    return (ThePlugin().*Open(LockObjectsMember()))(adapter, drive);
  }
  static unsigned int Unlock() { return (ThePlugin().*Open(UnlockObjectsMember()))(); }

  // A letter for each object in the order of the tree: L for a marked one.
  std::string Marks() {
    std::string marks;
    for (const PI::CObject& object : m_Host.Topology()) marks += object.m_Locked ? 'L' : '-';
    return marks;
  }

  SimulatedHost m_Host;
};

TEST_F(LockObjects, WithoutAnAdapterMarksEverything) {
  for (const int drive : {-1, 0, 7}) {
    EXPECT_EQ(Marks(), "-------");
    EXPECT_EQ(Lock(-1, drive), 0U);
    EXPECT_EQ(Marks(), "LLLLLLL");
    EXPECT_EQ(Unlock(), 0U);
  }
}

TEST_F(LockObjects, WithAnAdapterMarksItsDriveAndNotTheAdapter) {
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

// Only the sign of the drive's number matters: a negative number marks all drives, any other the
// first one.
TEST_F(LockObjects, WithAnAdapterOfTwoDrivesMarksTheFirstOrBoth) {
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
  Pass(1);
  EXPECT_EQ(marks, "-------");
}

// A scan creates adapters and drives without marks; the plug-in object keeps its mark until the
// host is notified.
TEST_F(LockObjects, IsUndoneByAScanThatCallsTheHost) {
  EXPECT_EQ(m_Host.SetPollInterval(2), 0U);
  Pass(5000);
  EXPECT_EQ(Lock(-1, -1), 0U);
  Pass(5000);
  EXPECT_EQ(Marks(), "L------");
  m_Host.Cards().Set("card0", "board_name", "Other");
  Pass(5000);
  EXPECT_EQ(Marks(), "-------");
}

}  // namespace
}  // namespace CorvaneTest
