// The order of the worker's steps: locks, card calls, events, rows and notifications.

#include "tests/plugin/Watch.h"
#include "tests/support/Journal.h"
#include "tests/support/RowView.h"

namespace CorvaneTest {
namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;

Lines Joined(const std::vector<Lines>& parts) {
  Lines all;
  for (const Lines& part : parts) all.insert(all.end(), part.begin(), part.end());
  return all;
}

class ScanOrder : public WorkerFixture {
 protected:
  // Records the worker's steps from the next wake-up.
  void BeginJournal() {
    m_OnLine = [this](const std::string& line) { m_Journal.Note("trace " + line); };
    m_OnNotify = [this] { m_Journal.Note("notify"); };
    m_Journal.Begin();
  }
  void TearDown() override {
    m_OnLine = nullptr;
    m_OnNotify = nullptr;
  }
  // Returns the steps of the next wake-up.
  Lines StepsOfNextWakeUp() {
    WaitForWakeUps();
    return Steps(m_Journal.PluginEntries());
  }

  const ScopedDatabase m_Database;
  Journal m_Journal{m_Host};
};

const Lines WAKE_UP = {"-- trace 4 Worker() timeout event received"};
const Lines LOCK_DATA = {"-- trace 8 Before m_DataLock.Wait(INFINITE)",
                         "d- trace 8 After m_DataLock.Wait(INFINITE)"};
const Lines LOCK_EVENTS = {"d- trace 8 Before m_EventsLock.Wait(INFINITE)",
                           "de trace 8 After m_EventsLock.Wait(INFINITE)"};
const Lines BEGIN_SCAN = {"de trace 16 Before ScanSystem()",
                          "de trace 2 ENTER ScanSystem(0) PhyDrive=0"};
const Lines END_SCAN = {"de trace 2 LEAVE ScanSystem() -> 0",
                        "de trace 16 After ScanSystem() ret = 0",
                        "de trace 16 Before UpdateSystem()"};
const Lines QUEUE = {"de trace 8 Before m_EventsLock.Wait (sg)",
                     "de trace 8 After m_EventsLock.Wait (sg)"};
const Lines END_UPDATE = {"de trace 2 LEAVE UpdateSystem ret = 0",
                          "de trace 16 After UpdateSystem() ret = 0"};
const Lines RELEASE_BOTH = {
    "de trace 4 Worker() after bscan", "de trace 8 Before m_EventsLock.Release ()",
    "d- trace 8 After m_EventsLock.Release ()", "d- trace 8 Before m_DataLock.Release ()",
    "-- trace 8 After m_DataLock.Release ()"};
const Lines NOTIFY = {"-- notify"};
const Lines RESTART_INTERVAL = {"-- trace 2 Worker() before restart interval"};

// A pass with a scan. `steps` come between the start of the scan and the release of the locks.
Lines PassWithScan(const std::vector<Lines>& steps, const Lines& notify = NOTIFY) {
  return Joined({WAKE_UP, LOCK_DATA, LOCK_EVENTS, BEGIN_SCAN, Joined(steps), RELEASE_BOTH, notify,
                 RESTART_INTERVAL});
}

// The steps of a successful scan of one card.
Lines StepsOfScan(const std::string& path, const std::string& number) {
  const std::string card = "card#" + number;
  const std::string adapter = "adapter#" + number;
  const std::string format = "format#" + number;
  return {"de call vsl_iom_create_by_name " + path,
          "de call vsl_open " + card,
          "de call vsl_adapter_create " + card,
          "de call vsl_destroy " + adapter,
          "de trace 16 ScanSystem, vsl_has_first_use_ts = 1355270400000",
          "de trace 16 ScanSystem, vsl_has_origin_ts = 1352937600000",
          "de trace 16 ScanSystem, vsl_has_reserve_warning_threshold_percent = 10",
          "de call vsl_iom_format_create " + card,
          "de call vsl_iom_format_set_size_mode " + format + " 11",
          "de call vsl_destroy " + format,
          "de call vsl_close " + card,
          "de call vsl_destroy " + card};
}

Lines UpdateAdapterRow(const std::string& index, const std::string& name,
                       const std::string& number) {
  return {"de sql SELECT * FROM host_adapter_rows",
          "de trace 2 ENTER AdapterGetProperties (" + index + ")",
          "de sql UPDATE host_adapter_rows",
          "de trace 128 Adapter (" + name + ") (" + number + ") entry updated in db."};
}
Lines UpdateDriveRow(const std::string& path) {
  return {"de sql SELECT * FROM host_drive_rows",
          "de trace 2 ENTER SetDatabaseObjectProperties (PhysicalDisk) ()",
          "de call vsl_iom_create_by_name " + path, "de sql UPDATE host_drive_rows",
          "de trace 128 PD (Flash Adapter G2 (0)) updated in db."};
}

constexpr const char* FIRST_NAME = "SanDisk Flash Adapter 785GB (1)";
constexpr const char* SECOND_NAME = "SanDisk Flash Adapter 785GB (2)";

TEST_F(ScanOrder, ChangeWithAnEvent) {
  AddCards(1);
  StartWatch();
  WaitForWakeUps(2);
  Set("card0", "iom_state", "0");
  m_Journal.CollectEvents();
  BeginJournal();
  EXPECT_THAT(StepsOfNextWakeUp(),
              ElementsAreArray(
                  PassWithScan({StepsOfScan("/dev/fct0", "1"),
                                END_SCAN,
                                {"de trace 2 ENTER UpdateSystem for 1 adapter, 1 physicalDrives"},
                                QUEUE,
                                {"de event CTRL_DETACHED"},
                                UpdateAdapterRow("0", FIRST_NAME, NumberOf(3)),
                                UpdateDriveRow("/dev/fct0"),
                                END_UPDATE})));
}

TEST_F(ScanOrder, UpdatesOnlyDriveRowsWhenNothingChanged) {
  AddCards(1);
  StartWatch();
  WaitForWakeUps(2);
  BeginJournal();
  EXPECT_THAT(StepsOfNextWakeUp(),
              ElementsAreArray(
                  PassWithScan({StepsOfScan("/dev/fct0", "1"),
                                END_SCAN,
                                {"de trace 2 ENTER UpdateSystem for 1 adapter, 1 physicalDrives"},
                                UpdateDriveRow("/dev/fct0"),
                                {"de trace 2 LEAVE UpdateSystem ret = 20000",
                                 "de trace 16 After UpdateSystem() ret = 20000"}},
                               {})));
}

// Changed adapters come before removed adapters, and adapters before drives.
TEST_F(ScanOrder, RemovedCardAndChangedCard) {
  AddCards(2);
  StartWatch();
  WaitForWakeUps(2);
  Set("card0", "iom_state", "0");
  m_Journal.CollectEvents();
  BeginJournal();
  CardSim::FailCall("vsl_iom_create_by_name", 2, 61, "gone");
  EXPECT_THAT(StepsOfNextWakeUp(),
              ElementsAreArray(
                  PassWithScan({StepsOfScan("/dev/fct0", "1"),
                                {"de call vsl_iom_create_by_name /dev/fct1",
                                 "de trace 16 ScanSystem, vsl_iom_create_by_name = 61 (gone)"},
                                END_SCAN,
                                {"de trace 2 ENTER UpdateSystem for 1 adapter, 1 physicalDrives"},
                                QUEUE,
                                {"de event CTRL_DETACHED", "de event CTRL_PNPREMOVE"},
                                UpdateAdapterRow("0", FIRST_NAME, NumberOf(3)),
                                {"de sql DELETE FROM host_adapter_rows",
                                 std::string("de trace 128 Adapter (") + SECOND_NAME + ") (" +
                                     NumberOf(4) + ") removed from db."},
                                UpdateDriveRow("/dev/fct0"),
                                END_UPDATE})));
}

// The journal shows queued events at the next call, which is a read for the first row. Added
// adapters are written before changed ones, and added drives before the update of all drives.
TEST_F(ScanOrder, AddedCardAndChangedCard) {
  AddCards(2);
  StartWatch();
  Hide(1);
  WaitForScans();
  WaitForWakeUps(2);
  m_Host.CollectEvents();
  Show(1);
  Set("card0", "iom_state", "0");
  m_Journal.CollectEvents();
  BeginJournal();
  Lines second = StepsOfScan("/dev/fct1", "2");
  second.insert(second.end() - 2, "de trace 2 The drive is not found yet!");
  EXPECT_THAT(
      StepsOfNextWakeUp(),
      ElementsAreArray(PassWithScan(
          {StepsOfScan("/dev/fct0", "1"),
           second,
           END_SCAN,
           {"de trace 2 ENTER UpdateSystem for 2 adapter, 2 physicalDrives"},
           QUEUE,
           {"de trace 2 ENTER AdapterGetProperties (1)", "de event CTRL_DETACHED",
            "de event CTRL_PNPADD", "de sql SELECT MAX(ID) FROM host_adapter_rows",
            "de sql INSERT INTO host_adapter_rows",
            std::string("de trace 128 Adapter (") + SECOND_NAME + ") (" + NumberOf(4) +
                ") inserted to db."},
           UpdateAdapterRow("0", FIRST_NAME, NumberOf(3)),
           {"de trace 2 ENTER SetDatabaseObjectProperties (PhysicalDisk) ()",
            "de call vsl_iom_create_by_name /dev/fct1",
            "de sql SELECT MAX(ID) FROM host_drive_rows", "de sql INSERT INTO host_drive_rows",
            "de trace 128 PD (Flash Adapter G2 (0)) inserted to db."},
           UpdateDriveRow("/dev/fct0"),
           UpdateDriveRow("/dev/fct1"),
           END_UPDATE})));
}

// The events lock is acquired after all reads of the quick poll and before those of the scan.
TEST_F(ScanOrder, QuickPollWithAChange) {
  AddCards(2);
  StartWatch();
  Set("card0", "iom_state", "0");
  BeginJournal();
  Lines steps = StepsOfNextWakeUp();
  const Lines begin(steps.begin(), steps.begin() + 14);
  EXPECT_THAT(begin, ElementsAreArray(Joined(
                         {WAKE_UP,
                          LOCK_DATA,
                          {"d- call vsl_iom_create_by_name /dev/fct0", "d- call vsl_open card#1",
                           "d- call vsl_close card#1", "d- call vsl_destroy card#1",
                           "d- call vsl_iom_create_by_name /dev/fct1", "d- call vsl_open card#2",
                           "d- call vsl_close card#2", "d- call vsl_destroy card#2"},
                          LOCK_EVENTS,
                          {"de trace 16 Before ScanSystem()"}})));
}

TEST_F(ScanOrder, QuickPollOfCardsThatCannotBeOpened) {
  AddCards(2);
  StartWatch();
  BeginJournal();
  CardSim::FailCall("vsl_iom_create_by_name", 1, 61, "gone");
  CardSim::FailCall("vsl_open", 1, 62, "unavailable");
  EXPECT_THAT(
      StepsOfNextWakeUp(),
      ElementsAreArray(Joined(
          {WAKE_UP,
           LOCK_DATA,
           {"d- call vsl_iom_create_by_name /dev/fct0",
            "d- trace 16 Worker, vsl_iom_create_by_name = 61 (gone)",
            "d- call vsl_iom_create_by_name /dev/fct1", "d- call vsl_open card#1",
            "d- trace 16 Worker, vsl_open = 62 (unavailable)", "d- call vsl_destroy card#1",
            "d- trace 8 Before m_DataLock.Release ()", "-- trace 8 After m_DataLock.Release ()"},
           RESTART_INTERVAL})));
}

// The card's handle is destroyed after the failure is traced. The host is notified because an event
// is queued.
TEST_F(ScanOrder, FailedScanWithAQueuedEvent) {
  AddCards(1);
  Set("card0", "iom_state", "0");
  StartWatch();
  CardSim::FailCall("vsl_iom_attach_create", 1, 62, "failed");
  ASSERT_EQ(m_Host.Run(FIRST, PI::OP_ATTACH), 0U);
  WaitForWakeUps(2);
  BeginJournal();
  CardSim::FailCall("vsl_open", 1, 62, "unavailable");
  EXPECT_THAT(StepsOfNextWakeUp(),
              ElementsAreArray(PassWithScan(
                  {{"de call vsl_iom_create_by_name /dev/fct0", "de call vsl_open card#1",
                    "de trace 16 ScanSystem, vsl_open = 62 (unavailable)",
                    "de call vsl_destroy card#1", "de trace 16 After ScanSystem() ret = 20003"}})));
}

TEST_F(ScanOrder, CardWithoutAFormatJob) {
  AddCards(1);
  StartWatch();
  WaitForWakeUps(2);
  BeginJournal();
  CardSim::FailCall("vsl_iom_format_create", 1, 63, "no format");
  Lines scan = StepsOfNextWakeUp();
  const auto create = std::find(scan.begin(), scan.end(), "de call vsl_iom_format_create card#1");
  ASSERT_GE(scan.end() - create, 4);
  const Lines after(create, create + 4);
  EXPECT_THAT(after, ElementsAre("de call vsl_iom_format_create card#1",
                                 "de trace 16 ScanSystem, vsl_iom_format_create = 63 (no format)",
                                 "de call vsl_close card#1", "de call vsl_destroy card#1"));
}

// Each value is traced immediately after it is read.
TEST_F(ScanOrder, LifetimeAttributesAndTheirTraces) {
  AddCards(1);
  StartWatch();
  WaitForWakeUps(2);
  BeginJournal();
  WaitForWakeUps();
  const Lines entries = m_Journal.PluginEntries();
  const auto begin =
      std::find(entries.begin(), entries.end(), "de call vsl_has_first_use_ts card#1");
  ASSERT_GE(entries.end() - begin, 9);
  const Lines ages(begin, begin + 9);
  EXPECT_THAT(
      ages, ElementsAre("de call vsl_has_first_use_ts card#1", "de call vsl_first_use_ts card#1",
                        "de trace 16 ScanSystem, vsl_has_first_use_ts = 1355270400000",
                        "de call vsl_has_origin_ts card#1", "de call vsl_origin_ts card#1",
                        "de trace 16 ScanSystem, vsl_has_origin_ts = 1352937600000",
                        "de call vsl_has_reserve_warning_threshold_percent card#1",
                        "de call vsl_reserve_warning_threshold_percent card#1",
                        "de trace 16 ScanSystem, vsl_has_reserve_warning_threshold_percent = 10"));
}

// The host is notified before the worker waits again, and no lock is acquired in between.
TEST_F(ScanOrder, PrivateEventAfterAnOperation) {
  AddCards(1);
  StartWatch();
  BeginJournal();
  ASSERT_EQ(m_Host.Run(FIRST_DRIVE, PI::OP_MAKE_OFFLINE), 0U);
  Settle();
  EXPECT_THAT(
      m_Journal.PluginEntries(),
      ElementsAreArray(Joined(
          {{"-- trace 4 Worker() m_PrivateEvent event received"}, NOTIFY, RESTART_INTERVAL})));
}

}  // namespace
}  // namespace CorvaneTest
