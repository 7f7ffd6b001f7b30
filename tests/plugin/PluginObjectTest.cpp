// The plug-in object: its six properties, one of which can be set, and the collection of events.

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>

#include "hostkit/Inspect.h"
#include "hostkit/Scheduler.h"
#include "tests/support/Numbers.h"
#include "tests/support/OneCard.h"

namespace CorvaneTest {
namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr std::size_t EVENTS_LOCK = 2;
constexpr std::size_t PRIVATE_EVENT = 3;

const std::vector<std::string> ALL_ROWS = {
    R"(UNIQUE_ID = "Plugin:ID=304" (visible 0))",
    R"(NAME = "SanDisk-Plugin" (sort 23334))",
    R"(VERSION = "7.7.0" (sort 23339))",
    R"(VENDOR = "Skatra" (sort 23338))",
    R"(VENDOR_API_VERSION = "3.16.0" (label VERSION, sort 23339))",
    "POLL_INTERVAL = 15 in 2..255 step 1 (sort 23335, unit 21007, writable 1)",
};

// The numeric fields of a row: property, value type (1 string, 7 range), displayed name.
struct RowNumbers {
  std::uint32_t property;
  std::uint32_t valueType;
  std::uint32_t label;
};

constexpr RowNumbers ALL_NUMBERS[] = {{30137, 1, 30137}, {30007, 1, 30007}, {30099, 1, 30099},
                                      {30003, 1, 30003}, {30004, 1, 30099}, {30005, 7, 30005}};

std::string PollRow(int seconds) {
  return "POLL_INTERVAL = " + std::to_string(seconds) +
         " in 2..255 step 1 (sort 23335, unit 21007, writable 1)";
}

// No worker runs until the host assigns numbers, so queued events and set flags remain.
class PluginObject : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(m_Host.Initialize(), 0U);
    m_Host.ClearRecords();
  }

  std::uint64_t ChangeCount() { return m_Host.ObjectOf(OneCard::PLUGIN).m_ChangeCount; }

  // Whether the event that wakes the worker is set.
  static bool WakeEventIsSet() { return HostKit::Events()[PRIVATE_EVENT - 1].set; }

  // Runs two jobs that fail at their first call and queue one event each; waits until both have
  // ended.
  void QueueTwoFailures() {
    for (const std::uint32_t operation : {Number::OP_ATTACH, Number::OP_DETACH}) {
      CardSim::FailCall("vsl_iom_create_by_name", 1, 5, "unavailable");
      EXPECT_EQ(m_Host.Run(OneCard::ADAPTER, operation), 0U);
      HostKit::SleepUntilNs(HostKit::SteadyNowNs() + 1'000'000'000);
    }
    m_Host.ClearTraces();
  }

  // Returns the numbers of the collected events, or the result of a failed request.
  std::vector<std::uint32_t> Collect() {
    PI::COperation operation;
    operation.m_OperationID = PI::OP_GET_EVENTS;
    operation.m_Events.resize(3);  // left by an earlier request
    const unsigned int result =
        m_Host.Execute(PI::CMD_EXECUTE_OPERATION, OneCard::PLUGIN, &operation);
    if (result != 0) return {result};
    std::vector<std::uint32_t> numbers;
    for (const PI::CEvent& event : operation.m_Events) numbers.push_back(event.m_EventID);
    return numbers;
  }

  OneCard m_Host;
};

TEST_F(PluginObject, ListsItsPropertiesInTheOrderOfTheTable) {
  EXPECT_THAT(m_Host.Rows(OneCard::PLUGIN), ElementsAreArray(ALL_ROWS));
}

TEST_F(PluginObject, HasTheExpectedNumbers) {
  const std::vector<PI::CProperty> properties = m_Host.Properties(OneCard::PLUGIN);
  ASSERT_EQ(properties.size(), std::size(ALL_NUMBERS));
  for (std::size_t i = 0; i < properties.size(); ++i) {
    SCOPED_TRACE(ALL_ROWS[i]);
    EXPECT_EQ(properties[i].m_PropertyID, ALL_NUMBERS[i].property);
    EXPECT_EQ(properties[i].m_ValueType, ALL_NUMBERS[i].valueType);
    EXPECT_EQ(properties[i].m_NameID, ALL_NUMBERS[i].label);
    EXPECT_EQ(properties[i].m_Writable, ALL_NUMBERS[i].property == PI::Property::POLL_INTERVAL);
  }
}

TEST_F(PluginObject, ReturnsASinglePropertyAsInTheList) {
  for (std::size_t i = 0; i < std::size(ALL_NUMBERS); ++i) {
    EXPECT_EQ(m_Host.Row(OneCard::PLUGIN, ALL_NUMBERS[i].property), ALL_ROWS[i]);
  }
}

TEST_F(PluginObject, OmitsThePropertiesOfOtherObjects) {
  for (const std::uint32_t property :
       {0U, 2U, Number::Property::STATUS, Number::Property::DRIVER_VERSION,
        Number::Property::SERIAL_NUMBER, Number::Property::TYPE, Number::Property::ADAPTER_NUMBER,
        Number::Property::CHIP_TEMPERATURE, Number::Property::BLOCK_SIZE,
        std::uint32_t{PI::ShortName::WARNING_THRESHOLD}, 4294967295U}) {
    EXPECT_EQ(m_Host.Row(OneCard::PLUGIN, property), "result ERR_GENERAL") << property;
  }
}

TEST_F(PluginObject, ReplacesThePreviousContentsOfTheLists) {
  std::vector<PI::CProperty> properties(9, PI::CProperty(PI::Property::STATUS, true));
  EXPECT_EQ(m_Host.Execute(PI::CMD_GET_PROPERTIES, OneCard::PLUGIN, &properties), 0U);
  EXPECT_THAT(RenderAll(properties), ElementsAreArray(ALL_ROWS));
  std::vector<PI::COperation> operations(4);
  EXPECT_EQ(m_Host.Execute(PI::CMD_GET_OPERATIONS, OneCard::PLUGIN, &operations), 0U);
  EXPECT_EQ(operations.size(), 1U);
}

TEST_F(PluginObject, ListsPropertiesWithoutCardCallsOrTraces) {
  m_Host.Properties(OneCard::PLUGIN);
  m_Host.Row(OneCard::PLUGIN, PI::Property::POLL_INTERVAL);
  EXPECT_THAT(m_Host.TracesWithLevel(),
              ElementsAre("8 Before m_DataLock.Wait (sg)", "8 After m_DataLock.Wait (sg)",
                          "8 Before m_DataLock.Wait (sg)", "8 After m_DataLock.Wait (sg)"));
  EXPECT_THAT(m_Host.Calls(), IsEmpty());
}

// The poll interval.

TEST(PluginObjectAtStart, ShowsTheConfiguredInterval) {
  OneCard host;
  host.WriteIni("PollInterval=77\n");
  ASSERT_EQ(host.Initialize(), 0U);
  EXPECT_EQ(host.Row(OneCard::PLUGIN, PI::Property::POLL_INTERVAL), PollRow(77));
}

// The interval that the host sends with its limits, and the interval that must be used and saved.
struct Setting {
  const char* name;
  int value;
  int minimum;
  int maximum;
  int expected;
};

void PrintTo(const Setting& value, std::ostream* out) {
  *out << value.name;
}

class RequestedPollInterval : public testing::TestWithParam<Setting> {};

TEST_P(RequestedPollInterval, IsClampedToTheLimitsOfTheRequest) {
  const Setting& setting = GetParam();
  OneCard host;
  ASSERT_EQ(host.Initialize(), 0U);
  EXPECT_EQ(host.SetPollInterval(setting.value, setting.minimum, setting.maximum), 0U);
  EXPECT_EQ(host.Row(OneCard::PLUGIN, PI::Property::POLL_INTERVAL), PollRow(setting.expected));
  EXPECT_THAT(host.ReadIni(), testing::MatchesRegex("PollInterval *= *" +
                                                    std::to_string(setting.expected) + "\n?"));
}

INSTANTIATE_TEST_SUITE_P(
    All, RequestedPollInterval,
    testing::Values(
        Setting{"Usual", 30, 2, 255, 30}, Setting{"One", 1, 2, 255, 2},
        Setting{"Zero", 0, 2, 255, 2}, Setting{"Smallest", 2, 2, 255, 2},
        Setting{"Largest", 255, 2, 255, 255}, Setting{"OneTooMany", 256, 2, 255, 255},
        Setting{"Negative", -1, 2, 255, 2},
        // The host decides the limits.
        Setting{"RaisedMaximum", 300, 2, 400, 300},
        Setting{"AboveTheRaisedMaximum", 401, 2, 400, 400}, Setting{"LoweredMinimum", 1, 1, 255, 1},
        // If the minimum exceeds the maximum, the maximum wins.
        Setting{"InvertedLimitsFromBelow", 10, 50, 20, 20},
        Setting{"InvertedLimitsFromWithin", 30, 50, 20, 20},
        Setting{"InvertedLimitsFromAbove", 60, 50, 20, 20}, Setting{"NoLimitsAtAll", 0, 0, 0, 0},
        // Compared as signed numbers.
        Setting{"NegativeMinimum", 5, -10, 255, 5}, Setting{"NegativeMaximum", 5, 2, -7, -7}),
    [](const auto& test) { return test.param.name; });

TEST_F(PluginObject, CountsANewIntervalAsAChangeAndWakesTheWorker) {
  const std::uint64_t before = ChangeCount();
  ASSERT_FALSE(WakeEventIsSet());
  EXPECT_EQ(m_Host.SetPollInterval(30), 0U);
  EXPECT_EQ(ChangeCount(), before + 1);
  EXPECT_TRUE(WakeEventIsSet());
}

TEST_F(PluginObject, ClampsTheSavedIntervalAtTheNextStart) {
  EXPECT_EQ(m_Host.SetPollInterval(300, 2, 400), 0U);
  EXPECT_EQ(m_Host.Row(OneCard::PLUGIN, PI::Property::POLL_INTERVAL), PollRow(300));
  m_Host.DeInitialize();
  m_Host.Release();
  ASSERT_EQ(m_Host.Initialize(), 0U);
  EXPECT_EQ(m_Host.Row(OneCard::PLUGIN, PI::Property::POLL_INTERVAL), PollRow(255));
  EXPECT_THAT(m_Host.ReadIni(), HasSubstr("300"));
}

TEST(PluginObjectWithAFullIni, KeepsTheOtherKeys) {
  OneCard host;
  host.WriteIni("; ours\nFirst=1\nPollInterval=20\nLast=two words\n\n[Other]\nPollInterval=9\n");
  ASSERT_EQ(host.Initialize(), 0U);
  EXPECT_EQ(host.SetPollInterval(30), 0U);
  const std::string ini = host.ReadIni();
  for (const char* kept : {"First=1\n", "Last=two words\n", "[Other]\nPollInterval=9\n"}) {
    EXPECT_THAT(ini, HasSubstr(kept));
  }
  EXPECT_THAT(ini, HasSubstr("PollInterval=30\n"));
  EXPECT_THAT(ini, testing::Not(HasSubstr("PollInterval=20")));
}

// A file replaces the directory, so nothing can be written there. The host returns 3 for this
// error.
TEST_F(PluginObject, KeepsANewIntervalThatCannotBeWritten) {
  std::filesystem::remove_all(m_Host.IniFile().parent_path());
  std::ofstream(m_Host.IniFile().parent_path()) << "in the way";
  const std::uint64_t before = ChangeCount();
  EXPECT_EQ(m_Host.SetPollInterval(30), 3U);
  EXPECT_EQ(m_Host.Row(OneCard::PLUGIN, PI::Property::POLL_INTERVAL), PollRow(30));
  EXPECT_GT(ChangeCount(), before);
  EXPECT_TRUE(WakeEventIsSet());
}

TEST_F(PluginObject, RejectsSettingAnyOtherProperty) {
  const std::uint64_t before = ChangeCount();
  for (const std::uint32_t id :
       {Number::Property::UNIQUE_ID, Number::Property::NAME, Number::Property::VERSION,
        Number::Property::VENDOR, Number::Property::VENDOR_API_VERSION, Number::Property::STATUS,
        1U, 0U}) {
    PI::CProperty property(static_cast<PI::_PROPERTY_ID>(id), true);
    property.SetValue(30, 2, 255, 1);
    EXPECT_EQ(m_Host.Execute(PI::CMD_SET_PROPERTY, OneCard::PLUGIN, &property),
              Number::ERR_INVALID_PROPERTY)
        << id;
  }
  EXPECT_EQ(ChangeCount(), before);
  EXPECT_FALSE(WakeEventIsSet());
  EXPECT_FALSE(std::filesystem::exists(m_Host.IniFile()));
  EXPECT_EQ(m_Host.Row(OneCard::PLUGIN, PI::Property::POLL_INTERVAL), PollRow(15));
}

// A property is identified by its id, not by its displayed name.
TEST_F(PluginObject, IdentifiesAPropertyByItsId) {
  PI::CProperty property(PI::Property::VERSION, true);
  property.m_NameID = PI::Property::POLL_INTERVAL;
  property.SetValue(30, 2, 255, 1);
  EXPECT_EQ(m_Host.Execute(PI::CMD_SET_PROPERTY, OneCard::PLUGIN, &property),
            Number::ERR_INVALID_PROPERTY);
  property.m_PropertyID = PI::Property::POLL_INTERVAL;
  property.m_NameID = PI::Property::VERSION;
  EXPECT_EQ(m_Host.Execute(PI::CMD_SET_PROPERTY, OneCard::PLUGIN, &property), 0U);
  EXPECT_EQ(m_Host.Row(OneCard::PLUGIN, PI::Property::POLL_INTERVAL), PollRow(30));
}

// A value of another kind has no range, so its limits are 0.
TEST_F(PluginObject, TreatsAMissingRangeAsZero) {
  PI::CProperty property(PI::Property::POLL_INTERVAL, true);
  property.SetValue(std::string("30"));
  EXPECT_EQ(m_Host.Execute(PI::CMD_SET_PROPERTY, OneCard::PLUGIN, &property), 0U);
  EXPECT_EQ(m_Host.Row(OneCard::PLUGIN, PI::Property::POLL_INTERVAL), PollRow(0));
}

// The operation.

TEST_F(PluginObject, ListsOnlyTheCollectionOfEvents) {
  const std::vector<PI::COperation> operations = m_Host.Operations(OneCard::PLUGIN);
  ASSERT_EQ(operations.size(), 1U);
  const PI::COperation& row = operations[0];
  EXPECT_EQ(row.m_OperationID, Number::OP_GET_EVENTS);
  EXPECT_EQ(row.m_NameID, Number::OP_GET_EVENTS);
  EXPECT_EQ(row.m_Class, 6U);
  EXPECT_EQ(row.m_Access, 1U);
  EXPECT_EQ(row.m_Scope, 1U);
  EXPECT_EQ(row.m_Flags, 1U);
  EXPECT_FALSE(row.m_Async);
  EXPECT_EQ(row.m_Timeout, 0);
  EXPECT_EQ(row.m_ConfirmKind, 1U);
  EXPECT_EQ(row.m_ConfirmText, 1U);
  EXPECT_TRUE(row.m_Properties.empty() && row.m_Events.empty());
}

TEST_F(PluginObject, AcceptsEveryCheck) {
  for (const std::uint32_t operation :
       {Number::OP_GET_EVENTS, Number::OP_FORMAT_DEVICE, Number::OP_ATTACH, 0U, 1U, 99999U}) {
    EXPECT_EQ(m_Host.Check(OneCard::PLUGIN, operation), 0U) << operation;
  }
  EXPECT_THAT(m_Host.Traces(2), IsEmpty());
}

TEST_F(PluginObject, RejectsOperationsOfOtherObjects) {
  for (const std::uint32_t operation :
       {Number::OP_FORMAT_DEVICE, Number::OP_MAKE_ONLINE, Number::OP_LOCATE_DEVICE,
        Number::OP_ATTACH, Number::OP_FORCE_DETACH, 0U, 1U, 99999U}) {
    m_Host.ClearRecords();
    EXPECT_EQ(m_Host.Run(OneCard::PLUGIN, operation), Number::ERR_INVALID_OPERATION) << operation;
    EXPECT_THAT(m_Host.TracesWithLevel(),
                ElementsAre("8 Before m_DataLock.Wait (sg)", "8 After m_DataLock.Wait (sg)",
                            "2 ENTER ExecutePluginOperation()",
                            "2 LEAVE ExecutePluginOperation() -> 20005"));
    EXPECT_THAT(m_Host.Calls(), IsEmpty());
  }
}

// Events.

const std::vector<std::string> COLLECTION_TRACES = {
    "8 Before m_DataLock.Wait (sg)",
    "8 After m_DataLock.Wait (sg)",
    "2 ENTER ExecutePluginOperation()",
    "2 ENTER GetEvents()",
    "8 Before m_EventsLock.Wait(INFINITE)",
    "8 After m_EventsLock.Wait(INFINITE)",
    "8 Before m_EventsLock.Release()",
    "8 After m_EventsLock.Release()",
    "2 LEAVE GetEvents() -> 0",
    "2 LEAVE ExecutePluginOperation() -> 0",
};

TEST_F(PluginObject, ReturnsNothingFromAnEmptyQueue) {
  EXPECT_THAT(Collect(), IsEmpty());
  EXPECT_THAT(m_Host.TracesWithLevel(), ElementsAreArray(COLLECTION_TRACES));
}

TEST_F(PluginObject, ReturnsEventsOnceAndInOrder) {
  QueueTwoFailures();
  EXPECT_THAT(Collect(), ElementsAre(Number::CTRL_ATTACH_FAILED, Number::CTRL_DETACH_FAILED));
  EXPECT_THAT(m_Host.TracesWithLevel(), ElementsAreArray(COLLECTION_TRACES));
  EXPECT_THAT(Collect(), IsEmpty());
}

TEST_F(PluginObject, ReturnsCompleteEvents) {
  QueueTwoFailures();
  const std::vector<PI::CEvent> events = m_Host.CollectEvents();
  ASSERT_EQ(events.size(), 2U);
  EXPECT_EQ(events[0].m_ObjectID, OneCard::ADAPTER);
  EXPECT_EQ(events[0].m_Severity, 4U);
  EXPECT_EQ(events[1].m_Severity, 3U);
  EXPECT_LT(events[0].m_Time, events[1].m_Time);
}

TEST_F(PluginObject, ReleasesItsLocksAfterCollecting) {
  Collect();
  for (const HostKit::LockView& lock : HostKit::Locks()) {
    EXPECT_EQ(lock.depth, 0U) << lock.ordinal;
  }
}

TEST_F(PluginObject, ReturnsNothingWhenTheQueueCannotBeLocked) {
  QueueTwoFailures();
  HostKit::FailLockWait(EVENTS_LOCK, 1);
  EXPECT_THAT(Collect(), IsEmpty());
  EXPECT_THAT(
      m_Host.TracesWithLevel(),
      ElementsAre("8 Before m_DataLock.Wait (sg)", "8 After m_DataLock.Wait (sg)",
                  "2 ENTER ExecutePluginOperation()", "2 ENTER GetEvents()",
                  "8 Before m_EventsLock.Wait(INFINITE)", "8 After m_EventsLock.Wait(INFINITE)",
                  "2 LEAVE ExecutePluginOperation() -> 0"));
  EXPECT_THAT(Collect(), ElementsAre(Number::CTRL_ATTACH_FAILED, Number::CTRL_DETACH_FAILED));
}

}  // namespace
}  // namespace CorvaneTest
