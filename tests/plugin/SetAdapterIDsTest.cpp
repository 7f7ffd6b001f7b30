// SetAdapterIDs: the adapters are named with the numbers that the host assigns.

#include <gmock/gmock.h>

#include <utility>

#include "hostkit/Inspect.h"
#include "tests/plugin/ScanView.h"

namespace CorvaneTest {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// An entry for the first simulated card, at 0000:03:00.0.
PI::CAdapterID Entry(std::int32_t number) {
  PI::CAdapterID id;
  id.m_Segment = 0;
  id.m_Bus = 3;
  id.m_Device = 0;
  id.m_Function = 0;
  id.m_GlobalNumber = number;
  return id;
}

class SetAdapterIDs : public testing::Test {
 protected:
  unsigned int Assign(std::vector<PI::CAdapterID> ids) {
    return m_Card.Host().Execute(PI::CMD_SET_ADAPTER_IDS, 0, &ids);
  }
  std::string Name() { return m_Card.Adapter(PI::Property::NAME); }
  // Returns the number of worker threads that have started.
  int WorkersStarted() {
    SleepMs(1);
    return Count(TracesWithLevel(m_Card.Host()), "2 ENTER Worker()");
  }

  ScannedCard m_Card;
};

TEST_F(SetAdapterIDs, AdaptersHaveNoNameBeforehand) {
  ASSERT_EQ(m_Card.Scan(), 0U);
  EXPECT_EQ(Name(), "");
}

TEST_F(SetAdapterIDs, NamesTheAdapterByBoardAndNumber) {
  ASSERT_EQ(m_Card.Scan(), 0U);
  EXPECT_EQ(Assign({Entry(7)}), 0U);
  EXPECT_EQ(Name(), "SanDisk Flash Adapter 785GB (7)");
}

TEST_F(SetAdapterIDs, KeepsTheNamesAndStartsTheWorkerForAnEmptyList) {
  ASSERT_EQ(m_Card.Scan(), 0U);
  EXPECT_EQ(WorkersStarted(), 0);
  EXPECT_EQ(Assign({}), 0U);
  EXPECT_EQ(Name(), "");
  EXPECT_EQ(WorkersStarted(), 1);
}

TEST_F(SetAdapterIDs, KeepsTheEmptyNameAndStartsTheWorkerWithoutANumber) {
  ASSERT_EQ(m_Card.Scan(), 0U);
  EXPECT_EQ(WorkersStarted(), 0);
  EXPECT_EQ(Assign({Entry(-1)}), 0U);
  EXPECT_EQ(Name(), "");
  EXPECT_EQ(WorkersStarted(), 1);
}

TEST_F(SetAdapterIDs, KeepsTheNameOfAnEarlierCallWithoutANumber) {
  ASSERT_EQ(m_Card.Scan(), 0U);
  EXPECT_EQ(Assign({Entry(7)}), 0U);
  EXPECT_EQ(Assign({Entry(-1)}), 0U);
  EXPECT_EQ(Name(), "SanDisk Flash Adapter 785GB (7)");
}

TEST_F(SetAdapterIDs, SkipsEntriesWithOtherAddresses) {
  ASSERT_EQ(m_Card.Scan(), 0U);
  std::vector<PI::CAdapterID> others(4, Entry(7));
  others[0].m_Segment = 1;
  others[1].m_Bus = 4;
  others[2].m_Device = 1;
  others[3].m_Function = 1;
  EXPECT_EQ(Assign(others), 0U);
  EXPECT_EQ(Name(), "");
}

TEST_F(SetAdapterIDs, IgnoresNameAndAdapterNumberOfAnEntry) {
  ASSERT_EQ(m_Card.Scan(), 0U);
  PI::CAdapterID id = Entry(7);
  id.m_Name = "ignored";
  id.m_AdapterNumber = 99;
  EXPECT_EQ(Assign({id}), 0U);
  EXPECT_EQ(Name(), "SanDisk Flash Adapter 785GB (7)");
}

TEST_F(SetAdapterIDs, UsesTheFirstEntryWithANumber) {
  ASSERT_EQ(m_Card.Scan(), 0U);
  EXPECT_EQ(Assign({Entry(-1), Entry(5), Entry(6)}), 0U);
  EXPECT_EQ(Name(), "SanDisk Flash Adapter 785GB (5)");
}

TEST_F(SetAdapterIDs, ASecondCallAppendsToTheFirst) {
  ASSERT_EQ(m_Card.Scan(), 0U);
  EXPECT_EQ(Assign({Entry(5)}), 0U);
  EXPECT_EQ(Assign({Entry(6)}), 0U);
  EXPECT_EQ(Name(), "SanDisk Flash Adapter 785GB (5)");
}

TEST_F(SetAdapterIDs, ACallAfterAStopAlsoAppendsToTheFirst) {
  ASSERT_EQ(m_Card.Scan(), 0U);
  EXPECT_EQ(Assign({Entry(5)}), 0U);
  EXPECT_EQ(m_Card.Host().DeInitialize(), 0U);
  EXPECT_EQ(Assign({Entry(6)}), 0U);
  EXPECT_EQ(WorkersStarted(), 2);  // the second one has already ended
  EXPECT_EQ(Name(), "SanDisk Flash Adapter 785GB (5)");
}

TEST_F(SetAdapterIDs, ASecondCallNamesTheRemainingAdapters) {
  ASSERT_EQ(m_Card.Scan(), 0U);
  EXPECT_EQ(Assign({Entry(-1)}), 0U);
  EXPECT_EQ(Assign({Entry(6)}), 0U);
  EXPECT_EQ(Name(), "SanDisk Flash Adapter 785GB (6)");
}

TEST_F(SetAdapterIDs, EachAdapterGetsItsOwnNumber) {
  m_Card.Host().AddCard(0x1006);
  ASSERT_EQ(m_Card.Scan(), 0U);
  std::vector<PI::CAdapterID> ids = {Entry(11), Entry(10)};
  ids[0].m_Bus = 4;
  EXPECT_EQ(Assign(ids), 0U);
  EXPECT_EQ(Name(), "SanDisk Flash Adapter 785GB (10)");
  EXPECT_EQ(ShownValue(m_Card.Host(), m_Card.Host().AdapterId(1), PI::Property::NAME),
            "SanDisk Flash Adapter 1.3TB (11)");
}

TEST(SetAdapterIDsByNumber, AcceptsEveryNumberExceptMinusOne) {
  const std::pair<std::int32_t, const char*> cases[] = {
      {0, "SanDisk Flash Adapter 785GB (0)"},
      {2147483647, "SanDisk Flash Adapter 785GB (2147483647)"},
      {-2, "SanDisk Flash Adapter 785GB (-2)"},
      {-1, ""},
  };
  for (const auto& [number, name] : cases) {
    ScannedCard card;
    ASSERT_EQ(card.Scan(), 0U);
    std::vector<PI::CAdapterID> ids = {Entry(number)};
    EXPECT_EQ(card.Host().Execute(PI::CMD_SET_ADAPTER_IDS, 0, &ids), 0U);
    EXPECT_EQ(card.Adapter(PI::Property::NAME), name);
  }
}

struct ModelCase {
  std::uint16_t deviceId;
  const char* board;
  const char* name;
};

TEST(SetAdapterIDsByModel, AMoltIsNamedByItsModelOnly) {
  const ModelCase cases[] = {
      // device, board name, adapter's name
      {0x3001, "Board", "MOLT EP PX600 (4)"},
      {0x3002, "Board", "MOLT EP PX600 (4)"},
      {0x1003, "Board", "SanDisk Board (4)"},
      {0x1003, "MOLT", "MOLT (4)"},
      {0x1003, "A MOLTEN Board", "A MOLTEN Board (4)"},
      {0x1003, "Molt Board", "SanDisk Molt Board (4)"},
      {0x1003, "MOL T", "SanDisk MOL T (4)"},
      {0x1003, "100% %d %s", "SanDisk 100% %d %s (4)"},
  };
  for (const ModelCase& each : cases) {
    ScannedCard card(each.deviceId);
    card.Set("board_name", each.board);
    ASSERT_EQ(card.Scan(), 0U);
    std::vector<PI::CAdapterID> ids = {Entry(4)};
    EXPECT_EQ(card.Host().Execute(PI::CMD_SET_ADAPTER_IDS, 0, &ids), 0U);
    EXPECT_EQ(card.Adapter(PI::Property::NAME), each.name);
  }
}

// A card of an unknown family has neither board name nor segment; its address is compared as 32-bit
// numbers.
TEST(SetAdapterIDsByModel, ACardOfAnUnknownFamilyIsFoundByASegmentOfAllOnes) {
  ScannedCard card;
  const std::string unlisted = card.Host().AddCard(0x1001);
  card.Host().Cards().MakeAbsent(unlisted, "pci_domain");
  ASSERT_EQ(card.Scan(), 0U);
  ASSERT_EQ(card.Host().m_AdapterIDs.size(), 2U);
  EXPECT_EQ(card.Host().m_AdapterIDs[1].m_Segment, 0xFFFFFFFFU);
  ASSERT_EQ(card.Host().AssignAdapterNumbers(), 0U);
  EXPECT_EQ(ShownValue(card.Host(), card.Host().AdapterId(1), PI::Property::NAME), "SanDisk  (2)");
}

TEST_F(SetAdapterIDs, DoesNotChangeTheHostsListOrTheDrivesName) {
  ASSERT_EQ(m_Card.Scan(), 0U);
  const std::string drive = m_Card.Drive(PI::Property::NAME);
  std::vector<PI::CAdapterID> ids = {Entry(7), Entry(8)};
  EXPECT_EQ(m_Card.Host().Execute(PI::CMD_SET_ADAPTER_IDS, 0, &ids), 0U);
  ASSERT_EQ(ids.size(), 2U);
  EXPECT_EQ(ids[0].m_Name, "");
  EXPECT_EQ(ids[0].m_GlobalNumber, 7);
  EXPECT_EQ(m_Card.Drive(PI::Property::NAME), drive);
}

TEST_F(SetAdapterIDs, DoesNotCountAsAChange) {
  ASSERT_EQ(m_Card.Scan(), 0U);
  EXPECT_EQ(Assign({Entry(7)}), 0U);
  for (const PI::CObject& object : m_Card.Host().Topology()) EXPECT_EQ(object.m_ChangeCount, 0U);
}

TEST_F(SetAdapterIDs, NeitherAcquiresALockNorCallsACard) {
  ASSERT_EQ(m_Card.Scan(), 0U);
  m_Card.Host().ClearCalls();
  m_Card.Host().ClearTraces();
  EXPECT_EQ(HostKit::Locks()[0].taken, 1U);  // the scan
  EXPECT_EQ(Assign({Entry(7)}), 0U);
  EXPECT_EQ(HostKit::Locks()[0].taken, 1U);
  EXPECT_EQ(HostKit::Locks()[1].taken, 0U);
  EXPECT_THAT(m_Card.Host().Calls(), IsEmpty());
  EXPECT_THAT(StartingWith(m_Card.Host().Traces(8), "Before m_DataLock"), IsEmpty());
}

TEST_F(SetAdapterIDs, TheTreeShowsTheNames) {
  ASSERT_EQ(m_Card.Host().Start(), 0U);
  Lines names;
  for (const PI::CObject& object : m_Card.Host().Topology()) {
    for (const PI::CProperty& property : object.m_Properties) {
      if (property.m_PropertyID == PI::Property::NAME) names.push_back(ValueOf(property));
    }
  }
  EXPECT_THAT(names, ElementsAre("SanDisk-Plugin", "SanDisk Flash Adapter 785GB (1)",
                                 "Flash Adapter G2 (0)"));
}

}  // namespace
}  // namespace CorvaneTest
