// A scan into lists that are not empty. The plug-in passes empty lists, so the test calls the
// function directly.

#include <gmock/gmock.h>

#include "tests/plugin/inner/PrivateMember.h"
#include "tests/support/Numbers.h"
#include "tests/support/OneCard.h"

namespace CorvaneTest {
namespace {

PRIVATE_MEMBER(ScanSystemMember, ScanSystem,
               unsigned int (Plugin::*)(StoredAdapters& adapters, StoredDrives& drives,
                                        bool initial));

using testing::Contains;

class ScanSystem : public testing::Test {
 protected:
  // Fills the lists with three adapters and five drives that do not belong to a card.
  void SetUp() override {
    ASSERT_EQ(m_Host.Initialize(), 0U);
    m_Adapters.resize(3);
    m_Drives.resize(5);
    for (auto& adapter : m_Adapters) adapter.m_SerialNumber = "stale";
    for (auto& drive : m_Drives) drive.m_SerialNumber = "stale";
    m_Host.ClearRecords();
  }

  unsigned int Scan(bool initial) {
    return (ThePlugin().*PointerTo(ScanSystemMember()))(m_Adapters, m_Drives, initial);
  }

  OneCard m_Host{{{"serial_number", "fresh"}}};
  StoredAdapters m_Adapters;
  StoredDrives m_Drives;
};

TEST_F(ScanSystem, ReplacesTheContentsOfBothLists) {
  EXPECT_EQ(Scan(false), 0U);
  ASSERT_EQ(m_Adapters.size(), 1U);
  ASSERT_EQ(m_Drives.size(), 1U);
  EXPECT_EQ(m_Adapters[0].m_SerialNumber, "fresh");
  EXPECT_EQ(m_Drives[0].m_SerialNumber, "fresh");
}

TEST_F(ScanSystem, EmptiesBothListsEvenWhenNoCardCanBeOpened) {
  CardSim::FailCall("vsl_open", 1, 5, "no");
  EXPECT_EQ(Scan(false), Number::ERR_COMMAND_ERROR);
  EXPECT_TRUE(m_Adapters.empty());
  EXPECT_TRUE(m_Drives.empty());
}

TEST_F(ScanSystem, TracesTheNumberOfDrivesInTheList) {
  EXPECT_EQ(Scan(false), 0U);
  EXPECT_THAT(m_Host.TracesWithLevel(), Contains("2 ENTER ScanSystem(0) PhyDrive=5"));
  m_Host.ClearRecords();
  EXPECT_EQ(Scan(true), 0U);
  EXPECT_THAT(m_Host.TracesWithLevel(), Contains("2 ENTER ScanSystem(1) PhyDrive=1"));
}

}  // namespace
}  // namespace CorvaneTest
