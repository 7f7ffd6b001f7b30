// Cards that disappear, and cards that return.

#include "tests/plugin/Watch.h"
#include "tests/support/Numbers.h"

namespace CorvaneTest {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

std::string AdapterName(int number) {
  return "SanDisk Flash Adapter 785GB (" + std::to_string(number) + ")";
}
std::string Removed(int object, int number) {
  return "CTRL_PNPREMOVE severity 3 object " + std::to_string(object) + " " + AdapterName(number) +
         " | " + AdapterName(number);
}
std::string Added(int object, int number) {
  return "CTRL_PNPADD severity 2 object " + std::to_string(object) + " " + AdapterName(number) +
         " | " + AdapterName(number);
}

class CardRemoval : public WorkerFixture {
 protected:
  Lines NextScan() {
    WaitForScans();
    return Events();
  }
};

TEST_F(CardRemoval, TheObjectsOfAMissingCardAreRemoved) {
  AddCards(2);
  StartWatch();
  Hide(1);
  EXPECT_THAT(NextScan(), ElementsAre(Removed(3, 2)));
  EXPECT_THAT(Tree(), ElementsAre("object 0130000000000000 type 19006 parents children "
                                  "0130000000000001",
                                  "object 0130000000000001 type 19038 parents 0130000000000000 "
                                  "children 0130000000000002",
                                  "object 0130000000000002 type 19018 parents 0130000000000001 "
                                  "children"));
  EXPECT_THAT(Notifications(), SizeIs(1));
  EXPECT_THAT(NextScan(), IsEmpty());
  EXPECT_THAT(Notifications(), SizeIs(1));
}

TEST_F(CardRemoval, RequestsForAMissingCardFail) {
  AddCards(2);
  StartWatch();
  Hide(1);
  WaitForScans();
  EXPECT_EQ(Value(SECOND, PI::Property::STATUS), "result ERR_INVALID_OBJECT_ID");
  EXPECT_EQ(Value(SECOND_DRIVE, PI::Property::STATUS), "result ERR_INVALID_OBJECT_ID");
  EXPECT_EQ(m_Host.Run(SECOND, PI::OP_DETACH), Number::ERR_INVALID_OBJECT_ID);
  EXPECT_EQ(Value(FIRST, PI::Property::STATUS), "OK");
}

// Only a scan detects removed and added cards.
TEST_F(CardRemoval, AQuickPollDoesNotDetectARemovalOrAReturn) {
  AddCards(1);
  StartWatch();
  Hide(0);
  WaitForWakeUps(2);
  EXPECT_EQ(Scans(), 0U);
  WaitForScans();
  m_Host.CollectEvents();
  Show(0);
  WaitForWakeUps(2);
  EXPECT_EQ(Scans(), 1U);
}

TEST_F(CardRemoval, AReturningCardHasNewIds) {
  AddCards(2);
  StartWatch();
  Hide(1);
  EXPECT_THAT(NextScan(), ElementsAre(Removed(3, 2)));
  WaitForScans(5);  // no ids are used in the meantime
  Show(1);
  EXPECT_THAT(NextScan(), ElementsAre(Added(5, 2)));
  EXPECT_THAT(Tree(), ElementsAre("object 0130000000000000 type 19006 parents children "
                                  "0130000000000001 0130000000000005",
                                  "object 0130000000000001 type 19038 parents 0130000000000000 "
                                  "children 0130000000000002",
                                  "object 0130000000000005 type 19038 parents 0130000000000000 "
                                  "children 0130000000000006",
                                  "object 0130000000000002 type 19018 parents 0130000000000001 "
                                  "children",
                                  "object 0130000000000006 type 19018 parents 0130000000000005 "
                                  "children"));
  EXPECT_EQ(Value(SECOND, PI::Property::STATUS), "result ERR_INVALID_OBJECT_ID");
  EXPECT_EQ(Value(ObjectId(5), PI::Property::STATUS), "OK");
}

TEST_F(CardRemoval, OnlyTheDriveOfAnAddedCardIsTracedAsNotFoundYet) {
  AddCards(2);
  StartWatch();
  Hide(1);
  WaitForScans();
  EXPECT_THAT(TimesOf("2 The drive is not found yet!"), IsEmpty());
  Show(1);
  WaitForScans();
  EXPECT_THAT(TimesOf("2 The drive is not found yet!"), SizeIs(1));
  WaitForScans(2);
  EXPECT_THAT(TimesOf("2 The drive is not found yet!"), SizeIs(1));
}

TEST_F(CardRemoval, TheScanOfAReturningCardTracesOneMoreLine) {
  AddCards(2);
  StartWatch();
  Hide(1);
  WaitForScans();
  Show(1);
  ClearRecords();
  WaitForScans();
  const Lines lines = RecordedLines();
  const auto begin = std::find(lines.begin(), lines.end(), "2 ENTER ScanSystem(0) PhyDrive=0");
  const auto end = std::find(begin, lines.end(), "2 LEAVE ScanSystem() -> 0");
  ASSERT_NE(end, lines.end());
  // The dates and the reserve thresholds of both cards, which every scan traces.
  EXPECT_THAT(Lines(begin + 1, end),
              ElementsAre("16 ScanSystem, vsl_has_first_use_ts = 1355270400000",
                          "16 ScanSystem, vsl_has_origin_ts = 1352937600000",
                          "16 ScanSystem, vsl_has_reserve_warning_threshold_percent = 10",
                          "16 ScanSystem, vsl_has_first_use_ts = 1355270400000",
                          "16 ScanSystem, vsl_has_origin_ts = 1352937600000",
                          "16 ScanSystem, vsl_has_reserve_warning_threshold_percent = 10",
                          "2 The drive is not found yet!"));
}

TEST_F(CardRemoval, RemovalAndReturnKeepTheirOrderInTheQueue) {
  AddCards(2);
  StartWatch();
  Hide(0);
  WaitForScans();
  Show(0);
  EXPECT_THAT(NextScan(), ElementsAre(Removed(1, 1), Added(5, 1)));
}

TEST_F(CardRemoval, ReturningCardsKeepTheInitialOrder) {
  AddCards(3);
  StartWatch();
  Hide(0);
  Hide(1);
  EXPECT_THAT(NextScan(), ElementsAre(Removed(1, 1), Removed(3, 2)));
  Show(1);
  EXPECT_THAT(NextScan(), ElementsAre(Added(7, 2)));
  Show(0);
  EXPECT_THAT(NextScan(), ElementsAre(Added(9, 1)));
  EXPECT_EQ(m_Host.ObjectOf(PLUGIN).m_Children,
            (std::vector<std::uint64_t>{ObjectId(9), ObjectId(7), ObjectId(5)}));
}

TEST_F(CardRemoval, AllCardsCanBeRemovedAndReturn) {
  AddCards(2);
  StartWatch();
  Hide(0);
  Hide(1);
  EXPECT_THAT(NextScan(), ElementsAre(Removed(1, 1), Removed(3, 2)));
  EXPECT_THAT(Tree(), ElementsAre("object 0130000000000000 type 19006 parents children"));
  EXPECT_THAT(NextScan(), IsEmpty());
  Show(0);
  Show(1);
  EXPECT_THAT(NextScan(), ElementsAre(Added(5, 1), Added(7, 2)));
  EXPECT_THAT(m_Host.Topology(), SizeIs(5));
}

TEST_F(CardRemoval, ACardMissingAtStartupIsNeverAdded) {
  AddCards(1);
  StartWatch();
  AddCards(1);
  EXPECT_THAT(NextScan(), IsEmpty());
  EXPECT_THAT(m_Host.Topology(), SizeIs(3));
}

// The card was counted at startup, but the first scan did not find it.
TEST_F(CardRemoval, ACardMissedByTheFirstScanIsAddedByTheNext) {
  AddCards(2);
  CardSim::FailCall("vsl_iom_create_by_name", 1, 61, "timeout");
  StartWatch();
  ASSERT_THAT(m_Host.Topology(), SizeIs(3));
  // The host assigned numbers only to the adapters that it knew at that time.
  EXPECT_THAT(NextScan(), ElementsAre("CTRL_PNPADD severity 2 object 3 "));
  EXPECT_EQ(m_Host.ObjectOf(PLUGIN).m_Children, (std::vector<std::uint64_t>{ObjectId(3), FIRST}));
}

// Objects are identified by position, so another card there appears as the same object.
TEST_F(CardRemoval, AnotherCardAtTheSamePositionKeepsTheIds) {
  AddCards(1);
  StartWatch();
  m_Host.Cards().RemoveCard("card0");
  m_Host.AddCard(0x1003);
  EXPECT_THAT(NextScan(), IsEmpty());
  EXPECT_THAT(Notifications(), SizeIs(1));
  EXPECT_EQ(Value(FIRST, PI::Property::SERIAL_NUMBER), "\"FA00000002\"");
  EXPECT_THAT(m_Host.Topology(), SizeIs(3));
}

TEST_F(CardRemoval, ACardThatCannotBeOpenedUsesUpAnId) {
  AddCards(2);
  StartWatch();
  Hide(1);
  WaitForScans();
  Show(1);
  WaitForWakeUps(2);
  CardSim::FailCall("vsl_open", 2, 62, "unavailable");
  WaitForScans();
  ASSERT_THAT(TimesOf("16 After ScanSystem() ret = 20003"), SizeIs(1));
  m_Host.CollectEvents();
  EXPECT_THAT(NextScan(), ElementsAre(Added(6, 2)));
  EXPECT_EQ(m_Host.ObjectOf(ObjectId(6)).m_Children, (std::vector<std::uint64_t>{ObjectId(7)}));
}

TEST_F(CardRemoval, AnAddedDetachedAdapterDoesNotRaiseADetachEvent) {
  AddCards(2);
  StartWatch();
  Hide(1);
  WaitForScans();
  m_Host.CollectEvents();
  Set("card1", "iom_state", "0");
  Show(1);
  EXPECT_THAT(NextScan(), ElementsAre(Added(5, 2)));
  EXPECT_EQ(Reasons(ObjectId(5)), "[DETACHED]");
}

TEST_F(CardRemoval, TheScanTracesACardThatCannotBeFound) {
  AddCards(2);
  StartWatch();
  WaitForWakeUps(2);
  CardSim::FailCall("vsl_iom_create_by_name", 2, 61, "gone");
  WaitForScans();
  EXPECT_THAT(TimesOf("16 ScanSystem, vsl_iom_create_by_name = 61 (gone)"), SizeIs(1));
  EXPECT_THAT(TimesOf("2 ENTER UpdateSystem for 1 adapter, 1 physicalDrives"), SizeIs(1));
  EXPECT_THAT(TimesOf("2 LEAVE UpdateSystem ret = 0"), SizeIs(1));
  EXPECT_THAT(Events(), ElementsAre(Removed(3, 2)));
}

}  // namespace
}  // namespace CorvaneTest
