// The statements that each step of the plug-in sends, and the rows that remain if one of them
// fails.

#include <ostream>
#include <stdexcept>

#include "tests/plugin/Watch.h"
#include "tests/support/Numbers.h"
#include "tests/support/RowView.h"
#include "tests/support/StatementWatch.h"

namespace CorvaneTest {
namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

// Two cards at 50 degrees with sectors of 512 bytes, their serial numbers S1 and S2.
class TwoCards : public WorkerFixture {
 protected:
  TwoCards() {
    m_OnLine = [this](const std::string& line) {
      if (line.rfind("128 ", 0) == 0) m_DatabaseLines.push_back(line.substr(4));
    };
    AddCards(2);
    for (const char* card : {"card0", "card1"}) Set(card, "temp_internal_deg_c", "50.0");
    Set("card0", "serial_number", "S1");
    Set("card1", "serial_number", "S2");
  }
  void TearDown() override { m_OnLine = nullptr; }

  void SetTemperature(const char* celsius) { Set("card0", "temp_internal_deg_c", celsius); }
  void SetSectorSize(const char* bytes) {
    for (const char* card : {"card0", "card1"}) Set(card, "sector_size_bytes", bytes);
  }
  void ScanOnce() {
    m_DatabaseLines.clear();
    WaitForScans();
  }

  // Returns each statement, cut off after the table name, such as "SELECT * FROM host_drive_rows".
  Cells SentStatements() const {
    Cells shortened;
    for (const std::string& sql : m_Statements.Statements()) {
      shortened.push_back(sql.substr(0, sql.find("_rows") + 5));
    }
    return shortened;
  }

  // Renders the rows, such as "A S1 50, D S1 512, P": serial number and temperature of adapters,
  // serial number and sector size of drives, and the plug-in.
  static std::string Rows() {
    std::string text;
    for (const char* sql :
         {"SELECT 'A ' || ad_serial_number || ' ' || ad_temperature FROM host_adapter_rows "
          "ORDER BY ID",
          "SELECT 'D ' || pd_serial_number || ' ' || pd_sector_size FROM host_drive_rows "
          "ORDER BY ID",
          "SELECT 'P' FROM host_plugin_rows ORDER BY ID"}) {
      for (const std::string& row : Query(sql)) text += (text.empty() ? "" : ", ") + row;
    }
    return text;
  }

  static Cells FailuresIn(const Cells& lines) {
    Cells failures;
    for (const std::string& line : lines) {
      if (line.find("statement rejected") != std::string::npos) failures.push_back(line);
    }
    return failures;
  }

  const ScopedDatabase m_Database;
  StatementWatch m_Statements;
  Cells m_DatabaseLines;
};

// The statements of each step.

class RowStatements : public TwoCards {};

TEST_F(RowStatements, ReadEachKeyAndInsertAtStartup) {
  m_Statements.Begin();
  StartWatch();
  EXPECT_THAT(SentStatements(),
              ElementsAre("SELECT MAX(ID) FROM host_adapter_rows", "INSERT INTO host_adapter_rows",
                          "SELECT MAX(ID) FROM host_drive_rows", "INSERT INTO host_drive_rows",
                          "SELECT MAX(ID) FROM host_adapter_rows", "INSERT INTO host_adapter_rows",
                          "SELECT MAX(ID) FROM host_drive_rows", "INSERT INTO host_drive_rows",
                          "SELECT MAX(ID) FROM host_plugin_rows", "INSERT INTO host_plugin_rows"));
}

TEST_F(RowStatements, FindAndUpdateEachRowAfterAChange) {
  StartWatch();
  SetTemperature("60.0");
  m_Statements.Begin();
  ScanOnce();
  EXPECT_THAT(SentStatements(),
              ElementsAre("SELECT * FROM host_adapter_rows", "UPDATE host_adapter_rows",
                          "SELECT * FROM host_drive_rows", "UPDATE host_drive_rows",
                          "SELECT * FROM host_drive_rows", "UPDATE host_drive_rows"));
}

TEST_F(RowStatements, DeleteOnlyTheAdapterAfterRemoval) {
  StartWatch();
  Hide(1);
  m_Statements.Begin();
  ScanOnce();
  EXPECT_THAT(SentStatements(),
              ElementsAre("DELETE FROM host_adapter_rows", "SELECT * FROM host_drive_rows",
                          "UPDATE host_drive_rows"));
}

TEST_F(RowStatements, InsertBothRowsAfterArrival) {
  StartWatch();
  Hide(1);
  WaitForScans();
  Show(1);
  m_Statements.Begin();
  ScanOnce();
  EXPECT_THAT(SentStatements(),
              ElementsAre("SELECT MAX(ID) FROM host_adapter_rows", "INSERT INTO host_adapter_rows",
                          "SELECT MAX(ID) FROM host_drive_rows", "INSERT INTO host_drive_rows",
                          "SELECT * FROM host_drive_rows", "UPDATE host_drive_rows",
                          "SELECT * FROM host_drive_rows", "UPDATE host_drive_rows"));
}

TEST_F(RowStatements, FindAnAdapterByNumberAndHost) {
  StartWatch();
  SetTemperature("60.0");
  m_Statements.Begin();
  ScanOnce();
  ASSERT_THAT(m_Statements.Statements(), SizeIs(6));
  EXPECT_EQ(m_Statements.Statements()[0],
            "SELECT * FROM host_adapter_rows ad  WHERE ( ad.ad_adapter_number = '" + NumberOf(3) +
                "') AND ( ad.ad_host_name = 'localhost') ");
}

TEST_F(RowStatements, FindADriveBySerialNumberAndHost) {
  StartWatch();
  m_Statements.Begin();
  ScanOnce();
  ASSERT_THAT(m_Statements.Statements(), SizeIs(4));
  EXPECT_EQ(m_Statements.Statements()[2],
            "SELECT * FROM host_drive_rows pd  WHERE ( pd.pd_serial_number = 'S2') AND ( "
            "pd.pd_host_name = 'localhost') ");
}

TEST_F(RowStatements, DeleteAnAdapterByNumberAndHost) {
  StartWatch();
  Hide(1);
  m_Statements.Begin();
  ScanOnce();
  ASSERT_THAT(m_Statements.Statements(), SizeIs(3));
  EXPECT_EQ(m_Statements.Statements()[0],
            "DELETE FROM host_adapter_rows  WHERE ( ad_adapter_number = '" + NumberOf(4) +
                "') AND ( ad_host_name = 'localhost') ");
}

TEST_F(RowStatements, DeleteThePluginByName) {
  CardSim::FailCall("vsl_open", 1, 5, "statement rejected");
  ASSERT_EQ(m_Host.Initialize(), Number::ERR_NO_SUPPORTED_HARDWARE);
  EXPECT_THAT(m_Statements.Statements(),
              ElementsAre("DELETE FROM host_plugin_rows  WHERE pi_plugin_name = 'SanDisk-Plugin'"));
}

// Two cards with the same serial number. A drive has a row for each of the two adapters.

class TwinRows : public TwoCards {
 protected:
  TwinRows() {
    for (const char* card : {"card0", "card1"}) {
      Set(card, "serial_number", "S1");
      Set(card, "first_use_ts", "1735689600");
      Set(card, "rated_endurance_tbytes", "100");
      Set(card, "rated_writes_remaining_percent", "80.0");
      Set(card, "total_physical_bytes_written", "1099511627776");
    }
    Set("card0", "total_physical_bytes_read", "4096");
    Set("card1", "total_physical_bytes_read", "8192");
  }
};

// Each drive is inserted once for each adapter.
TEST_F(TwinRows, AreReadFromTheCardOfTheAdapter) {
  ASSERT_EQ(m_Host.Initialize(), 0U);
  EXPECT_THAT(Column(DRIVE_ROWS, "pd_bytes_read_ki_b"),
              ElementsAre("4", "8", "4", "8", "4", "8", "4", "8"));
}

TEST_F(TwinRows, AreFoundAndUpdatedOnceForEachAdapter) {
  StartWatch();
  m_Statements.Begin();
  ScanOnce();
  EXPECT_THAT(SentStatements(),
              ElementsAre("SELECT * FROM host_drive_rows", "UPDATE host_drive_rows",
                          "SELECT * FROM host_drive_rows", "UPDATE host_drive_rows",
                          "SELECT * FROM host_drive_rows", "UPDATE host_drive_rows",
                          "SELECT * FROM host_drive_rows", "UPDATE host_drive_rows"));
}

TEST_F(TwinRows, AreSearchedForEachAdapterEvenIfNoneExist) {
  StartWatch();
  Query("DELETE FROM host_drive_rows");
  m_Statements.Begin();
  ScanOnce();
  EXPECT_THAT(SentStatements(),
              ElementsAre("SELECT * FROM host_drive_rows", "SELECT * FROM host_drive_rows",
                          "SELECT * FROM host_drive_rows", "SELECT * FROM host_drive_rows"));
}

// A failing statement.

struct RejectedStatement {
  const char* name;
  std::size_t position;
  const char* line;   // part of the trace line about the failure
  const char* rows;   // after the step
  const char* later;  // after the next step
};

void PrintTo(const RejectedStatement& value, std::ostream* out) {
  *out << value.name;
}

class OneRejection : public TwoCards, public testing::WithParamInterface<RejectedStatement> {
 protected:
  void RejectStatement() {
    m_Statements.BeginFailing(GetParam().position,
                              DBEXCEPTION::DatabaseException("statement rejected"));
  }
  void ExpectRejected(const Cells& lines) {
    m_Statements.Begin();
    EXPECT_THAT(FailuresIn(lines), ElementsAre(HasSubstr(GetParam().line)));
    EXPECT_EQ(Rows(), GetParam().rows);
  }
  void ExpectSuccessfulScan() {
    ScanOnce();
    EXPECT_THAT(FailuresIn(m_DatabaseLines), IsEmpty());
    EXPECT_EQ(Rows(), GetParam().later);
  }
};

#define ALL_CASES(fixture, ...)                                                        \
  INSTANTIATE_TEST_SUITE_P(All, fixture, testing::Values(__VA_ARGS__),                 \
                           [](const testing::TestParamInfo<RejectedStatement>& each) { \
                             return std::string(each.param.name);                      \
                           })

class RejectionAtStartup : public OneRejection {};

TEST_P(RejectionAtStartup, OmitsOneRow) {
  RejectStatement();
  StartWatch();
  EXPECT_THAT(m_Host.m_AdapterIDs, SizeIs(2));
  EXPECT_THAT(m_Host.Topology(), SizeIs(5));
  ExpectRejected(m_Host.Traces(128));
  ExpectSuccessfulScan();
}

constexpr const char* WITHOUT_A1 = "A S2 50, D S1 512, D S2 512, P";
constexpr const char* WITHOUT_D1 = "A S1 50, A S2 50, D S2 512, P";
constexpr const char* WITHOUT_A2 = "A S1 50, D S1 512, D S2 512, P";
constexpr const char* WITHOUT_D2 = "A S1 50, A S2 50, D S1 512, P";
constexpr const char* WITHOUT_P = "A S1 50, A S2 50, D S1 512, D S2 512";

ALL_CASES(RejectionAtStartup,
          RejectedStatement{"FirstAdaptersKey", 1, "inserting Adapter", WITHOUT_A1, WITHOUT_A1},
          RejectedStatement{"FirstAdapter", 2, "inserting Adapter", WITHOUT_A1, WITHOUT_A1},
          RejectedStatement{"FirstDrivesKey", 3, "inserting PD", WITHOUT_D1, WITHOUT_D1},
          RejectedStatement{"FirstDrive", 4, "inserting PD", WITHOUT_D1, WITHOUT_D1},
          RejectedStatement{"SecondAdaptersKey", 5, "inserting Adapter", WITHOUT_A2, WITHOUT_A2},
          RejectedStatement{"SecondAdapter", 6, "inserting Adapter", WITHOUT_A2, WITHOUT_A2},
          RejectedStatement{"SecondDrivesKey", 7, "inserting PD", WITHOUT_D2, WITHOUT_D2},
          RejectedStatement{"SecondDrive", 8, "inserting PD", WITHOUT_D2, WITHOUT_D2},
          RejectedStatement{"PluginKey", 9, "Plugin FusionIO inserted to db. (", WITHOUT_P,
                            WITHOUT_P},
          RejectedStatement{"Plugin", 10, "Plugin FusionIO inserted to db. (", WITHOUT_P,
                            WITHOUT_P});

class RejectionAtAChange : public OneRejection {};

// An adapter's row shows the values before its change.
TEST_P(RejectionAtAChange, LeavesOneRowOutdatedUntilTheNextChange) {
  StartWatch();
  SetTemperature("60.0");
  WaitForScans();
  SetTemperature("70.0");
  SetSectorSize("4096");
  RejectStatement();
  ScanOnce();
  ExpectRejected(m_DatabaseLines);
  EXPECT_THAT(Events(), ElementsAre(HasSubstr("object 2 "), HasSubstr("object 4 ")));
  SetTemperature("80.0");
  ExpectSuccessfulScan();
}

constexpr const char* CHANGED = "A S1 70, A S2 50, D S1 4096, D S2 4096, P";

ALL_CASES(RejectionAtAChange,
          RejectedStatement{"FindingTheAdapter", 1, "updating Adapter",
                            "A S1 50, A S2 50, D S1 4096, D S2 4096, P", CHANGED},
          RejectedStatement{"TheAdapter", 2, "updating Adapter",
                            "A S1 50, A S2 50, D S1 4096, D S2 4096, P", CHANGED},
          RejectedStatement{"FindingTheFirstDrive", 3, "updating PD",
                            "A S1 60, A S2 50, D S1 512, D S2 4096, P", CHANGED},
          RejectedStatement{"TheFirstDrive", 4, "updating PD",
                            "A S1 60, A S2 50, D S1 512, D S2 4096, P", CHANGED},
          RejectedStatement{"FindingTheSecondDrive", 5, "updating PD",
                            "A S1 60, A S2 50, D S1 4096, D S2 512, P", CHANGED},
          RejectedStatement{"TheSecondDrive", 6, "updating PD",
                            "A S1 60, A S2 50, D S1 4096, D S2 512, P", CHANGED});

class RejectionAtRemoval : public OneRejection {};

TEST_P(RejectionAtRemoval, AffectsOnlyOneRow) {
  StartWatch();
  SetSectorSize("4096");
  Hide(1);
  RejectStatement();
  ScanOnce();
  ExpectRejected(m_DatabaseLines);
  EXPECT_THAT(m_Host.Topology(), SizeIs(3));
  ExpectSuccessfulScan();
}

// The row of the removed adapter remains.
constexpr const char* A2_RETAINED = "A S1 50, A S2 50, D S1 4096, D S2 512, P";
constexpr const char* A2_DELETED = "A S1 50, D S1 4096, D S2 512, P";

ALL_CASES(RejectionAtRemoval,
          RejectedStatement{"TheAdapter", 1, "removing Adapter", A2_RETAINED, A2_RETAINED},
          RejectedStatement{"FindingTheOtherDrive", 2, "updating PD",
                            "A S1 50, D S1 512, D S2 512, P", A2_DELETED},
          RejectedStatement{"TheOtherDrive", 3, "updating PD", "A S1 50, D S1 512, D S2 512, P",
                            A2_DELETED});

class RejectionAtArrival : public OneRejection {};

TEST_P(RejectionAtArrival, AffectsOnlyOneRow) {
  StartWatch();
  Hide(1);
  WaitForScans();
  Show(1);
  SetSectorSize("4096");
  RejectStatement();
  ScanOnce();
  ExpectRejected(m_DatabaseLines);
  EXPECT_THAT(m_Host.Topology(), SizeIs(5));
  ExpectSuccessfulScan();
}

// The drive's first row still exists and is the row that is updated.
constexpr const char* BACK = "A S1 50, A S2 50, D S1 4096, D S2 4096, D S2 4096, P";
constexpr const char* BACK_WITHOUT_ADAPTER = "A S1 50, D S1 4096, D S2 4096, D S2 4096, P";
constexpr const char* BACK_WITHOUT_DRIVE = "A S1 50, A S2 50, D S1 4096, D S2 4096, P";
constexpr const char* BACK_OLD_D1 = "A S1 50, A S2 50, D S1 512, D S2 4096, D S2 4096, P";
constexpr const char* BACK_OLD_D2 = "A S1 50, A S2 50, D S1 4096, D S2 512, D S2 4096, P";

ALL_CASES(RejectionAtArrival,
          RejectedStatement{"ItsAdaptersKey", 1, "inserting Adapter", BACK_WITHOUT_ADAPTER,
                            BACK_WITHOUT_ADAPTER},
          RejectedStatement{"ItsAdapter", 2, "inserting Adapter", BACK_WITHOUT_ADAPTER,
                            BACK_WITHOUT_ADAPTER},
          RejectedStatement{"ItsDrivesKey", 3, "inserting PD", BACK_WITHOUT_DRIVE,
                            BACK_WITHOUT_DRIVE},
          RejectedStatement{"ItsDrive", 4, "inserting PD", BACK_WITHOUT_DRIVE, BACK_WITHOUT_DRIVE},
          RejectedStatement{"FindingTheOtherDrive", 5, "updating PD", BACK_OLD_D1, BACK},
          RejectedStatement{"TheOtherDrive", 6, "updating PD", BACK_OLD_D1, BACK},
          RejectedStatement{"FindingItsDrive", 7, "updating PD", BACK_OLD_D2, BACK},
          RejectedStatement{"ItsDriveAgain", 8, "updating PD", BACK_OLD_D2, BACK});

// The plug-in catches only database exceptions.

class OtherFailure : public TwoCards, public testing::WithParamInterface<std::size_t> {};

TEST_P(OtherFailure, PropagatesToTheHostAndReleasesTheLocks) {
  m_Statements.BeginFailing(GetParam(), std::runtime_error("other failure"));
  EXPECT_THROW(
      try { m_Host.Initialize(); } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "other failure");
        throw;
      },
      std::runtime_error);
  EXPECT_THAT(m_Statements.Statements(), SizeIs(GetParam()));
  for (const HostKit::LockView& lock : HostKit::Locks()) EXPECT_EQ(lock.depth, 0U);
  EXPECT_THAT(FailuresIn(m_Host.Traces(128)), IsEmpty());
  EXPECT_THAT(m_Host.Traces(2), testing::Not(testing::Contains(HasSubstr("LEAVE Initialize"))));
}

INSTANTIATE_TEST_SUITE_P(AtEachStatement, OtherFailure, testing::Range<std::size_t>(1, 11));

TEST_F(RowStatements, DoNotTraceOtherFailures) {
  m_Statements.BeginFailing(1, std::runtime_error("other failure"));
  EXPECT_THROW(m_Host.Initialize(), std::runtime_error);
  EXPECT_THAT(m_Host.Traces(128), IsEmpty());
}

}  // namespace
}  // namespace CorvaneTest
