// Dispatch of commands by number, and of requests by object id.

#include <gmock/gmock.h>

#include "hostkit/Inspect.h"
#include "tests/plugin/ScanView.h"
#include "tests/support/Numbers.h"

namespace CorvaneTest {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::uint64_t UNKNOWN_OBJECT = 0x0130000000000099;

constexpr const char* BEFORE_LOCK = "8 Before m_DataLock.Wait (sg)";
constexpr const char* AFTER_LOCK = "8 After m_DataLock.Wait (sg)";

// Two cards, so that neither list has only one element.
class Dispatch : public testing::Test {
 protected:
  void SetUp() override {
    m_Host.AddCard();
    m_Host.AddCard();
    ASSERT_EQ(m_Host.Initialize(), 0U);
    m_Plugin = m_Host.PluginId();
    m_Adapter = m_Host.AdapterId(1);
    m_Drive = m_Host.DriveId(1);
    m_Host.ClearTraces();
  }

  // Change counts of all objects, in the order of the tree.
  std::vector<std::uint64_t> ChangeCounts() {
    std::vector<std::uint64_t> counts;
    for (const PI::CObject& object : m_Host.Topology()) counts.push_back(object.m_ChangeCount);
    return counts;
  }

  unsigned int Get(std::uint64_t id, std::uint32_t propertyId) {
    PI::CProperty property(PI::Property::UNDEFINED, false);
    return m_Host.Property(id, propertyId, property);
  }

  unsigned int Set(std::uint64_t id, PI::_PROPERTY_ID propertyId) {
    PI::CProperty property(propertyId, true);
    property.SetValue(20, 2, 255, 1);
    return m_Host.Execute(PI::CMD_SET_PROPERTY, id, &property);
  }

  // Returns the trace lines that start with `begin`.
  Lines LinesStartingWith(const char* begin) {
    return StartingWith(TracesWithLevel(m_Host), begin);
  }

  SimulatedHost m_Host;
  std::uint64_t m_Plugin = 0;
  std::uint64_t m_Adapter = 0;
  std::uint64_t m_Drive = 0;
};

TEST_F(Dispatch, RejectsNumbersOutsideOneToTen) {
  for (const unsigned int command : {0U, 11U, 12U, 255U, 0x80000001U, 0xFFFFFFFFU}) {
    EXPECT_EQ(m_Host.Execute(command, m_Plugin, nullptr), Number::ERR_INVALID_COMMAND) << command;
  }
}

TEST_F(Dispatch, AnUnknownCommandDoesNotChangeThePayload) {
  std::vector<PI::CObject> objects(3);
  EXPECT_EQ(m_Host.Execute(0, m_Plugin, &objects), Number::ERR_INVALID_COMMAND);
  EXPECT_EQ(m_Host.Execute(11, m_Plugin, &objects), Number::ERR_INVALID_COMMAND);
  EXPECT_EQ(objects.size(), 3U);
}

TEST_F(Dispatch, IdsStartWithTheModuleNumberAndCountUp) {
  EXPECT_EQ(m_Plugin, 0x0130000000000000U);
  EXPECT_EQ(m_Host.AdapterId(0), 0x0130000000000001U);
  EXPECT_EQ(m_Host.DriveId(0), 0x0130000000000002U);
  EXPECT_EQ(m_Adapter, 0x0130000000000003U);
  EXPECT_EQ(m_Drive, 0x0130000000000004U);
}

TEST_F(Dispatch, EachKindOfObjectHasItsOwnPropertiesAndOperations) {
  EXPECT_EQ(ShownValue(m_Host, m_Plugin, PI::Property::NAME), "SanDisk-Plugin");
  EXPECT_EQ(ShownValue(m_Host, m_Adapter, PI::Property::OS_DEVICE), "/dev/fct1");
  EXPECT_EQ(ShownValue(m_Host, m_Host.AdapterId(0), PI::Property::OS_DEVICE), "/dev/fct0");
  EXPECT_EQ(ShownValue(m_Host, m_Drive, PI::Property::UNIQUE_ID),
            "PCI:Bus=4&Device=0&Function=0&ID=0");
  EXPECT_EQ(m_Host.Operations(m_Plugin).size(), 1U);
  EXPECT_EQ(m_Host.Operations(m_Adapter).size(), 4U);
  EXPECT_EQ(m_Host.Operations(m_Drive).size(), 0U);
}

// Stop-locate on a card whose locate LED is off: only the adapter rejects it.
TEST_F(Dispatch, EachKindOfObjectChecksItsOwnOperations) {
  EXPECT_EQ(m_Host.Check(m_Plugin, Number::OP_STOP_LOCATE_DEVICE), 0U);
  EXPECT_EQ(m_Host.Check(m_Adapter, Number::OP_STOP_LOCATE_DEVICE), Number::ERR_NO_LOCATE_STARTED);
  EXPECT_EQ(m_Host.Check(m_Drive, Number::OP_STOP_LOCATE_DEVICE), 0U);
}

TEST_F(Dispatch, EachKindOfObjectExecutesItsOwnOperations) {
  EXPECT_EQ(m_Host.Run(m_Plugin, Number::OP_LOCATE_DEVICE), Number::ERR_INVALID_OPERATION);
  EXPECT_EQ(m_Host.Run(m_Adapter, Number::OP_LOCATE_DEVICE), 0U);
  EXPECT_EQ(m_Host.Run(m_Drive, Number::OP_LOCATE_DEVICE), Number::ERR_INVALID_OPERATION);
  EXPECT_EQ(m_Host.Cards().Get("card0", "beacon_state"), "false");
  EXPECT_EQ(m_Host.Cards().Get("card1", "beacon_state"), "true");
}

TEST_F(Dispatch, ThePluginObjectPassesEveryCheck) {
  EXPECT_EQ(m_Host.Check(m_Plugin, PI::OP_GET_EVENTS), 0U);
  EXPECT_EQ(m_Host.Check(m_Plugin, 0), 0U);
  EXPECT_EQ(m_Host.Check(m_Plugin, 99999), 0U);
}

// The six requests that address an object.
struct Request {
  const char* name;
  bool queriesCard;  // if sent to an adapter
  unsigned int (*send)(SimulatedHost& host, std::uint64_t id);
};

void PrintTo(const Request& value, std::ostream* stream) {
  *stream << value.name;
}

constexpr Request REQUESTS[] = {
    {"GetProperties", true,
     [](SimulatedHost& host, std::uint64_t id) {
       std::vector<PI::CProperty> properties;
       return host.Execute(PI::CMD_GET_PROPERTIES, id, &properties);
     }},
    {"GetProperty", true,
     [](SimulatedHost& host, std::uint64_t id) {
       PI::CProperty property(PI::Property::VENDOR, false);
       return host.Execute(PI::CMD_GET_PROPERTY, id, &property);
     }},
    {"SetProperty", false,
     [](SimulatedHost& host, std::uint64_t id) {
       PI::CProperty property(PI::Property::VENDOR, false);
       return host.Execute(PI::CMD_SET_PROPERTY, id, &property);
     }},
    {"GetOperations", false,
     [](SimulatedHost& host, std::uint64_t id) {
       std::vector<PI::COperation> operations;
       return host.Execute(PI::CMD_GET_OPERATIONS, id, &operations);
     }},
    {"CheckOperation", true,
     [](SimulatedHost& host, std::uint64_t id) { return host.Check(id, PI::OP_LOCATE_DEVICE); }},
    {"ExecuteOperation", true,
     [](SimulatedHost& host, std::uint64_t id) { return host.Run(id, PI::OP_LOCATE_DEVICE); }},
};

class EachRequest : public Dispatch, public testing::WithParamInterface<Request> {
 protected:
  unsigned int Send(std::uint64_t id) { return GetParam().send(m_Host, id); }
  // SetProperty is the only request that an adapter always rejects.
  unsigned int ExpectedResult() const {
    return GetParam().name == std::string("SetProperty") ? Number::ERR_INVALID_PROPERTY : 0;
  }
};

TEST_P(EachRequest, RejectsAnUnknownObject) {
  EXPECT_EQ(Send(UNKNOWN_OBJECT), Number::ERR_INVALID_OBJECT_ID);
  EXPECT_EQ(Send(0), Number::ERR_INVALID_OBJECT_ID);
  EXPECT_EQ(Send(m_Plugin & 0xFFFFFFFFU), Number::ERR_INVALID_OBJECT_ID);
  EXPECT_EQ(Send(0x0130000000000005U), Number::ERR_INVALID_OBJECT_ID);
}

// Records the depth of the lock after the wait and at every card call.
TEST_P(EachRequest, HoldsTheDataLockWhileItIsServed) {
  std::vector<unsigned int> depths;
  const auto note = [&] { depths.push_back(HostKit::Locks()[0].depth); };
  HostKit::SetTraceSink([&](const HostKit::TraceLine& line) {
    if (line.text == "After m_DataLock.Wait (sg)") note();
  });
  CardSim::SetHook([&](const CardSim::Call&) { note(); });
  EXPECT_EQ(Send(m_Adapter), ExpectedResult());
  EXPECT_EQ(depths.size() > 1, GetParam().queriesCard);
  EXPECT_THAT(depths, testing::AllOf(testing::Not(IsEmpty()), testing::Each(1U)));
  for (const HostKit::LockView& lock : HostKit::Locks()) EXPECT_EQ(lock.depth, 0U);
}

TEST_P(EachRequest, ReleasesTheLockAfterAnUnknownObject) {
  EXPECT_EQ(Send(UNKNOWN_OBJECT), Number::ERR_INVALID_OBJECT_ID);
  for (const HostKit::LockView& lock : HostKit::Locks()) EXPECT_EQ(lock.depth, 0U);
}

TEST_P(EachRequest, IsServedEvenWhenTheLockCannotBeAcquired) {
  HostKit::FailLockWait(1, 1);
  EXPECT_EQ(Send(m_Adapter), ExpectedResult());
  for (const HostKit::LockView& lock : HostKit::Locks()) EXPECT_EQ(lock.depth, 0U);
}

TEST_P(EachRequest, TracesTheLockOnce) {
  Send(m_Adapter);
  const Lines lines = StartingWith(TracesWithLevel(m_Host), "8 ");
  EXPECT_EQ(Count(lines, BEFORE_LOCK), 1);
  EXPECT_EQ(Count(lines, AFTER_LOCK), 1);
}

TEST_P(EachRequest, IsServedAfterDeInitialize) {
  m_Host.DeInitialize();
  EXPECT_EQ(Send(UNKNOWN_OBJECT), Number::ERR_INVALID_OBJECT_ID);
  EXPECT_EQ(Send(m_Plugin),
            GetParam().name == std::string("SetProperty")        ? Number::ERR_INVALID_PROPERTY
            : GetParam().name == std::string("ExecuteOperation") ? Number::ERR_INVALID_OPERATION
                                                                 : 0U);
}

INSTANTIATE_TEST_SUITE_P(Requests, EachRequest, testing::ValuesIn(REQUESTS),
                         [](const auto& test) { return test.param.name; });

TEST(DispatchBeforeInitialize, ThePluginObjectHasIdZero) {
  SimulatedHost host;
  ASSERT_EQ(host.Create(), 0U);
  EXPECT_EQ(host.Properties(0).size(), 6U);
  std::vector<PI::CProperty> properties;
  EXPECT_EQ(host.Execute(PI::CMD_GET_PROPERTIES, 0x0130000000000000, &properties),
            Number::ERR_INVALID_OBJECT_ID);
}

TEST(DispatchAfterFailedInitialize, OnlyThePluginObjectIsKnown) {
  SimulatedHost host;
  host.AddCard();
  CardSim::FailCall("vsl_open", 1, 7, "no");
  ASSERT_EQ(host.Initialize(), Number::ERR_NO_SUPPORTED_HARDWARE);
  std::vector<PI::CProperty> properties;
  EXPECT_EQ(host.Execute(PI::CMD_GET_PROPERTIES, 0x0130000000000000, &properties), 0U);
  EXPECT_EQ(host.Execute(PI::CMD_GET_PROPERTIES, 0x0130000000000001, &properties),
            Number::ERR_INVALID_OBJECT_ID);
}

TEST_F(Dispatch, AFailedListingIsEmptyAndKeepsItsCapacity) {
  std::vector<PI::CProperty> properties(3, PI::CProperty(PI::Property::NAME, false));
  properties.reserve(50);
  EXPECT_EQ(m_Host.Execute(PI::CMD_GET_PROPERTIES, UNKNOWN_OBJECT, &properties),
            Number::ERR_INVALID_OBJECT_ID);
  EXPECT_THAT(properties, IsEmpty());
  EXPECT_GE(properties.capacity(), 50U);

  std::vector<PI::COperation> operations(3);
  operations.reserve(50);
  EXPECT_EQ(m_Host.Execute(PI::CMD_GET_OPERATIONS, UNKNOWN_OBJECT, &operations),
            Number::ERR_INVALID_OBJECT_ID);
  EXPECT_THAT(operations, IsEmpty());
  EXPECT_GE(operations.capacity(), 50U);
}

TEST_F(Dispatch, AFailedInitializeClearsItsPayload) {
  std::vector<PI::CAdapterID> ids(3);
  ids.reserve(50);
  HostKit::FailLockInit(1);
  EXPECT_EQ(m_Host.Execute(PI::CMD_INITIALIZE, 0, &ids), Number::ERR_LOCK_INITIALIZATION_FAILED);
  EXPECT_THAT(ids, IsEmpty());
  EXPECT_GE(ids.capacity(), 50U);
}

TEST_F(Dispatch, AFailedReadDoesNotChangeThePayload) {
  for (const std::uint64_t id : {UNKNOWN_OBJECT, m_Adapter}) {
    PI::CProperty property(PI::Property::POLL_INTERVAL, true);
    property.SetValue(std::string("mine"));
    property.m_SortKey = 77;
    EXPECT_EQ(m_Host.Execute(PI::CMD_GET_PROPERTY, id, &property),
              id == UNKNOWN_OBJECT ? Number::ERR_INVALID_OBJECT_ID : Number::ERR_GENERAL);
    EXPECT_EQ(Render(property), "POLL_INTERVAL = \"mine\" (sort 77, writable 1)");
  }
}

TEST_F(Dispatch, ASuccessfulReadReplacesTheCompleteRecord) {
  PI::CProperty property(PI::Property::PCI_BUS, true);
  property.SetValue(std::string("mine"));
  property.m_SortKey = 77;
  property.m_Indicator = 78;
  EXPECT_EQ(m_Host.Execute(PI::CMD_GET_PROPERTY, m_Adapter, &property), 0U);
  EXPECT_EQ(Render(property), "PCI_BUS = 4 (label BUS, sort 23132)");
}

TEST_F(Dispatch, ASingleReadWithTheAllSelectorReturnsTheFirst) {
  PI::CProperty property(PI::Property::UNDEFINED, false);
  EXPECT_EQ(m_Host.Property(m_Plugin, 1, property), 0U);
  EXPECT_EQ(ValueOf(property), "Plugin:ID=304");
  EXPECT_EQ(m_Host.Property(m_Adapter, 1, property), 0U);
  EXPECT_EQ(property.m_PropertyID, Number::Property::NAME);
  EXPECT_EQ(m_Host.Property(m_Drive, 1, property), 0U);
  EXPECT_EQ(ValueOf(property), "Flash Adapter G2 (0)");
}

TEST_F(Dispatch, ReadingOnePropertyCountsAsAChangeOfThatObject) {
  EXPECT_EQ(Get(m_Plugin, PI::Property::NAME), 0U);
  EXPECT_EQ(Get(m_Adapter, PI::Property::NAME), 0U);
  EXPECT_EQ(Get(m_Adapter, PI::Property::NAME), 0U);
  EXPECT_EQ(Get(m_Drive, PI::Property::NAME), 0U);
  EXPECT_THAT(ChangeCounts(), ElementsAre(1, 0, 2, 0, 1));
}

TEST_F(Dispatch, ReadingAnAbsentPropertyFailsButCountsAsAChange) {
  EXPECT_EQ(Get(m_Plugin, PI::Property::PCI_BUS), Number::ERR_GENERAL);
  EXPECT_EQ(Get(m_Adapter, PI::Property::POLL_INTERVAL), Number::ERR_GENERAL);
  EXPECT_EQ(Get(m_Drive, 99999), Number::ERR_GENERAL);
  EXPECT_THAT(ChangeCounts(), ElementsAre(1, 0, 1, 0, 1));
}

TEST_F(Dispatch, ReadingAnUnknownObjectDoesNotCountAsAChange) {
  EXPECT_EQ(Get(UNKNOWN_OBJECT, PI::Property::NAME), Number::ERR_INVALID_OBJECT_ID);
  EXPECT_THAT(ChangeCounts(), ElementsAre(0, 0, 0, 0, 0));
}

TEST_F(Dispatch, ReadingAllPropertiesDoesNotCountAsAChange) {
  m_Host.Properties(m_Plugin);
  m_Host.Properties(m_Adapter);
  m_Host.Properties(m_Drive);
  EXPECT_THAT(ChangeCounts(), ElementsAre(0, 0, 0, 0, 0));
}

TEST_F(Dispatch, NoPropertyOfAdaptersAndDrivesCanBeSet) {
  for (const std::uint64_t id : {m_Adapter, m_Drive}) {
    EXPECT_EQ(Set(id, PI::Property::POLL_INTERVAL), Number::ERR_INVALID_PROPERTY);
    EXPECT_EQ(Set(id, PI::Property::NAME), Number::ERR_INVALID_PROPERTY);
    EXPECT_EQ(Set(id, PI::Property::UNDEFINED), Number::ERR_INVALID_PROPERTY);
  }
  EXPECT_THAT(ChangeCounts(), ElementsAre(0, 0, 0, 0, 0));
  EXPECT_EQ(m_Host.ReadIni(), "");
}

TEST_F(Dispatch, OnlyThePollIntervalOfThePluginObjectCanBeSet) {
  EXPECT_EQ(Set(m_Plugin, PI::Property::NAME), Number::ERR_INVALID_PROPERTY);
  EXPECT_THAT(ChangeCounts(), ElementsAre(0, 0, 0, 0, 0));
  EXPECT_EQ(Set(m_Plugin, PI::Property::POLL_INTERVAL), 0U);
  EXPECT_EQ(ShownValue(m_Host, m_Plugin, PI::Property::POLL_INTERVAL), "20");
}

TEST_F(Dispatch, AListingTracesHowManyObjectsItSearches) {
  const char* const adapters = "4 GetProperties() Adapter = 2";
  const char* const drives = "4 GetProperties() PhysicalDrives = 2";
  m_Host.Properties(m_Plugin);
  EXPECT_THAT(TracesWithLevel(m_Host), ElementsAre(BEFORE_LOCK, AFTER_LOCK));
  m_Host.ClearTraces();
  m_Host.Properties(m_Adapter);
  EXPECT_THAT(LinesStartingWith("4 "), ElementsAre(adapters));
  m_Host.ClearTraces();
  m_Host.Properties(m_Drive);
  EXPECT_THAT(LinesStartingWith("4 "), ElementsAre(adapters, drives));
  m_Host.ClearTraces();
  m_Host.Properties(UNKNOWN_OBJECT);
  EXPECT_THAT(TracesWithLevel(m_Host), ElementsAre(BEFORE_LOCK, AFTER_LOCK, adapters, drives));
}

TEST_F(Dispatch, AReadTracesHowManyObjectsItSearches) {
  const char* const adapters = "4 GetProperty() Adapter = 2";
  const char* const drives = "4 GetProperty() PhysicalDrives = 2";
  Get(m_Plugin, PI::Property::NAME);
  EXPECT_THAT(TracesWithLevel(m_Host), ElementsAre(BEFORE_LOCK, AFTER_LOCK));
  m_Host.ClearTraces();
  Get(m_Adapter, PI::Property::NAME);
  EXPECT_THAT(LinesStartingWith("4 "), ElementsAre(adapters));
  m_Host.ClearTraces();
  Get(UNKNOWN_OBJECT, PI::Property::NAME);
  EXPECT_THAT(TracesWithLevel(m_Host), ElementsAre(BEFORE_LOCK, AFTER_LOCK, adapters, drives));
}

TEST_F(Dispatch, SettingTracesOnlyTheLock) {
  for (const std::uint64_t id : {m_Adapter, m_Drive, UNKNOWN_OBJECT}) {
    m_Host.ClearTraces();
    Set(id, PI::Property::NAME);
    EXPECT_THAT(TracesWithLevel(m_Host), ElementsAre(BEFORE_LOCK, AFTER_LOCK));
  }
}

TEST_F(Dispatch, ListingOperationsTracesEnterTwice) {
  m_Host.Operations(m_Adapter);
  EXPECT_THAT(TracesWithLevel(m_Host),
              ElementsAre("16 ENTER GetOperations object=0x130000000000003", BEFORE_LOCK,
                          AFTER_LOCK, "16 ENTER GetOperations ret=0"));
  m_Host.ClearTraces();
  m_Host.Operations(UNKNOWN_OBJECT);
  EXPECT_THAT(TracesWithLevel(m_Host),
              ElementsAre("16 ENTER GetOperations object=0x130000000000099", BEFORE_LOCK,
                          AFTER_LOCK, "16 ENTER GetOperations ret=20008"));
}

TEST_F(Dispatch, CheckingTracesOperationAndResult) {
  m_Host.Check(m_Plugin, PI::OP_GET_EVENTS);
  EXPECT_THAT(TracesWithLevel(m_Host),
              ElementsAre("8 ENTER CheckOperation operation=50002", BEFORE_LOCK, AFTER_LOCK,
                          "8 LEAVE CheckOperation(0)"));
  m_Host.ClearTraces();
  m_Host.Check(UNKNOWN_OBJECT, Number::OP_ATTACH);
  EXPECT_THAT(TracesWithLevel(m_Host),
              ElementsAre("8 ENTER CheckOperation operation=50126", BEFORE_LOCK, AFTER_LOCK,
                          "8 LEAVE CheckOperation(20008)"));
}

TEST_F(Dispatch, ExecutingOnAnUnknownObjectTracesOnlyTheLock) {
  EXPECT_EQ(m_Host.Run(UNKNOWN_OBJECT, Number::OP_ATTACH), Number::ERR_INVALID_OBJECT_ID);
  EXPECT_THAT(TracesWithLevel(m_Host), ElementsAre(BEFORE_LOCK, AFTER_LOCK));
}

}  // namespace
}  // namespace CorvaneTest
