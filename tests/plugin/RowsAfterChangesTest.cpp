// The rows while the plug-in runs: cards that change, are removed and return.

#include <memory>

#include "tests/plugin/Watch.h"
#include "tests/support/RowView.h"

namespace CorvaneTest {
namespace {

using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

class RowsAfterChanges : public WorkerFixture {
 protected:
  RowsAfterChanges() {
    m_OnLine = [this](const std::string& line) {
      if (line.rfind("128 ", 0) == 0) m_DatabaseLines.push_back(line.substr(4));
      if (line == "2 LEAVE ScanSystem() -> 0") CardSim::Reset();
      if (line.rfind("2 LEAVE UpdateSystem", 0) == 0) m_RowCalls = CardSim::CallTexts();
    };
  }
  void TearDown() override { m_OnLine = nullptr; }

  // Starts with `cards` cards on the buses 3, 4, ..., all at 50 degrees, with the numbers 1, 2, ...
  void Run(int cards) {
    AddCards(cards);
    for (int i = 0; i < cards; ++i) SetTemperature(i, "50.0");
    StartWatch();
  }
  void SetTemperature(int card, const char* celsius) {
    Set("card" + std::to_string(card), "temp_internal_deg_c", celsius);
  }
  void ScanOnce() {
    m_DatabaseLines.clear();
    WaitForScans();
  }
  static Cells Temperatures() { return Column(ADAPTER_ROWS, "ad_temperature"); }
  // Returns the start of the trace lines about an adapter's row.
  static std::string Adapter(int number) {
    return "Adapter (SanDisk Flash Adapter 785GB (" + std::to_string(number) + ")) (" +
           NumberOf(static_cast<std::uint32_t>(number + 2)) + ") ";
  }

  const ScopedDatabase m_Database;
  Cells m_DatabaseLines;
  Cells m_RowCalls;
};

constexpr const char* DRIVE_UPDATED = "PD (Flash Adapter G2 (0)) updated in db.";
constexpr const char* DRIVE_INSERTED = "PD (Flash Adapter G2 (0)) inserted to db.";

TEST_F(RowsAfterChanges, AnAdaptersRowLagsByOneChange) {
  Run(1);
  SetTemperature(0, "60.0");
  ScanOnce();
  EXPECT_THAT(Temperatures(), ElementsAre("50"));
  SetTemperature(0, "70.0");
  ScanOnce();
  EXPECT_THAT(Temperatures(), ElementsAre("60"));
}

TEST_F(RowsAfterChanges, AnAdaptersRowIsNotWrittenUntilTheNextChange) {
  Run(1);
  SetTemperature(0, "60.0");
  WaitForScans(4);
  EXPECT_THAT(Temperatures(), ElementsAre("50"));
}

TEST_F(RowsAfterChanges, AScanWithoutAChangeWritesOnlyTheDrives) {
  Run(2);
  ScanOnce();
  EXPECT_THAT(m_DatabaseLines, ElementsAre(DRIVE_UPDATED, DRIVE_UPDATED));
  EXPECT_THAT(Counts(), ElementsAre("2", "2", "1"));
}

TEST_F(RowsAfterChanges, AnAdaptersNameIsWrittenAtItsFirstChange) {
  Run(1);
  ScanOnce();
  EXPECT_THAT(Column(ADAPTER_ROWS, "ad_name"), ElementsAre(""));
  SetTemperature(0, "60.0");
  ScanOnce();
  EXPECT_THAT(Column(ADAPTER_ROWS, "ad_name"), ElementsAre("SanDisk Flash Adapter 785GB (1)"));
  EXPECT_THAT(m_DatabaseLines, ElementsAre(Adapter(1) + "entry updated in db.", DRIVE_UPDATED));
}

TEST_F(RowsAfterChanges, OnlyTheRowOfTheAdapterThatChangedIsWritten) {
  Run(3);
  SetTemperature(1, "60.0");
  ScanOnce();
  SetTemperature(1, "70.0");
  ScanOnce();
  EXPECT_THAT(Temperatures(), ElementsAre("50", "60", "50"));
  EXPECT_THAT(m_DatabaseLines, ElementsAre(Adapter(2) + "entry updated in db.", DRIVE_UPDATED,
                                           DRIVE_UPDATED, DRIVE_UPDATED));
}

TEST_F(RowsAfterChanges, KeysAndIdsAreKept) {
  Run(2);
  for (const char* celsius : {"60.0", "61.0", "62.0"}) {
    SetTemperature(0, celsius);
    SetTemperature(1, celsius);
    ScanOnce();
  }
  EXPECT_THAT(Column(ADAPTER_ROWS, "ID"), ElementsAre("1", "2"));
  EXPECT_THAT(Column(ADAPTER_ROWS, "ad_object_id"),
              ElementsAre("85568392920039425", "85568392920039427"));
  EXPECT_THAT(Column(DRIVE_ROWS, "ID"), ElementsAre("1", "2"));
  EXPECT_THAT(Column(DRIVE_ROWS, "pd_object_id"),
              ElementsAre("85568392920039426", "85568392920039428"));
}

TEST_F(RowsAfterChanges, ADetachIsWrittenAtTheNextChange) {
  Run(1);
  Set("card0", "iom_state", "0");
  ScanOnce();
  EXPECT_THAT(Column(ADAPTER_ROWS, "ad_status_reason_names"), ElementsAre("ATTACHED"));
  EXPECT_THAT(Column(ADAPTER_ROWS, "ad_status_name"), ElementsAre("OK"));
  SetTemperature(0, "60.0");
  ScanOnce();
  EXPECT_THAT(Column(ADAPTER_ROWS, "ad_status_reason_names"), ElementsAre("DETACHED"));
  EXPECT_THAT(Column(ADAPTER_ROWS, "ad_status_name"), ElementsAre("WARNING"));
}

TEST_F(RowsAfterChanges, AnAttachIsWrittenAtTheNextChange) {
  AddCards(1);
  Set("card0", "iom_state", "0");
  StartWatch();
  Set("card0", "iom_state", "2");
  ScanOnce();
  EXPECT_THAT(Column(ADAPTER_ROWS, "ad_status_reason_names"), ElementsAre("DETACHED"));
  SetTemperature(0, "60.0");
  ScanOnce();
  EXPECT_THAT(Column(ADAPTER_ROWS, "ad_status_reason_names"), ElementsAre("ATTACHED"));
  EXPECT_THAT(Column(ADAPTER_ROWS, "ad_status_name"), ElementsAre("OK"));
}

// The scan after the end of the job writes the state during the job.
TEST_F(RowsAfterChanges, ADetachJobIsWrittenAsDetaching) {
  Run(1);
  Set("card0", "detach_ms", "40000");
  ASSERT_EQ(m_Host.Run(FIRST, PI::OP_DETACH), 0U);
  PassMs(39000);
  EXPECT_THAT(Column(ADAPTER_ROWS, "ad_activity_names"), ElementsAre("IDLE"));
  PassMs(30000);
  EXPECT_THAT(Column(ADAPTER_ROWS, "ad_activity_names"), ElementsAre("DETACHING"));
  EXPECT_THAT(Column(ADAPTER_ROWS, "ad_status_name"), ElementsAre("WARNING"));
}

TEST_F(RowsAfterChanges, ADrivesRowIsUpToDate) {
  Run(1);
  Set("card0", "sector_size_bytes", "4096");
  Set("card0", "overformat_size_bytes", "2199023255552");
  Set("card0", "product_name", "Other (x)");
  ScanOnce();
  EXPECT_THAT(Column(DRIVE_ROWS, "pd_sector_size"), ElementsAre("4096"));
  EXPECT_THAT(Column(DRIVE_ROWS, "pd_configurable_size"), ElementsAre("2097152"));
  EXPECT_THAT(Column(DRIVE_ROWS, "pd_short_name"), ElementsAre("Other"));
}

TEST_F(RowsAfterChanges, AFailedDrivesRowIsUpToDate) {
  Run(1);
  Set("card0", "iom_state", "6");
  ScanOnce();
  EXPECT_THAT(Column(DRIVE_ROWS, "pd_status_name"), ElementsAre("FAILED"));
  EXPECT_THAT(Column(ADAPTER_ROWS, "ad_status_name"), ElementsAre("OK"));
  Set("card0", "iom_state", "2");
  ScanOnce();
  EXPECT_THAT(Column(DRIVE_ROWS, "pd_status_name"), ElementsAre("AVAILABLE"));
  EXPECT_THAT(Column(ADAPTER_ROWS, "ad_status_name"), ElementsAre("FAILED"));
}

TEST_F(RowsAfterChanges, ThePluginRowIsNotUpdated) {
  Run(1);
  ASSERT_EQ(m_Host.SetPollInterval(30), 0U);
  WaitForScans(2);
  EXPECT_THAT(Column(PLUGIN_ROWS, "pi_poll_interval"), ElementsAre("15"));
}

TEST_F(RowsAfterChanges, RemovingACardDeletesItsAdapterRowAndKeepsItsDriveRow) {
  Run(2);
  const std::vector<Cells> drives = DriveRows();
  Hide(1);
  ScanOnce();
  EXPECT_THAT(Column(ADAPTER_ROWS, "ad_object_id"), ElementsAre("85568392920039425"));
  EXPECT_EQ(DriveRows(), drives);
  EXPECT_THAT(m_DatabaseLines, ElementsAre(Adapter(2) + "removed from db.", DRIVE_UPDATED));
}

TEST_F(RowsAfterChanges, AReturningCardGetsNewRows) {
  Run(2);
  Hide(1);
  WaitForScans();
  Show(1);
  ScanOnce();
  EXPECT_THAT(m_DatabaseLines, ElementsAre(Adapter(2) + "inserted to db.", DRIVE_INSERTED,
                                           DRIVE_UPDATED, DRIVE_UPDATED));
  EXPECT_THAT(Counts(), ElementsAre("2", "3", "1"));
  EXPECT_THAT(Column(ADAPTER_ROWS, "ad_object_id"),
              ElementsAre("85568392920039425", "85568392920039429"));
}

TEST_F(RowsAfterChanges, TheFirstOfTwoRowsOfADriveIsUpdated) {
  Run(2);
  Hide(1);
  WaitForScans();
  Show(1);
  WaitForScans();
  Set("card1", "sector_size_bytes", "4096");
  ScanOnce();
  EXPECT_THAT(Column(DRIVE_ROWS, "pd_sector_size"), ElementsAre("512", "4096", "512"));
  EXPECT_THAT(Column(DRIVE_ROWS, "pd_object_id"),
              ElementsAre("85568392920039426", "85568392920039430", "85568392920039430"));
}

TEST_F(RowsAfterChanges, TheFirstOfTwoRowsOfAnAdapterIsUpdatedAndBothAreDeleted) {
  Run(1);
  const std::string copy = "INSERT INTO host_adapter_rows (ad_adapter_number, ad_temperature, ";
  Query(copy + "ad_host_name) VALUES (" + NumberOf(3) + ", 7, 'localhost')");
  Query(copy + "ad_host_name) VALUES (" + NumberOf(3) + ", 8, 'elsewhere')");
  SetTemperature(0, "60.0");
  ScanOnce();
  SetTemperature(0, "70.0");
  ScanOnce();
  EXPECT_THAT(Temperatures(), ElementsAre("60", "7", "8"));
  Hide(0);
  ScanOnce();
  EXPECT_THAT(Temperatures(), ElementsAre("8"));
}

// The rows of another host have lower keys.
TEST_F(RowsAfterChanges, RowsOfAnotherHostAreNotChanged) {
  Query("INSERT INTO host_adapter_rows (ad_adapter_number, ad_host_name, ad_temperature) VALUES (" +
        NumberOf(3) + ", 'elsewhere', 8)");
  Query(
      "INSERT INTO host_drive_rows (pd_serial_number, pd_host_name, pd_sector_size) VALUES "
      "('FA00000001', 'elsewhere', 8)");
  Run(1);
  SetTemperature(0, "60.0");
  ScanOnce();
  SetTemperature(0, "70.0");
  Set("card0", "sector_size_bytes", "4096");
  ScanOnce();
  EXPECT_THAT(Temperatures(), ElementsAre("8", "60"));
  EXPECT_THAT(Column(DRIVE_ROWS, "pd_sector_size"), ElementsAre("8", "4096"));
  Hide(0);
  ScanOnce();
  EXPECT_THAT(Temperatures(), ElementsAre("8"));
  EXPECT_THAT(Counts(), ElementsAre("1", "2", "1"));
}

TEST_F(RowsAfterChanges, RowsThatExistOnlyForAnotherHostAreNotUpdated) {
  Run(1);
  Query("UPDATE host_adapter_rows SET ad_host_name = 'elsewhere'");
  Query("UPDATE host_drive_rows SET pd_host_name = 'elsewhere'");
  SetTemperature(0, "60.0");
  Set("card0", "sector_size_bytes", "4096");
  ScanOnce();
  EXPECT_THAT(m_DatabaseLines, IsEmpty());
  EXPECT_THAT(Column(ADAPTER_ROWS, "ad_name"), ElementsAre(""));
  EXPECT_THAT(Column(DRIVE_ROWS, "pd_sector_size"), ElementsAre("512"));
}

// Each of the two drives finds the first row with that serial number, once for each of the two
// adapters. The row has the values of the last update.
TEST_F(RowsAfterChanges, CardsWithTheSameSerialNumberAllUpdateTheFirstRow) {
  AddCards(2);
  for (const char* card : {"card0", "card1"}) Set(card, "serial_number", "S1");
  Set("card0", "reserve_warning_threshold_percent", "12.0");
  Set("card1", "reserve_warning_threshold_percent", "34.0");
  StartWatch();
  ASSERT_THAT(Column(DRIVE_ROWS, "pd_object_id_low"),
              ElementsAre("2", "2", "4", "4", "2", "2", "4", "4"));
  ASSERT_THAT(Column(DRIVE_ROWS, "pd_reserve_warning"),
              ElementsAre("12", "34", "12", "34", "12", "34", "12", "34"));
  ScanOnce();
  EXPECT_THAT(m_DatabaseLines,
              ElementsAre(DRIVE_UPDATED, DRIVE_UPDATED, DRIVE_UPDATED, DRIVE_UPDATED));
  EXPECT_THAT(Column(DRIVE_ROWS, "pd_object_id_low"),
              ElementsAre("4", "2", "4", "4", "2", "2", "4", "4"));
  EXPECT_THAT(Column(DRIVE_ROWS, "pd_reserve_warning"),
              ElementsAre("34", "34", "12", "34", "12", "34", "12", "34"));
}

TEST_F(RowsAfterChanges, AScanInsertsThenUpdatesThenRemovesAdapterRows) {
  Run(3);
  Hide(2);
  WaitForScans();
  Show(2);
  Hide(1);
  SetTemperature(0, "60.0");
  ScanOnce();
  EXPECT_THAT(
      m_DatabaseLines,
      ElementsAre(Adapter(3) + "inserted to db.", Adapter(1) + "entry updated in db.",
                  Adapter(2) + "removed from db.", DRIVE_INSERTED, DRIVE_UPDATED, DRIVE_UPDATED));
}

TEST_F(RowsAfterChanges, AScanDoesNotRecreateDeletedRows) {
  Run(1);
  Query("DELETE FROM host_adapter_rows; DELETE FROM host_drive_rows");
  SetTemperature(0, "60.0");
  ScanOnce();
  EXPECT_THAT(Counts(), ElementsAre("0", "0", "1"));
  EXPECT_THAT(m_DatabaseLines, IsEmpty());
  EXPECT_THAT(m_RowCalls, IsEmpty());
}

TEST_F(RowsAfterChanges, ARowIsNotUpdatedAfterItsDrivesSerialNumberChanges) {
  Run(1);
  Set("card0", "serial_number", "other");
  Set("card0", "sector_size_bytes", "4096");
  ScanOnce();
  EXPECT_THAT(Column(DRIVE_ROWS, "pd_serial_number"), ElementsAre("FA00000001"));
  EXPECT_THAT(Column(DRIVE_ROWS, "pd_sector_size"), ElementsAre("512"));
}

TEST_F(RowsAfterChanges, AScanCallsTheCardOnlyForTheDrivesRow) {
  Run(1);
  ScanOnce();
  EXPECT_THAT(
      m_RowCalls,
      ElementsAre("vsl_iom_create_by_name /dev/fct0", "vsl_has_rated_endurance_tbytes card#1",
                  "vsl_has_total_physical_bytes_written card#1",
                  "vsl_has_rated_writes_remaining_percent card#1",
                  "vsl_total_physical_bytes_written card#1", "vsl_total_physical_bytes_read card#1",
                  "vsl_rated_endurance_tbytes card#1", "vsl_rated_writes_remaining_percent card#1",
                  "vsl_has_reserve_space_pct card#1", "vsl_reserve_space_pct card#1"));
}

// The rows of an earlier start are kept.
TEST(RowsOfAnotherStart, AreAddedToTheEarlierOnes) {
  const ScopedDatabase database;
  for (int start = 0; start < 2; ++start) {
    OneCard host(PlainCard());
    ASSERT_EQ(host.Initialize(), 0U);
  }
  EXPECT_THAT(Counts(), ElementsAre("2", "2", "2"));
}

TEST(RowsOfAnotherStart, ReplaceTheEarlierOnesAfterADatabaseRestart) {
  const ScopedDatabase database;
  OneCard host(PlainCard());
  const std::string file = (host.Directory() / "rows.db").string();
  for (int start = 0; start < 2; ++start) {
    ScopedDatabase::Begin(file);
    OneCard other(PlainCard());
    ASSERT_EQ(other.Initialize(), 0U);
    EXPECT_THAT(Counts(), ElementsAre("1", "1", "1"));
  }
}

TEST(RowsAfterAStop, AreKept) {
  const ScopedDatabase database;
  OneCard host(PlainCard());
  ASSERT_EQ(host.Start(), 0U);
  host.DeInitialize();
  host.Release();
  EXPECT_THAT(Counts(), ElementsAre("1", "1", "1"));
}

}  // namespace
}  // namespace CorvaneTest
