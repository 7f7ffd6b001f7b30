// The order of steps within each command: printed text, traces, card calls and statements, with the
// locks held at each step.

#include <atomic>

#include "tests/plugin/ScanView.h"
#include "tests/support/HostThread.h"
#include "tests/support/Journal.h"
#include "tests/support/Numbers.h"
#include "tests/support/RowView.h"

namespace CorvaneTest {
namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;

constexpr std::uint64_t PLUGIN = 0x0130000000000000;
constexpr std::uint64_t ADAPTER = 0x0130000000000001;
constexpr std::uint64_t DRIVE = 0x0130000000000002;

// One card; the plug-in's threads are not running.
class CommandOrder : public testing::Test {
 protected:
  CommandOrder() {
    m_Host.AddCard();
    m_Journal.RecordTraces();
    m_Journal.Begin();
  }

  // Runs `Initialize`, which must return `expected`, and returns its steps.
  Lines StepsOfInitialize(unsigned int expected) {
    unsigned int result = 0;
    {
      StdoutCapture output(m_Host.Directory() / "printed");
      m_Journal.RecordOutput(output);
      result = m_Host.Initialize();
      m_Journal.Note("end");
      m_Journal.StopOutput();
    }
    EXPECT_EQ(result, expected);
    Lines steps = Steps(m_Journal.Entries());
    EXPECT_EQ(steps.back(), "-- end");
    steps.pop_back();
    return steps;
  }

  // Starts the plug-in and clears the journal. From here on, the journal also shows the event that
  // wakes the worker; no worker consumes that event.
  void Start() {
    ASSERT_EQ(m_Host.Initialize(), 0U);
    m_Journal.ObserveEveryEntry([] {
      for (const HostKit::EventView& event : HostKit::Events()) {
        if (event.ordinal == 3 && event.set) return "m_PrivateEvent set";
      }
      return "m_PrivateEvent clear";
    });
    m_Journal.Begin();
  }
  Lines AllSteps() { return Steps(m_Journal.Entries()); }

  const ScopedDatabase m_Database;
  SimulatedHost m_Host;
  Journal m_Journal{m_Host};
};

const Lines START_LIBRARY = {"-- call vsl_init", "-- call vsl_fini", "-- call vsl_init",
                             "-- call vsl_iom_iterate null", "-- call vsl_iom_iterate iterated#1"};

TEST_F(CommandOrder, Initialize) {
  Lines expected = START_LIBRARY;
  const Lines scan = {"-- trace 8 Before m_DataLock.Wait (sg)",
                      "d- trace 8 After m_DataLock.Wait (sg)",
                      "d- trace 2 ENTER ScanSystem(1) PhyDrive=0",
                      "d- call vsl_iom_create_by_name /dev/fct0",
                      "d- call vsl_open card#1",
                      "d- call vsl_set_beacon_state card#1 0",
                      "d- call vsl_adapter_create card#1",
                      "d- call vsl_destroy adapter#1",
                      "d- trace 16 ScanSystem, vsl_has_first_use_ts = 1355270400000",
                      "d- trace 16 ScanSystem, vsl_has_origin_ts = 1352937600000",
                      "d- trace 16 ScanSystem, vsl_has_reserve_warning_threshold_percent = 10",
                      "d- call vsl_iom_format_create card#1",
                      "d- call vsl_iom_format_set_size_mode format#1 11",
                      "d- call vsl_destroy format#1",
                      "d- call vsl_close card#1",
                      "d- call vsl_destroy card#1",
                      "d- trace 2 LEAVE ScanSystem() -> 0",
                      "d- trace 16 ScanSystem() ret = 0 m_PhysicalDrives=1"};
  const Lines rows = {"d- trace 2 ENTER AdapterGetProperties (0)",
                      "d- sql SELECT MAX(ID) FROM host_adapter_rows",
                      "d- sql INSERT INTO host_adapter_rows",
                      "d- trace 128 Adapter () (" + NumberOf(3) + ") inserted to db.",
                      "d- trace 2 ENTER SetDatabaseObjectProperties (PhysicalDisk) ()",
                      "d- call vsl_iom_create_by_name /dev/fct0",
                      "d- sql SELECT MAX(ID) FROM host_drive_rows",
                      "d- sql INSERT INTO host_drive_rows",
                      "d- trace 128 PD (Flash Adapter G2 (0)) inserted to db.",
                      "d- sql SELECT MAX(ID) FROM host_plugin_rows",
                      "d- sql INSERT INTO host_plugin_rows",
                      "d- trace 128 Plugin FusionIO inserted to db.",
                      "d- print Corvane:  Initialize:  adapter count is 1",
                      "d- trace 2 LEAVE Initialize() -> 0"};
  expected.insert(expected.end(), scan.begin(), scan.end());
  expected.insert(expected.end(), rows.begin(), rows.end());
  EXPECT_THAT(StepsOfInitialize(0), ElementsAreArray(expected));
}

TEST_F(CommandOrder, InitializeWithoutACardOnTheBus) {
  m_Host.Cards().RemoveCard("card0");
  m_Host.RefreshPciBus();
  EXPECT_THAT(StepsOfInitialize(Number::ERR_NO_SUPPORTED_HARDWARE),
              ElementsAre("-- print Corvane:  Initialize:  adapter count is 0",
                          "-- trace 2 LEAVE Initialize() -> PI::ERR_NO_SUPPORTED_HARDWARE"));
}

TEST_F(CommandOrder, InitializeWithoutTheLibrary) {
  CardSim::FailCall("vsl_init", 1, 5, "broken");
  EXPECT_THAT(StepsOfInitialize(Number::ERR_API_INITIALIZATION_FAILED),
              ElementsAre("-- call vsl_init", "-- trace 16 Initialize, vsl_init = 5 (broken)",
                          "-- print Corvane:  Initialize:  adapter count is 0",
                          "-- trace 2 LEAVE Initialize() -> PI::ERR_API_INITIALIZATION_FAILED"));
}

// Here, the count is printed before the library is stopped; after a failed scan, the library is
// stopped first.
TEST_F(CommandOrder, InitializeWithoutAUsableCard) {
  m_Host.Cards().MakeAbsent("card0", "serial_number");
  Lines expected = START_LIBRARY;
  expected.insert(expected.end(),
                  {"-- print Corvane:  Initialize:  adapter count is 0", "-- call vsl_fini"});
  EXPECT_THAT(StepsOfInitialize(Number::ERR_NO_SUPPORTED_HARDWARE), ElementsAreArray(expected));
}

TEST_F(CommandOrder, InitializeWithAFailingScan) {
  CardSim::FailCall("vsl_open", 1, 7, "no");
  Lines expected = START_LIBRARY;
  const Lines scan = {"-- trace 8 Before m_DataLock.Wait (sg)",
                      "d- trace 8 After m_DataLock.Wait (sg)",
                      "d- trace 2 ENTER ScanSystem(1) PhyDrive=0",
                      "d- call vsl_iom_create_by_name /dev/fct0",
                      "d- call vsl_open card#1",
                      "d- trace 16 ScanSystem, vsl_open = 7 (no)",
                      "d- call vsl_destroy card#1",
                      "d- trace 16 ScanSystem() ret = 20003 m_PhysicalDrives=0",
                      "d- sql DELETE FROM host_plugin_rows",
                      "d- trace 128 Plugin SanDisk removed from db.",
                      "d- call vsl_fini",
                      "d- print Corvane:  Initialize:  adapter count is 0",
                      "d- trace 2 LEAVE Initialize() -> 20001"};
  expected.insert(expected.end(), scan.begin(), scan.end());
  EXPECT_THAT(StepsOfInitialize(Number::ERR_NO_SUPPORTED_HARDWARE), ElementsAreArray(expected));
}

TEST_F(CommandOrder, DeInitialize) {
  Start();
  ASSERT_EQ(m_Host.AssignAdapterNumbers(), 0U);
  SleepMs(1);
  m_Journal.Begin();
  ASSERT_EQ(m_Host.DeInitialize(), 0U);
  EXPECT_THAT(AllSteps(), ElementsAre("-- trace 2 ENTER DeInitialize",
                                      "-- trace 4 Worker() something else perhaps m_StopRequest",
                                      "-- trace 2 LEAVE Worker()", "-- call vsl_fini",
                                      "-- trace 2 LEAVE DeInitialize"));
}

// Includes all reads: the card is closed and its handle destroyed after the last read and before
// the exit line.
TEST_F(CommandOrder, AdapterPropertyList) {
  m_Host.Cards().Set("card0", "reserve_space_pct", "88.9");
  m_Host.Cards().Set("card0", "reserve_status", "1");
  m_Host.Cards().Set("card0", "total_physical_bytes_read", "1000");
  m_Host.Cards().Set("card0", "total_physical_bytes_written", "1099511627776");
  m_Host.Cards().Set("card0", "rated_endurance_tbytes", "10");
  Start();
  EXPECT_FALSE(m_Host.Properties(ADAPTER).empty());
  EXPECT_THAT(
      m_Journal.Entries(),
      ElementsAre(
          "-- trace 8 Before m_DataLock.Wait (sg)", "d- trace 8 After m_DataLock.Wait (sg)",
          "d- trace 4 GetProperties() Adapter = 1", "d- trace 2 ENTER AdapterGetProperties (0)",
          "d- call vsl_iom_create_by_name /dev/fct0", "d- call vsl_open card#1",
          "d- call vsl_has_rated_endurance_tbytes card#1",
          "d- call vsl_has_total_physical_bytes_written card#1",
          "d- call vsl_has_rated_writes_remaining_percent card#1",
          "d- call vsl_total_physical_bytes_written card#1",
          "d- call vsl_rated_endurance_tbytes card#1",
          "d- call vsl_rated_writes_remaining_percent card#1",
          "d- call vsl_has_reserve_space_pct card#1", "d- call vsl_reserve_space_pct card#1",
          "d- trace 16 GetAdapterProperties, vsl_has_reserve_space_pct = 88",
          "d- call vsl_has_reserve_space_pct card#1", "d- call vsl_reserve_status card#1",
          "d- trace 16 GetAdapterProperties, vsl_has_reserve_status = 1",
          "d- call vsl_has_total_physical_bytes_read card#1",
          "d- call vsl_total_physical_bytes_read card#1",
          "d- trace 16 GetAdapterProperties, vsl_has_total_physical_bytes_read = 1000",
          "d- call vsl_has_total_physical_bytes_written card#1",
          "d- call vsl_total_physical_bytes_written card#1",
          "d- trace 16 GetAdapterProperties, vsl_has_total_physical_bytes_written = 1099511627776",
          "d- call vsl_has_rated_endurance_tbytes card#1",
          "d- call vsl_has_total_physical_bytes_written card#1",
          "d- call vsl_total_physical_bytes_written card#1",
          "d- call vsl_rated_endurance_tbytes card#1",
          "d- trace 16 GetAdapterProperties, vsl_has_rated_endurance_percent = 10",
          "d- call vsl_close card#1", "d- call vsl_destroy card#1",
          "d- trace 2 LEAVE AdapterGetProperties -> 0"));
}

TEST_F(CommandOrder, PropertyListOfAnAdapterThatCannotBeOpened) {
  Start();
  CardSim::FailCall("vsl_open", 1, 62, "unavailable");
  EXPECT_FALSE(m_Host.Properties(ADAPTER).empty());
  EXPECT_THAT(
      AllSteps(),
      ElementsAre("-- trace 8 Before m_DataLock.Wait (sg)", "d- trace 8 After m_DataLock.Wait (sg)",
                  "d- trace 4 GetProperties() Adapter = 1",
                  "d- trace 2 ENTER AdapterGetProperties (0)",
                  "d- call vsl_iom_create_by_name /dev/fct0", "d- call vsl_open card#1",
                  "d- call vsl_destroy card#1", "d- trace 2 LEAVE AdapterGetProperties -> 0"));
}

TEST_F(CommandOrder, ObjectTree) {
  Start();
  EXPECT_EQ(m_Host.Topology().size(), 3U);
  Lines steps = AllSteps();
  // Omits the values read from the card, which the tests of the property list check.
  steps.erase(std::remove_if(steps.begin(), steps.end(),
                             [](const std::string& step) {
                               return step.find(" GetAdapterProperties, ") != std::string::npos;
                             }),
              steps.end());
  EXPECT_THAT(
      steps,
      ElementsAre("-- trace 2 ENTER GetTopology", "-- trace 8 Before m_DataLock.Wait (sg)",
                  "d- trace 8 After m_DataLock.Wait (sg)",
                  "d- trace 2 ENTER AdapterGetProperties (0)",
                  "d- call vsl_iom_create_by_name /dev/fct0", "d- call vsl_open card#1",
                  "d- call vsl_close card#1", "d- call vsl_destroy card#1",
                  "d- trace 2 LEAVE AdapterGetProperties -> 0",
                  "d- trace 4 GetTopology() Adapter m_ID=0x130000000000001",
                  "d- trace 4 GetTopology() m_Adapters = 1",
                  "d- trace 2 ENTER GetPhysicalDriveProperties()",
                  "d- trace 2 GetPhysicalDriveProperties() set status property of disk to 40099",
                  "d- trace 4 GetTopology() PhysicalDrive m_ID=0x130000000000002",
                  "d- trace 4 GetTopology() m_PhysicalDrives = 1", "d- trace 2 LEAVE GetTopology"));
}

// The steps performed while the data lock is held.
Lines StepsUnderDataLock(Lines steps) {
  const auto isOutside = [](const std::string& step) { return step.rfind("d- ", 0) != 0; };
  steps.erase(std::remove_if(steps.begin(), steps.end(), isOutside), steps.end());
  return steps;
}

TEST_F(CommandOrder, EventCollection) {
  Start();
  PI::COperation collect;
  collect.m_OperationID = PI::OP_GET_EVENTS;
  EXPECT_EQ(m_Host.Execute(PI::CMD_EXECUTE_OPERATION, PLUGIN, &collect), 0U);
  EXPECT_THAT(
      m_Journal.Entries(),
      ElementsAre("-- trace 8 Before m_DataLock.Wait (sg)", "d- trace 8 After m_DataLock.Wait (sg)",
                  "d- trace 2 ENTER ExecutePluginOperation()", "d- trace 2 ENTER GetEvents()",
                  "d- trace 8 Before m_EventsLock.Wait(INFINITE)",
                  "de trace 8 After m_EventsLock.Wait(INFINITE)",
                  "de trace 8 Before m_EventsLock.Release()",
                  "d- trace 8 After m_EventsLock.Release()", "d- trace 2 LEAVE GetEvents() -> 0",
                  "d- trace 2 LEAVE ExecutePluginOperation() -> 0"));
}

TEST_F(CommandOrder, LocateLEDCheck) {
  Start();
  EXPECT_EQ(m_Host.Check(ADAPTER, PI::OP_LOCATE_DEVICE), 0U);
  EXPECT_THAT(
      m_Journal.Entries(),
      ElementsAre("-- trace 8 ENTER CheckOperation operation=50034",
                  "-- trace 8 Before m_DataLock.Wait (sg)", "d- trace 8 After m_DataLock.Wait (sg)",
                  "d- trace 16 ENTER CheckAdapterOperation operation=50034",
                  "d- call vsl_iom_create_by_name /dev/fct0", "d- call vsl_beacon_state card#1",
                  "d- call vsl_destroy card#1", "d- trace 16 LEAVE CheckAdapterOperation -> 0",
                  "d- trace 8 LEAVE CheckOperation(0)"));
}

TEST_F(CommandOrder, FailedLocateLEDSwitch) {
  Start();
  CardSim::FailCall("vsl_set_beacon_state", 1, 62, "LED failure");
  EXPECT_EQ(m_Host.Run(ADAPTER, PI::OP_LOCATE_DEVICE), Number::ERR_COMMAND_ERROR);
  EXPECT_THAT(
      StepsUnderDataLock(AllSteps()),
      ElementsAre(
          "d- trace 8 After m_DataLock.Wait (sg)",
          "d- trace 2 ENTER ExecuteAdapterOperation(50034) (0)",
          "d- call vsl_iom_create_by_name /dev/fct0", "d- call vsl_set_beacon_state card#1 1",
          "d- trace 16 ExecuteAdapterOperation, vsl_set_beacon_state = 62 (LED failure)",
          "d- call vsl_destroy card#1", "d- trace 2 LEAVE AdapterExecuteOperation() -> 20003"));
}

// The worker is woken after the card's handle has been destroyed.
TEST_F(CommandOrder, FormatDrive) {
  m_Host.Cards().Set("card0", "iom_state", "0");
  m_Host.Cards().Set("card0", "format_ms", "0");
  Start();
  EXPECT_EQ(m_Host.Run(DRIVE, PI::OP_FORMAT_DEVICE), 0U);
  EXPECT_THAT(StepsUnderDataLock(AllSteps()),
              ElementsAre("d- trace 8 After m_DataLock.Wait (sg)",
                          "d- trace 2 ENTER ExecutePhysicalDriveOperation()",
                          "d- call vsl_iom_create_by_name /dev/fct0",
                          "d- call vsl_iom_format_create card#1",
                          "d- call vsl_iom_format_set_sector_size_bytes format#1 512",
                          "d- call vsl_iom_format_set_size_pct format#1 100",
                          "d- call vsl_op_start format#1",
                          "d- call vsl_op_wait_for_result format#1", "d- call vsl_destroy format#1",
                          "d- call vsl_destroy card#1", "d- m_PrivateEvent set",
                          "d- trace 2 LEAVE ExecutePhysicalDriveOperation() -> 0"));
}

TEST_F(CommandOrder, FailedFormat) {
  m_Host.Cards().Set("card0", "iom_state", "0");
  Start();
  CardSim::FailCall("vsl_op_wait_for_result", 1, 62, "failed");
  EXPECT_EQ(m_Host.Run(DRIVE, PI::OP_FORMAT_DEVICE), Number::ERR_COMMAND_ERROR);
  EXPECT_THAT(
      StepsUnderDataLock(AllSteps()),
      ElementsAre("d- trace 8 After m_DataLock.Wait (sg)",
                  "d- trace 2 ENTER ExecutePhysicalDriveOperation()",
                  "d- call vsl_iom_create_by_name /dev/fct0",
                  "d- call vsl_iom_format_create card#1",
                  "d- call vsl_iom_format_set_sector_size_bytes format#1 512",
                  "d- call vsl_iom_format_set_size_pct format#1 100",
                  "d- call vsl_op_start format#1", "d- call vsl_op_wait_for_result format#1",
                  "d- trace 16 ExecutePhysicalDriveOperation, vsl_op_wait_for_result = 62 (failed)",
                  "d- call vsl_destroy format#1", "d- call vsl_destroy card#1",
                  "d- trace 2 LEAVE ExecutePhysicalDriveOperation() -> 20003"));
}

TEST_F(CommandOrder, MakeUnitsOffline) {
  m_Host.Cards().Set("card0", "volumes", R"([{"state": 1, "settable": true, "refuses": false}])");
  Start();
  EXPECT_EQ(m_Host.Run(DRIVE, PI::OP_MAKE_OFFLINE), 0U);
  EXPECT_THAT(StepsUnderDataLock(AllSteps()),
              ElementsAre("d- trace 8 After m_DataLock.Wait (sg)",
                          "d- trace 2 ENTER ExecutePhysicalDriveOperation()",
                          "d- call vsl_iom_create_by_name /dev/fct0",
                          "d- call vsl_vsu_iterate card#1", "d- call vsl_set_vsu_state volume#1 0",
                          "d- trace 16 ExecutePhysicalDriveOperation, vsl_set_vsu_state = 0 ()",
                          "d- call vsl_vsu_iterate card#1", "d- call vsl_destroy card#1",
                          "d- m_PrivateEvent set",
                          "d- trace 2 LEAVE ExecutePhysicalDriveOperation() -> 0"));
}

// The event that wakes the worker is set only after the new interval is stored and saved, so a
// notified host reads the new value.
TEST(CommandOrderInSeededSchedules, NewPollInterval) {
  RunInManySchedules([](Schedule schedule) {
    SimulatedHost host(TimeModeSetter(schedule));
    HostKit::SetTraceMask(0);
    host.AddCard();
    ASSERT_EQ(host.Initialize(), 0U);
    std::string file;
    std::string value;
    std::atomic<bool> notified{false};
    host.Plugin()->m_HostNotify = [&](IPLUGINAPI*) {
      file = host.ReadIni();
      value = ShownValue(host, PLUGIN, PI::Property::POLL_INTERVAL);
      notified = true;
    };
    ASSERT_EQ(host.AssignAdapterNumbers(), 0U);
    ASSERT_EQ(host.SetPollInterval(20), 0U);
    // In a seeded schedule, other threads may run before the worker does.
    for (int i = 0; i < 1000 && !notified; ++i) SleepMs(1);
    EXPECT_EQ(file, "PollInterval=20\n");
    EXPECT_EQ(value, "20");
  });
}

}  // namespace
}  // namespace CorvaneTest
