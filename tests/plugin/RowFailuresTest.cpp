// Failing database statements, which are traced and affect nothing else, and card strings that
// break statements.

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <fstream>

#include "tests/plugin/Watch.h"
#include "tests/support/Numbers.h"
#include "tests/support/RowView.h"
#include "tests/support/SqliteInterceptor.h"

namespace CorvaneTest {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;
using testing::StartsWith;

constexpr const char* DRIVE_INSERTED = "PD (Flash Adapter G2 (0)) inserted to db.";
constexpr const char* DRIVE_UPDATED = "PD (Flash Adapter G2 (0)) updated in db.";
constexpr const char* PLUGIN_INSERTED = "Plugin FusionIO inserted to db.";

// Returns, for example, " (Storage query exception thrown! (statement rejected))".
std::string Reason(const std::string& reason) {
  return " (Storage query exception thrown! (" + reason + "))";
}

std::string KeyReason(const std::string& reason) {
  return " (Storage query exception thrown! Cannot read ID from database!" + Reason(reason) + ")";
}

// Makes an action on a table fail from now on: "INSERT", "UPDATE" or "DELETE".
void Reject(const std::string& action, const std::string& table) {
  const std::string sql = "CREATE TRIGGER rejection BEFORE " + action + " ON " + table +
                          " BEGIN SELECT RAISE(ABORT, 'statement rejected'); END";
  SqliteInterceptor::Run(sql.c_str());
}
void StopRejecting() {
  SqliteInterceptor::Run("DROP TRIGGER rejection");
}

class RowFailures : public WorkerFixture {
 protected:
  RowFailures() {
    m_OnLine = [this](const std::string& line) {
      if (line.rfind("128 ", 0) == 0) m_DatabaseLines.push_back(line.substr(4));
    };
  }
  void TearDown() override { m_OnLine = nullptr; }

  void Run(int cards = 1) {
    AddCards(cards);
    StartWatch();
    m_DatabaseLines.clear();
  }
  void SetTemperature(const char* celsius) { Set("card0", "temp_internal_deg_c", celsius); }
  void ScanOnce() {
    m_DatabaseLines.clear();
    WaitForScans();
  }
  std::string File() { return (m_Host.Directory() / "rows.db").string(); }

  const SqliteInterceptor m_Interceptor;  // before the database is opened
  const ScopedDatabase m_Database;
  const std::string m_Number = NumberOf(3);
  const std::string m_Adapter = "Adapter (SanDisk Flash Adapter 785GB (1)) (" + m_Number + ") ";
  Cells m_DatabaseLines;
};

TEST_F(RowFailures, AFailedAdapterInsertIsTracedAndTheOthersContinue) {
  AddCards(1);
  Reject("INSERT", ADAPTER_ROWS);
  ASSERT_EQ(m_Host.Initialize(), 0U);
  EXPECT_THAT(m_Host.Traces(128),
              ElementsAre("Storage query exception thrown during inserting Adapter () (" +
                              m_Number + ") to db." + Reason("statement rejected"),
                          DRIVE_INSERTED, PLUGIN_INSERTED));
  EXPECT_THAT(Counts(), ElementsAre("0", "1", "1"));
  EXPECT_THAT(m_Host.Topology(), SizeIs(3));
}

TEST_F(RowFailures, AFailedDriveInsertIsTracedAndTheOthersContinue) {
  AddCards(1);
  Reject("INSERT", DRIVE_ROWS);
  ASSERT_EQ(m_Host.Initialize(), 0U);
  EXPECT_THAT(m_Host.Traces(128),
              ElementsAre("Adapter () (" + m_Number + ") inserted to db.",
                          "Storage query exception thrown during inserting PD (Flash Adapter G2 "
                          "(0)) to db." +
                              Reason("statement rejected"),
                          PLUGIN_INSERTED));
  EXPECT_THAT(Counts(), ElementsAre("1", "0", "1"));
}

TEST_F(RowFailures, AFailedPluginInsertIsTracedAndStartupSucceeds) {
  AddCards(1);
  Reject("INSERT", PLUGIN_ROWS);
  ASSERT_EQ(m_Host.Initialize(), 0U);
  EXPECT_EQ(m_Host.Traces(128).back(),
            "Plugin FusionIO inserted to db." + Reason("statement rejected"));
  EXPECT_THAT(Counts(), ElementsAre("1", "1", "0"));
}

TEST_F(RowFailures, AFailedPluginDeletionIsTracedAndTheResultIsUnchanged) {
  AddCards(1);
  ASSERT_EQ(m_Host.Initialize(), 0U);
  m_Host.DeInitialize();
  m_Host.ClearTraces();
  Reject("DELETE", PLUGIN_ROWS);
  CardSim::FailCall("vsl_open", 1, 5, "statement rejected");
  EXPECT_EQ(m_Host.Execute(PI::CMD_INITIALIZE, 0, &m_Host.m_AdapterIDs),
            Number::ERR_NO_SUPPORTED_HARDWARE);
  EXPECT_THAT(m_Host.Traces(128),
              ElementsAre("Exception thrown during removing SanDisk plugin object from db." +
                          Reason("statement rejected")));
  EXPECT_THAT(m_Host.Topology(), SizeIs(1));
}

TEST_F(RowFailures, AFailedAdapterUpdateIsTracedAndRepeatedAtTheNextChange) {
  Run();
  Reject("UPDATE", ADAPTER_ROWS);
  SetTemperature("60.0");
  ScanOnce();
  EXPECT_THAT(m_DatabaseLines,
              ElementsAre("Storage query exception thrown during updating " + m_Adapter +
                              "entry updated in db." + Reason("statement rejected"),
                          DRIVE_UPDATED));
  StopRejecting();
  SetTemperature("70.0");
  ScanOnce();
  EXPECT_THAT(Column(ADAPTER_ROWS, "ad_temperature"), ElementsAre("60"));
}

TEST_F(RowFailures, AFailedDriveUpdateIsTracedAndRepeatedAtTheNextScan) {
  Run();
  Reject("UPDATE", DRIVE_ROWS);
  Set("card0", "sector_size_bytes", "4096");
  ScanOnce();
  EXPECT_THAT(m_DatabaseLines,
              ElementsAre("Storage query exception thrown during updating PD (Flash Adapter G2 "
                          "(0)) in db." +
                          Reason("statement rejected")));
  StopRejecting();
  ScanOnce();
  EXPECT_THAT(Column(DRIVE_ROWS, "pd_sector_size"), ElementsAre("4096"));
}

// A written row leaks its card handle, and so does a rejected one.
TEST_F(RowFailures, AFailedDriveInsertLeaksItsHandle) {
  AddCards(1);
  Reject("INSERT", DRIVE_ROWS);
  HostKit::SetTraceSink([](const HostKit::TraceLine& line) {
    if (line.text == "LEAVE ScanSystem() -> 0") CardSim::Reset();
  });
  ASSERT_EQ(m_Host.Initialize(), 0U);
  EXPECT_THAT(Counts(), ElementsAre("1", "0", "1"));
  EXPECT_THAT(CardSim::OpenHandles(), ElementsAre("card#1"));
  EXPECT_THAT(m_Host.Calls(), Not(Contains(StartsWith("vsl_destroy"))));
}

TEST_F(RowFailures, AFailedDriveUpdateLeaksItsHandle) {
  Run();
  Reject("UPDATE", DRIVE_ROWS);
  for (std::size_t scans = 1; scans <= 2; ++scans) {
    ScanOnce();
    EXPECT_THAT(m_DatabaseLines, ElementsAre(HasSubstr("during updating PD")));
    EXPECT_THAT(CardSim::OpenHandles(), SizeIs(scans));
  }
}

TEST_F(RowFailures, AFailedAdapterDeletionIsTracedAndItsRowStays) {
  Run(2);
  Reject("DELETE", ADAPTER_ROWS);
  Hide(0);
  ScanOnce();
  EXPECT_THAT(m_DatabaseLines,
              ElementsAre("Storage query exception thrown during removing " + m_Adapter +
                              "removed from db." + Reason("statement rejected"),
                          DRIVE_UPDATED));
  StopRejecting();
  ScanOnce();
  EXPECT_THAT(Counts(), ElementsAre("2", "2", "1"));
  EXPECT_THAT(Events(), ElementsAre(StartsWith("CTRL_PNPREMOVE ")));
}

// A deletion turns the alias in conditions off and must turn it on again when it fails.
TEST_F(RowFailures, RowsAreFoundAfterAFailedDeletion) {
  Run(2);
  Reject("DELETE", ADAPTER_ROWS);
  Hide(1);
  ScanOnce();
  StopRejecting();
  SetTemperature("60.0");
  ScanOnce();
  EXPECT_THAT(m_DatabaseLines, ElementsAre(m_Adapter + "entry updated in db.", DRIVE_UPDATED));
}

TEST_F(RowFailures, AreNotTracedWhileTheirLevelIsOff) {
  AddCards(1);
  Reject("INSERT", ADAPTER_ROWS);
  HostKit::SetTraceMask(127);
  ASSERT_EQ(m_Host.Initialize(), 0U);
  EXPECT_THAT(m_Host.Traces(128), IsEmpty());
}

TEST_F(RowFailures, AFailedDriveInsertSkipsTheRowsForItsOtherAdapters) {
  AddCards(2);
  for (const char* card : {"card0", "card1"}) Set(card, "serial_number", "S1");
  Reject("INSERT", DRIVE_ROWS);
  ASSERT_EQ(m_Host.Initialize(), 0U);
  // Four drive inserts are attempted; each stops at its first row.
  int failures = 0;
  for (const std::string& line : m_Host.Traces(128))
    failures += line.find("(statement rejected)") != line.npos;
  EXPECT_EQ(failures, 4);
}

// Unusable database files, and the reason that is traced for each.
struct FileCase {
  const char* name;
  void (*damage)(const std::string& file);  // while no process has it open
  const char* reason;
  bool asOrdinaryUser = false;  // tests may run as root, which bypasses file permissions
};

void PrintTo(const FileCase& value, std::ostream* out) {
  *out << value.name;
}

void ReplaceWithDirectory(const std::string& file) {
  std::filesystem::remove(file);
  std::filesystem::create_directory(file);
}

void OverwriteWithText(const std::string& file) {
  std::ofstream(file) << std::string(1000, 'x');
}

// Overwrites a page after the header and the schema.
void OverwriteAPage(const std::string& file) {
  std::fstream damaged(file, std::ios::in | std::ios::out | std::ios::binary);
  damaged.seekp(8192);
  damaged << std::string(4096, '\x5A');
}

// Everyone may write to the directory, but only read the file.
void MakeReadOnly(const std::string& file) {
  using std::filesystem::perms;
  const std::filesystem::path directory = std::filesystem::path(file).parent_path();
  std::filesystem::permissions(directory, perms::all);
  for (const auto& entry : std::filesystem::recursive_directory_iterator(directory)) {
    std::filesystem::permissions(entry.path(), perms::all);
  }
  std::filesystem::permissions(file, perms::owner_read | perms::group_read | perms::others_read);
}

class UnusableFile : public RowFailures, public testing::WithParamInterface<FileCase> {
 protected:
  ~UnusableFile() override {
    if (seteuid(m_Before) != 0) std::abort();
  }

  // Creates the database file, makes it unusable and opens it again.
  void SwitchToUnusableFile() {
    ScopedDatabase::Begin(File());
    ScopedDatabase::Begin(":memory:");
    GetParam().damage(File());
    if (GetParam().asOrdinaryUser && m_Before == 0 && seteuid(65534) != 0) std::abort();
    ScopedDatabase::Begin(File());
  }

  // Removes the closing parentheses, because SQLite appends the position of the damage to the
  // reason.
  static std::string WithoutClosingParentheses(const std::string& text) {
    return text.substr(0, text.find_last_not_of(')') + 1);
  }

  const uid_t m_Before = geteuid();
};

TEST_P(UnusableFile, DoesNotPreventStartup) {
  AddCards(1);
  SwitchToUnusableFile();
  ASSERT_EQ(m_Host.Start(), 0U);
  const std::string reason = WithoutClosingParentheses(KeyReason(GetParam().reason));
  EXPECT_THAT(
      m_Host.Traces(128),
      ElementsAre(
          StartsWith("Storage query exception thrown during inserting Adapter () (" + m_Number +
                     ") to db." + reason),
          StartsWith("Storage query exception thrown during inserting PD (Flash Adapter G2 (0)) "
                     "to db." +
                     reason),
          StartsWith("Plugin FusionIO inserted to db." + reason)));
  EXPECT_THAT(m_Host.Topology(), SizeIs(3));
}

TEST_P(UnusableFile, DoesNotPreventAScan) {
  Run();
  SwitchToUnusableFile();
  SetTemperature("60.0");
  ScanOnce();
  const std::string reason = WithoutClosingParentheses(Reason(GetParam().reason));
  EXPECT_THAT(
      m_DatabaseLines,
      ElementsAre(StartsWith("Storage query exception thrown during updating " + m_Adapter +
                             "entry updated in db." + reason),
                  StartsWith("Storage query exception thrown during updating PD (Flash Adapter G2 "
                             "(0)) in db." +
                             reason)));
  Hide(0);
  ScanOnce();
  EXPECT_THAT(Events(), ElementsAre(StartsWith("CTRL_PNPREMOVE ")));
}

INSTANTIATE_TEST_SUITE_P(
    All, UnusableFile,
    testing::Values(FileCase{"Directory", ReplaceWithDirectory, "unable to open database file"},
                    FileCase{"NoDatabase", OverwriteWithText, "file is not a database"},
                    FileCase{"Damaged", OverwriteAPage, "database disk image is malformed: "},
                    FileCase{"ReadOnly", MakeReadOnly, "attempt to write a readonly database",
                             true}),
    [](const testing::TestParamInfo<FileCase>& test) { return std::string(test.param.name); });

// Another process that is about to write. It holds the write lock of the write-ahead log, which is
// byte 120 of the -shm file.
class OtherWriter {
 public:
  explicit OtherWriter(const std::string& file) {
    int ready[2];
    if (pipe(ready) != 0) return;
    const std::string shared = file + "-shm";
    m_Process = fork();
    if (m_Process == 0) Hold(shared.c_str(), ready[1]);
    char answer = 0;
    m_Holds = read(ready[0], &answer, 1) == 1 && answer == 'y';
    close(ready[0]);
    close(ready[1]);
  }
  ~OtherWriter() {
    if (m_Process <= 0) return;
    kill(m_Process, SIGKILL);
    waitpid(m_Process, nullptr, 0);
  }
  OtherWriter(const OtherWriter&) = delete;
  OtherWriter& operator=(const OtherWriter&) = delete;

  bool Holds() const { return m_Holds; }

 private:
  [[noreturn]] static void Hold(const char* shared, int ready) {
    struct flock lock {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    lock.l_start = 120;
    lock.l_len = 1;
    const int opened = open(shared, O_RDWR);
    const bool held = opened >= 0 && fcntl(opened, F_SETLK, &lock) == 0;
    if (write(ready, held ? "y" : "n", 1) == 1) pause();
    _exit(0);
  }

  pid_t m_Process = -1;
  bool m_Holds = false;
};

TEST_F(RowFailures, ALockedFileDoesNotPreventScansAndIsWrittenOnceUnlocked) {
  ScopedDatabase::Begin(File());
  Run();
  {
    const OtherWriter writer(File());
    ASSERT_TRUE(writer.Holds());
    Set("card0", "sector_size_bytes", "4096");
    ScanOnce();
  }
  EXPECT_THAT(m_DatabaseLines, ElementsAre("Storage query exception thrown during updating PD "
                                           "(Flash Adapter G2 (0)) in db." +
                                           Reason("database is locked")));
  EXPECT_THAT(Column(DRIVE_ROWS, "pd_sector_size"), ElementsAre("512"));
  ScanOnce();
  EXPECT_THAT(Column(DRIVE_ROWS, "pd_sector_size"), ElementsAre("4096"));
}

TEST_F(RowFailures, AFullFileDoesNotPreventScans) {
  Run();
  SqliteInterceptor::Run("PRAGMA max_page_count = 1");
  Set("card0", "product_name", std::string(6000, 'x'));
  ScanOnce();
  EXPECT_THAT(m_DatabaseLines, ElementsAre(HasSubstr("(database or disk is full)")));
  Set("card0", "product_name", "Short");
  ScanOnce();
  EXPECT_THAT(m_DatabaseLines, ElementsAre("PD (Short (0)) updated in db."));
}

TEST_F(RowFailures, AReadOnlyFileDoesNotPreventScans) {
  Run();
  SqliteInterceptor::Run("PRAGMA query_only = 1");
  Set("card0", "sector_size_bytes", "4096");
  ScanOnce();
  EXPECT_THAT(m_DatabaseLines, ElementsAre(HasSubstr("(attempt to write a readonly database)")));
}

TEST_F(RowFailures, ADeletedFileIsRecreatedEmpty) {
  ScopedDatabase::Begin(File());
  Run();
  std::filesystem::remove(File());
  SetTemperature("60.0");
  ScanOnce();
  EXPECT_THAT(m_DatabaseLines, IsEmpty());
  EXPECT_THAT(Counts(), ElementsAre("0", "0", "0"));
  EXPECT_THAT(m_Host.Topology(), SizeIs(3));
}

// Card strings. The second card is unmodified.
class CardStrings : public RowFailures {
 protected:
  void RunWith(const char* attribute, const std::string& text) {
    AddCards(2);
    Set("card0", attribute, text);
    StartWatch();
  }
  // Checks the serial numbers of all rows, and that the plug-in's row is intact.
  void ExpectSerialNumbers(const Cells& adapters, const Cells& drives) {
    EXPECT_EQ(Column(ADAPTER_ROWS, "ad_serial_number"), adapters);
    EXPECT_EQ(Column(DRIVE_ROWS, "pd_serial_number"), drives);
    EXPECT_THAT(Column(PLUGIN_ROWS, "pi_plugin_name"), ElementsAre("SanDisk-Plugin"));
  }
};

TEST_F(CardStrings, ADoubleQuotePreventsTheRowsOfItsCard) {
  RunWith("serial_number", "S\"1");
  ExpectSerialNumbers({"FA00000002"}, {"FA00000002"});
  EXPECT_THAT(m_Host.Traces(128),
              ElementsAre(HasSubstr("during inserting Adapter () (" + m_Number + ") to db. ("),
                          HasSubstr("during inserting PD (Flash Adapter G2 (0)) to db. ("),
                          HasSubstr("Adapter () ("), DRIVE_INSERTED, PLUGIN_INSERTED));
  ScanOnce();
  EXPECT_THAT(m_DatabaseLines, ElementsAre(DRIVE_UPDATED));
}

TEST_F(CardStrings, ASingleQuotePreventsFindingTheDrivesRow) {
  RunWith("serial_number", "S'1");
  ExpectSerialNumbers({"S'1", "FA00000002"}, {"S'1", "FA00000002"});
  Set("card0", "sector_size_bytes", "4096");
  ScanOnce();
  EXPECT_THAT(m_DatabaseLines,
              ElementsAre(StartsWith("Storage query exception thrown during updating PD (Flash "
                                     "Adapter G2 (0)) in db. (Storage query exception thrown! ("),
                          DRIVE_UPDATED));
  EXPECT_THAT(Column(DRIVE_ROWS, "pd_sector_size"), ElementsAre("512", "512"));
}

TEST_F(CardStrings, AQuestionMarkIsOrdinaryText) {
  RunWith("serial_number", "S?1");
  ScanOnce();
  ExpectSerialNumbers({"S?1", "FA00000002"}, {"S?1", "FA00000002"});
  EXPECT_THAT(m_DatabaseLines, ElementsAre(DRIVE_UPDATED, DRIVE_UPDATED));
}

TEST_F(CardStrings, TheStringNullIsStoredAsNullAndNotFound) {
  RunWith("serial_number", "NULL");
  ScanOnce();
  ExpectSerialNumbers({"NULL", "FA00000002"}, {"NULL", "FA00000002"});
  EXPECT_THAT(Query("SELECT COUNT(*) FROM host_drive_rows WHERE pd_serial_number IS NULL"),
              ElementsAre("1"));
  EXPECT_THAT(m_DatabaseLines, ElementsAre(DRIVE_UPDATED));
}

TEST_F(CardStrings, AColumnNameIsReplacedByTheColumnsValueAtTheNextUpdate) {
  RunWith("product_name", "pd_vendor");
  EXPECT_THAT(Column(DRIVE_ROWS, "pd_product"), ElementsAre("pd_vendor", "Flash Adapter G2"));
  ScanOnce();
  EXPECT_THAT(Column(DRIVE_ROWS, "pd_product"), ElementsAre("SanDisk", "Flash Adapter G2"));
  ExpectSerialNumbers({"FA00000001", "FA00000002"}, {"FA00000001", "FA00000002"});
}

TEST_F(CardStrings, AQuoteInTheDriverVersionAffectsOnlyTheAdaptersRow) {
  RunWith("driver_version", "3.4 \"beta\"");
  ExpectSerialNumbers({"FA00000002"}, {"FA00000001", "FA00000002"});
}

}  // namespace
}  // namespace CorvaneTest
