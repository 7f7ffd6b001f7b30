// The tree of objects that the host receives.

#include <gmock/gmock.h>

#include <algorithm>

#include "hostkit/Inspect.h"
#include "hostkit/Scheduler.h"
#include "tests/support/Numbers.h"
#include "tests/support/OneCard.h"

namespace CorvaneTest {
namespace {

using testing::Each;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

std::vector<std::string> Tree(SimulatedHost& host) {
  std::vector<std::string> tree;
  for (const PI::CObject& object : host.Topology()) tree.push_back(Render(object));
  return tree;
}

std::vector<std::uint32_t> OperationsOf(const PI::CObject& object) {
  std::vector<std::uint32_t> numbers;
  for (const PI::COperation& operation : object.m_Operations) {
    numbers.push_back(operation.m_OperationID);
  }
  return numbers;
}

TEST(Topology, ShowsThePluginThenAdaptersThenDrives) {
  SimulatedHost host;
  host.AddCard();
  host.AddCard(0x3001);
  ASSERT_EQ(host.Start(), 0U);
  EXPECT_THAT(Tree(host),
              ElementsAre("object 0130000000000000 type 19006 parents children 0130000000000001 "
                          "0130000000000003",
                          "object 0130000000000001 type 19038 parents 0130000000000000 children "
                          "0130000000000002",
                          "object 0130000000000003 type 19038 parents 0130000000000000 children "
                          "0130000000000004",
                          "object 0130000000000002 type 19018 parents 0130000000000001 children",
                          "object 0130000000000004 type 19018 parents 0130000000000003 children"));
}

// A card that cannot be found at startup has no objects; later cards keep their adapter numbers.
TEST(Topology, ShowsTheCardsInTheOrderOfTheirControlDevices) {
  SimulatedHost host;
  for (int i = 0; i < 3; ++i) host.AddCard();
  CardSim::FailCall("vsl_iom_create_by_name", 2, 5, "unavailable");
  ASSERT_EQ(host.Initialize(), 0U);
  EXPECT_THAT(Tree(host),
              ElementsAre("object 0130000000000000 type 19006 parents children 0130000000000001 "
                          "0130000000000003",
                          "object 0130000000000001 type 19038 parents 0130000000000000 children "
                          "0130000000000002",
                          "object 0130000000000003 type 19038 parents 0130000000000000 children "
                          "0130000000000004",
                          "object 0130000000000002 type 19018 parents 0130000000000001 children",
                          "object 0130000000000004 type 19018 parents 0130000000000003 children"));
  PI::CProperty number(PI::Property::UNDEFINED, false);
  EXPECT_EQ(host.Property(0x0130000000000003, PI::Property::ADAPTER_NUMBER, number), 0U);
  EXPECT_EQ(Render(number), "ADAPTER_NUMBER = 2 (label ID, sort 23003)");
}

TEST(Topology, ShowsOnlyThePluginAfterAFailedScanAtStartup) {
  SimulatedHost host;
  host.AddCard();
  CardSim::FailCall("vsl_open", 1, 5, "unavailable");
  ASSERT_EQ(host.Initialize(), Number::ERR_NO_SUPPORTED_HARDWARE);
  EXPECT_THAT(Tree(host), ElementsAre("object 0130000000000000 type 19006 parents children"));
}

// The cards are scanned again every poll interval, 15 s.
TEST(Topology, ShowsOnlyThePluginAfterTheLastCardIsRemoved) {
  OneCard host;
  ASSERT_EQ(host.Start(), 0U);
  host.Cards().RemoveCard(host.Card());
  HostKit::SleepUntilNs(HostKit::SteadyNowNs() + 40'000'000'000);
  EXPECT_THAT(Tree(host), ElementsAre("object 0130000000000000 type 19006 parents children"));
}

class TopologyOfOneCard : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(m_Host.Initialize(), 0U);
    m_Host.ClearRecords();
  }

  OneCard m_Host{{{"reserve_space_pct", "98.0"},
                  {"total_physical_bytes_read", "1024"},
                  {"total_physical_bytes_written", "2048"},
                  {"rated_endurance_tbytes", "100"}}};
};

TEST_F(TopologyOfOneCard, ContainsThePropertiesOfEachObject) {
  for (const PI::CObject& object : m_Host.Topology()) {
    EXPECT_FALSE(object.m_Properties.empty()) << object.m_ID;
    EXPECT_THAT(RenderAll(object.m_Properties), ElementsAreArray(m_Host.Rows(object.m_ID)));
  }
}

TEST_F(TopologyOfOneCard, ContainsTheOperationsOfEachObject) {
  const std::vector<PI::CObject> objects = m_Host.Topology();
  ASSERT_EQ(objects.size(), 3U);
  EXPECT_THAT(OperationsOf(objects[0]), ElementsAre(Number::OP_GET_EVENTS));
  EXPECT_THAT(OperationsOf(objects[1]),
              ElementsAre(Number::OP_LOCATE_DEVICE, Number::OP_STOP_LOCATE_DEVICE,
                          Number::OP_ATTACH, Number::OP_DETACH));
  EXPECT_THAT(OperationsOf(objects[2]), IsEmpty());
}

// The properties are added to the host's copy, so the next copy does not grow.
TEST_F(TopologyOfOneCard, IsTheSameAtEachRequest) {
  std::vector<PI::CObject> first = m_Host.Topology();
  for (PI::CObject& object : first) {
    object.m_Children.push_back(7);
    object.m_Properties.clear();
  }
  const std::vector<PI::CObject> second = m_Host.Topology();
  ASSERT_EQ(second.size(), 3U);
  EXPECT_EQ(second[0].m_Properties.size(), 6U);
  EXPECT_EQ(second[0].m_Operations.size(), 1U);
  EXPECT_EQ(second[2].m_Properties.size(), 13U);
  EXPECT_THAT(second[2].m_Children, IsEmpty());
}

TEST_F(TopologyOfOneCard, ReplacesThePreviousContentsOfTheList) {
  std::vector<PI::CObject> objects(5);
  for (PI::CObject& object : objects) object.m_ID = 99;
  EXPECT_EQ(m_Host.Execute(PI::CMD_GET_TOPOLOGY, 0, &objects), 0U);
  ASSERT_EQ(objects.size(), 3U);
  for (const PI::CObject& object : objects) EXPECT_NE(object.m_ID, 99U);
}

// The object id of the request is ignored.
TEST_F(TopologyOfOneCard, IsCompleteForAnyObjectId) {
  for (const std::uint64_t id : {std::uint64_t{0}, OneCard::DRIVE, ~std::uint64_t{0}}) {
    std::vector<PI::CObject> objects;
    EXPECT_EQ(m_Host.Execute(PI::CMD_GET_TOPOLOGY, id, &objects), 0U);
    EXPECT_EQ(objects.size(), 3U);
  }
}

// Reading one property counts as a change of its object; reading the tree does not.
TEST_F(TopologyOfOneCard, ReportsChangeCounts) {
  const auto counts = [this] {
    std::vector<std::uint64_t> numbers;
    for (const PI::CObject& object : m_Host.Topology()) numbers.push_back(object.m_ChangeCount);
    return numbers;
  };
  EXPECT_THAT(counts(), ElementsAre(0U, 0U, 0U));
  m_Host.Row(OneCard::ADAPTER, PI::Property::NAME);
  m_Host.Row(OneCard::DRIVE, PI::Property::NAME);
  m_Host.Row(OneCard::DRIVE, PI::Property::POLL_INTERVAL);
  m_Host.Row(OneCard::PLUGIN, PI::Property::NAME);
  EXPECT_THAT(counts(), ElementsAre(1U, 1U, 2U));
  EXPECT_THAT(counts(), ElementsAre(1U, 1U, 2U));
}

TEST_F(TopologyOfOneCard, ReportsAllObjectsAsUnlocked) {
  std::vector<bool> locked;
  for (const PI::CObject& object : m_Host.Topology()) locked.push_back(object.m_Locked);
  EXPECT_THAT(locked, ElementsAre(false, false, false));
}

TEST_F(TopologyOfOneCard, TracesEachObject) {
  m_Host.Topology();
  EXPECT_THAT(m_Host.TracesWithLevel(),
              ElementsAre("2 ENTER GetTopology", "8 Before m_DataLock.Wait (sg)",
                          "8 After m_DataLock.Wait (sg)", "2 ENTER AdapterGetProperties (0)",
                          "16 GetAdapterProperties, vsl_has_reserve_space_pct = 98",
                          "16 GetAdapterProperties, vsl_has_reserve_status = 0",
                          "16 GetAdapterProperties, vsl_has_total_physical_bytes_read = 1024",
                          "16 GetAdapterProperties, vsl_has_total_physical_bytes_written = 2048",
                          "16 GetAdapterProperties, vsl_has_rated_endurance_percent = 0",
                          "2 LEAVE AdapterGetProperties -> 0",
                          "4 GetTopology() Adapter m_ID=0x130000000000001",
                          "4 GetTopology() m_Adapters = 1", "2 ENTER GetPhysicalDriveProperties()",
                          "2 GetPhysicalDriveProperties() set status property of disk to 40099",
                          "4 GetTopology() PhysicalDrive m_ID=0x130000000000002",
                          "4 GetTopology() m_PhysicalDrives = 1", "2 LEAVE GetTopology"));
}

// The tree is built from the stored records; only live rows are read from the card.
TEST_F(TopologyOfOneCard, DoesNotScan) {
  m_Host.Set({{"board_name", "Other Board"}, {"temp_internal_deg_c", "99.0"}});
  m_Host.AddCard();
  const std::vector<PI::CObject> objects = m_Host.Topology();
  ASSERT_EQ(objects.size(), 3U);
  const std::vector<std::string> rows = RenderAll(objects[1].m_Properties);
  EXPECT_THAT(rows, testing::Contains(R"(PRODUCT = "Flash Adapter 785GB" (sort 23102))"));
  const std::vector<std::string> calls = m_Host.Calls();
  EXPECT_EQ(std::count(calls.begin(), calls.end(), "vsl_open card#1"), 1);
  EXPECT_THAT(calls, Each(testing::Not(testing::HasSubstr("vsl_iom_iterate"))));
  EXPECT_THAT(calls, Each(testing::Not(testing::HasSubstr("temp_internal"))));
}

// The adapter has six live rows; the drive has none.
TEST_F(TopologyOfOneCard, OmitsOnlyTheLiveRowsWhenTheCardCannotBeOpened) {
  const std::size_t all = m_Host.Topology()[1].m_Properties.size();
  m_Host.ClearRecords();
  CardSim::FailCall("vsl_open", 1, 5, "unavailable");
  std::vector<PI::CObject> objects;
  EXPECT_EQ(m_Host.Execute(PI::CMD_GET_TOPOLOGY, 0, &objects), 0U);
  ASSERT_EQ(objects.size(), 3U);
  EXPECT_EQ(objects[1].m_Properties.size(), all - 6);
  EXPECT_EQ(objects[1].m_Operations.size(), 4U);
  EXPECT_EQ(objects[2].m_Properties.size(), 13U);
  EXPECT_THAT(CardSim::OpenHandles(), IsEmpty());
}

TEST_F(TopologyOfOneCard, ReleasesItsLocks) {
  m_Host.Topology();
  for (const HostKit::LockView& lock : HostKit::Locks()) {
    EXPECT_EQ(lock.depth, 0U) << lock.ordinal;
  }
}

// Capacity for all objects is reserved before the first is added, so objects do not move.
TEST(TopologyOfTwoCards, ReservesCapacityForExactlyFiveObjects) {
  OneCard host;
  host.AddCard();
  ASSERT_EQ(host.Initialize(), 0U);
  std::vector<PI::CObject> objects;
  EXPECT_EQ(host.Execute(PI::CMD_GET_TOPOLOGY, 0, &objects), 0U);
  EXPECT_EQ(objects.size(), 5U);
  EXPECT_EQ(objects.capacity(), 5U);
}

TEST(TopologyOfTwoCards, ClosesEachCardBeforeOpeningTheNext) {
  OneCard host;
  host.AddCard();
  ASSERT_EQ(host.Initialize(), 0U);
  host.ClearRecords();
  host.Topology();
  std::vector<std::string> handles;
  for (const CardSim::Call& call : CardSim::CallLog()) {
    const bool isHandleCall = call.function == "vsl_open" || call.function == "vsl_close" ||
                              call.function == "vsl_destroy";
    if (isHandleCall) handles.push_back(call.text());
  }
  EXPECT_THAT(handles, ElementsAre("vsl_open card#1", "vsl_close card#1", "vsl_destroy card#1",
                                   "vsl_open card#2", "vsl_close card#2", "vsl_destroy card#2"));
}

}  // namespace
}  // namespace CorvaneTest
