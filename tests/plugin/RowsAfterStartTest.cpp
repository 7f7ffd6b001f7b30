// The rows of adapters, drives and the plug-in once the plug-in has been initialized.

#include "tests/support/Numbers.h"
#include "tests/support/RowView.h"

namespace CorvaneTest {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using testing::IsSupersetOf;
using testing::Not;
using testing::SizeIs;

class RowsAfterStart : public testing::Test {
 protected:
  unsigned int Start(const Settings& more = {}) {
    m_Host.Set(PlainCard());
    m_Host.Set(more);
    return m_Host.Initialize();
  }

  OneCard m_Host;
  ScopedDatabase m_Database;
};

TEST_F(RowsAfterStart, AnAdapterRowHasExactlyTheseCells) {
  ASSERT_EQ(Start(), 0U);
  const std::vector<Cells> rows = AdapterRows();
  ASSERT_THAT(rows, SizeIs(1));
  EXPECT_THAT(rows[0], ElementsAreArray(PlainAdapterRow()));
}

TEST_F(RowsAfterStart, ADriveRowHasExactlyTheseCells) {
  ASSERT_EQ(Start(), 0U);
  const std::vector<Cells> rows = DriveRows();
  ASSERT_THAT(rows, SizeIs(1));
  EXPECT_THAT(rows[0], ElementsAreArray(Cells{"ID=1",
                                              "pd_assigned_volumes=",
                                              "pd_sector_size=4096",
                                              "pd_configurable_size=2097152",
                                              "pd_object_id_low=2",
                                              "pd_end_of_life_date=2029-12-31",
                                              "pd_adapter_number=" + NumberOf(59, 2, 1),
                                              "pd_error_history=",
                                              "pd_host_name=localhost",
                                              "pd_object_id=85568392920039426",
                                              "pd_media_type=SSD",
                                              "pd_short_name=DriveA",
                                              "pd_factory_size=1048576",
                                              "pd_drive_flag_a=0",
                                              "pd_hours_of_use=8760",
                                              "pd_product=DriveA",
                                              "pd_rated_endurance_percent=10",
                                              "pd_remaining_reserve=97.0",
                                              "pd_reserve_warning=12",
                                              "pd_serial_number=S100",
                                              "pd_drive_flag_b=0",
                                              "pd_status_name=AVAILABLE",
                                              "pd_bytes_read_ki_b=2147483648",
                                              "pd_bytes_written_ki_b=10737418240.0",
                                              "pd_interface_type=PCI_EXPRESS",
                                              "pd_location=PCI:Bus=59&Device=2&Function=1&ID=0",
                                              "pd_vendor=SanDisk",
                                              "pd_writes_remaining_percent=80",
                                              "pd_write_throttling=40252"}));
}

TEST_F(RowsAfterStart, ThePluginRowHasExactlyTheseCells) {
  m_Host.WriteIni("PollInterval=20\n");
  ASSERT_EQ(Start(), 0U);
  EXPECT_THAT(PluginRows(),
              ElementsAre(ElementsAre(
                  "ID=1", "pi_api_version=3.16.0", "pi_object_id=85568392920039424",
                  "pi_plugin_name=SanDisk-Plugin", "pi_poll_interval=20",
                  "pi_module_id=Plugin:ID=304", "pi_vendor=Skatra", "pi_plugin_version=7.7.0")));
}

struct Case {
  const char* name;
  Settings settings;
  Cells cells;  // expected in the row of the adapter or drive
  const char* absentColumn = "no such column";
};

void PrintTo(const Case& value, std::ostream* out) {
  *out << value.name;
}

std::string NameOfCase(const testing::TestParamInfo<Case>& info) {
  return info.param.name;
}

class AdapterRowFields : public testing::TestWithParam<Case> {};

TEST_P(AdapterRowFields, ShowTheScannedCard) {
  OneCard host(PlainCard());
  const ScopedDatabase database;
  host.Set(GetParam().settings);
  ASSERT_EQ(host.Initialize(), 0U);
  ASSERT_THAT(AdapterRows(), SizeIs(1));
  const Cells row = AdapterRows()[0];
  EXPECT_THAT(row, IsSupersetOf(GetParam().cells));
  EXPECT_THAT(row, Not(Contains(testing::StartsWith(GetParam().absentColumn))));
}

#define STATUS(name) "ad_status_name=" name
#define ACTIVITY(name) "ad_activity_names=" name
#define REASONS(names) "ad_status_reason_names=" names

INSTANTIATE_TEST_SUITE_P(
    All, AdapterRowFields,
    testing::Values(
        Case{"NoDriverVersion", {{"driver_version", nullptr}}, {}, "ad_driver_version="},
        Case{"EmptyDriverVersion", {{"driver_version", ""}}, {}, "ad_driver_version="},
        Case{"NoFirmware",
             {{"fw_current_major_ver", nullptr}, {"fw_current_version", nullptr}},
             {},
             "ad_firmware_version="},
        Case{"EmptyFirmwareString",
             {{"fw_current_major_ver", nullptr}, {"fw_current_version", ""}},
             {},
             "ad_firmware_version="},
        Case{"FirmwareAsString",
             {{"fw_current_major_ver", nullptr}},
             {"ad_firmware_version=v6.3.11"}},
        Case{"Attached", {}, {STATUS("OK"), ACTIVITY("IDLE"), REASONS("ATTACHED")}},
        Case{"Detached",
             {{"iom_state", "0"}},
             {STATUS("WARNING"), ACTIVITY("IDLE"), REASONS("DETACHED")}},
        Case{"Attaching",
             {{"iom_state", "1"}},
             {STATUS("WARNING"), ACTIVITY("ATTACHING"), REASONS("")}},
        Case{"Detaching",
             {{"iom_state", "3"}},
             {STATUS("WARNING"), ACTIVITY("DETACHING"), REASONS("")}},
        Case{"Busy", {{"iom_state", "4"}}, {STATUS("WARNING"), ACTIVITY("BUSY"), REASONS("")}},
        Case{"Minimal",
             {{"iom_state", "5"}},
             {STATUS("FAILED"), ACTIVITY("IDLE"), REASONS("MINIMAL_MODE")}},
        Case{"Stopped", {{"iom_state", "7"}}, {STATUS("FAILED"), REASONS("STOPPED")}},
        // The elements in the order of the bits, with the state last.
        Case{"ManyReasons",
             {{"current_errors", "3"}, {"iom_state", "0"}},
             {STATUS("FAILED"), REASONS("INTERNAL_ERROR?INCOMPATIBLE_PCI_BANDWIDTH?DETACHED")}},
        Case{"BelowZero", {{"temp_internal_deg_c", "-3.9"}}, {"ad_temperature=-3"}},
        // (2^32 + 5) MiB.
        Case{"SizeTruncatedTo32Bits",
             {{"factory_size_bytes", "4503599632613376"}},
             {"ad_factory_size=5"}},
        Case{"NoSize", {{"factory_size_bytes", nullptr}}, {"ad_factory_size=0"}},
        Case{"WithASegment",
             {{"pci_domain", "1"}},
             {"ad_pci_segment=1", "ad_location=PCI:Segment=1&Bus=59&Device=2&Function=1"}},
        Case{"NoBoard", {{"board_name", nullptr}}, {"ad_product="}},
        Case{"EmptySerialNumber", {{"serial_number", ""}}, {"ad_serial_number="}}),
    NameOfCase);

class DriveRowFields : public testing::TestWithParam<Case> {};

TEST_P(DriveRowFields, ShowTheScannedCard) {
  OneCard host(PlainCard());
  const ScopedDatabase database;
  host.Set(GetParam().settings);
  ASSERT_EQ(host.Initialize(), 0U);
  ASSERT_THAT(DriveRows(), SizeIs(1));
  EXPECT_THAT(DriveRows()[0], IsSupersetOf(GetParam().cells));
}

INSTANTIATE_TEST_SUITE_P(
    All, DriveRowFields,
    testing::Values(
        Case{"NameWithParentheses", {{"product_name", "Drive (new) A"}}, {"pd_short_name=Drive"}},
        Case{"NameWithTwoAdjacentParentheses",
             {{"product_name", "Drive ((x"}},
             {"pd_short_name=Drive"}},
        // The character before the parenthesis is always removed.
        Case{"NoSpaceBeforeTheParenthesis", {{"product_name", "Drive(x"}}, {"pd_short_name=Driv"}},
        Case{"ParenthesisFirst",
             {{"product_name", "(new) Drive"}},
             {"pd_short_name=(new) Drive (0)", "pd_product=(new) Drive"}},
        Case{"OneLetter", {{"product_name", "D"}}, {"pd_short_name=D"}},
        Case{"EmptyProduct", {{"product_name", ""}}, {"pd_short_name=", "pd_product="}},
        Case{"NoProduct",
             {{"product_name", nullptr}},
             {"pd_product=BoardA", "pd_short_name=BoardA"}},
        Case{"Failed", {{"iom_state", "6"}}, {"pd_status_name=FAILED"}},
        Case{"Warning", {{"iom_state", "0"}}, {"pd_status_name=AVAILABLE"}},
        Case{"NoThrottlingState",
             {{"write_throttling_state", nullptr}},
             {"pd_write_throttling=40252"}},
        Case{"SomeThrottling", {{"write_throttling_state", "1"}}, {"pd_write_throttling=40410"}},
        Case{"FullThrottling", {{"write_throttling_state", "2"}}, {"pd_write_throttling=40411"}},
        Case{"NoThreshold",
             {{"reserve_warning_threshold_percent", nullptr}},
             {"pd_reserve_warning=1"}},
        Case{"ThresholdOutsideItsRange",
             {{"reserve_warning_threshold_percent", "250.0"}},
             {"pd_reserve_warning=250"}},
        // (2^32 + 5) MiB, not truncated.
        Case{"LargeSize",
             {{"factory_size_bytes", "4503599632613376"}},
             {"pd_factory_size=4294967301"}}),
    NameOfCase);

TEST(RowsOfTheNewerFamily, HaveItsDriverAndItsNames) {
  SimulatedHost host;
  const ScopedDatabase database;
  const std::string card = host.AddCard(0x3001);
  host.Cards().Set(card, "factory_size_bytes", "2199023255552");
  ASSERT_EQ(host.Initialize(), 0U);
  EXPECT_THAT(Column(ADAPTER_ROWS, "ad_driver_name"), ElementsAre("iomemory_vsl4"));
  EXPECT_THAT(Column(DRIVE_ROWS, "pd_short_name"), ElementsAre("MOLT EP PX600 2.6TB"));
}

// The host also has a card of a known family, because the plug-in does not start without one.
TEST(RowsOfACardOfAnUnknownFamily, HaveAnEmptyDriverAndAnUnknownSegment) {
  SimulatedHost host;
  const ScopedDatabase database;
  host.AddCard(0x1003);
  host.Cards().MakeAbsent(host.AddCard(0x7777), "pci_domain");
  ASSERT_EQ(host.Initialize(), 0U);
  EXPECT_THAT(Column(ADAPTER_ROWS, "ad_driver_name"), ElementsAre("iomemory_vsl", ""));
  EXPECT_THAT(Column(ADAPTER_ROWS, "ad_pci_segment"), ElementsAre("0", "-1"));
}

class ManyRowsAfterStart : public testing::Test {
 protected:
  void Add(const char* serial) {
    const std::string card = m_Host.AddCard();
    m_Host.Cards().Set(card, "serial_number", serial);
  }

  SimulatedHost m_Host;
  ScopedDatabase m_Database;
};

TEST_F(ManyRowsAfterStart, EachCardHasARowOfEachKindInOrder) {
  for (const char* serial : {"S3", "S1", "S2"}) Add(serial);
  ASSERT_EQ(m_Host.Initialize(), 0U);
  EXPECT_THAT(Column(ADAPTER_ROWS, "ad_serial_number"), ElementsAre("S3", "S1", "S2"));
  EXPECT_THAT(Column(DRIVE_ROWS, "pd_serial_number"), ElementsAre("S3", "S1", "S2"));
  EXPECT_THAT(Counts(), ElementsAre("3", "3", "1"));
}

// Each adapter writes both drives, and each drive is written once for each adapter.
TEST_F(ManyRowsAfterStart, CardsWithTheSameSerialNumberEachWriteAllTheirDrives) {
  for (const char* serial : {"S1", "S1"}) Add(serial);
  ASSERT_EQ(m_Host.Initialize(), 0U);
  EXPECT_THAT(Counts(), ElementsAre("2", "8", "1"));
}

TEST_F(ManyRowsAfterStart, DatabaseTracesAreInTheOrderOfTheRows) {
  for (const char* serial : {"S1", "S2"}) Add(serial);
  ASSERT_EQ(m_Host.Initialize(), 0U);
  EXPECT_THAT(m_Host.Traces(128), ElementsAre("Adapter () (" + NumberOf(3) + ") inserted to db.",
                                              "PD (Flash Adapter G2 (0)) inserted to db.",
                                              "Adapter () (" + NumberOf(4) + ") inserted to db.",
                                              "PD (Flash Adapter G2 (0)) inserted to db.",
                                              "Plugin FusionIO inserted to db."));
}

TEST_F(ManyRowsAfterStart, OnlyTheDatabaseLevelShowsDatabaseTraces) {
  Add("S1");
  HostKit::SetTraceMask(127);
  ASSERT_EQ(m_Host.Initialize(), 0U);
  EXPECT_THAT(m_Host.Traces(128), IsEmpty());
  EXPECT_THAT(Counts(), ElementsAre("1", "1", "1"));
}

TEST_F(ManyRowsAfterStart, RowsTraceTheirEntryAtLevelTwo) {
  for (const char* serial : {"S1", "S2"}) Add(serial);
  ASSERT_EQ(m_Host.Initialize(), 0U);
  const Cells lines = m_Host.Traces(2);
  EXPECT_THAT(lines, IsSupersetOf({"ENTER AdapterGetProperties (0)",
                                   "ENTER SetDatabaseObjectProperties (PhysicalDisk) ()",
                                   "ENTER AdapterGetProperties (1)",
                                   "ENTER SetDatabaseObjectProperties (PhysicalDisk) ()"}));
}

class FailedStart : public RowsAfterStart {};

TEST_F(FailedStart, LeavesTheTablesEmpty) {
  CardSim::FailCall("vsl_open", 1, 5, "failed");
  ASSERT_EQ(Start(), Number::ERR_NO_SUPPORTED_HARDWARE);
  EXPECT_THAT(Counts(), ElementsAre("0", "0", "0"));
  EXPECT_THAT(m_Host.Traces(128), ElementsAre("Plugin SanDisk removed from db."));
}

TEST_F(FailedStart, LeavesTheTablesEmptyWhenNoCardHandleCanBeCreated) {
  m_Host.AddCard();
  CardSim::FailCall("vsl_iom_create_by_name", 1, 9, "gone", 2);
  ASSERT_EQ(Start(), Number::ERR_NO_SUPPORTED_HARDWARE);
  EXPECT_THAT(Counts(), ElementsAre("0", "0", "0"));
  EXPECT_THAT(m_Host.Traces(128), ElementsAre("Plugin SanDisk removed from db."));
}

TEST_F(FailedStart, DeletesThePluginRowOfAnEarlierStart) {
  ASSERT_EQ(Start(), 0U);
  m_Host.DeInitialize();
  m_Host.ClearTraces();
  CardSim::FailCall("vsl_iom_create_by_name", 1, 9, "gone", 100);
  ASSERT_EQ(m_Host.Execute(PI::CMD_INITIALIZE, 0, &m_Host.m_AdapterIDs),
            Number::ERR_NO_SUPPORTED_HARDWARE);
  EXPECT_THAT(Counts(), ElementsAre("1", "1", "0"));
  EXPECT_THAT(m_Host.Traces(128), ElementsAre("Plugin SanDisk removed from db."));
}

TEST_F(FailedStart, DeletesOnlyThePluginRowOfAnEarlierStart) {
  ASSERT_EQ(Start(), 0U);
  Query("INSERT INTO host_plugin_rows (pi_plugin_name) VALUES ('Another')");
  m_Host.DeInitialize();
  m_Host.ClearTraces();
  CardSim::FailCall("vsl_open", 1, 5, "failed");
  ASSERT_EQ(m_Host.Execute(PI::CMD_INITIALIZE, 0, &m_Host.m_AdapterIDs),
            Number::ERR_NO_SUPPORTED_HARDWARE);
  EXPECT_THAT(Column(PLUGIN_ROWS, "pi_plugin_name"), ElementsAre("Another"));
  EXPECT_THAT(Column(ADAPTER_ROWS, "ad_serial_number"), ElementsAre("S100"));
  EXPECT_THAT(m_Host.Traces(128), ElementsAre("Plugin SanDisk removed from db."));
}

TEST_F(FailedStart, DoesNotWriteRowsWithoutCards) {
  m_Host.Cards().RemoveCard(m_Host.Card());
  m_Host.RefreshPciBus();
  ASSERT_EQ(m_Host.Initialize(), Number::ERR_NO_SUPPORTED_HARDWARE);
  EXPECT_THAT(Counts(), ElementsAre("0", "0", "0"));
  EXPECT_THAT(m_Host.Traces(128), IsEmpty());
}

}  // namespace
}  // namespace CorvaneTest
