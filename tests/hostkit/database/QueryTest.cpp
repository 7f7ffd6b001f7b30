#include "tests/hostkit/database/Fixture.h"

namespace {

using Cells = std::vector<std::string>;

class Query : public HostDatabaseTest {};

TEST_F(Query, ReturnsAllCellsInOneList) {
  EXPECT_EQ(HostDatabaseTest::Query("SELECT 1, 'a' UNION SELECT 2, 'b'"),
            (Cells{"1", "a", "2", "b"}));
}

TEST_F(Query, ReturnsCellsOfAllTypesAsText) {
  EXPECT_EQ(HostDatabaseTest::Query("SELECT NULL, -5, 2.5, '', x'6162', 12.0"),
            (Cells{"NULL", "-5", "2.5", "", "ab", "12.0"}));
}

TEST_F(Query, RunsSeveralStatementsInOrder) {
  EXPECT_EQ(HostDatabaseTest::Query("INSERT INTO host_plugin_rows (pi_object_id) VALUES (1);"
                                    "SELECT pi_object_id FROM host_plugin_rows; -- a comment\n"
                                    "UPDATE host_plugin_rows SET pi_object_id = 2; ;"
                                    "SELECT pi_object_id FROM host_plugin_rows"),
            (Cells{"1", "2"}));
}

// From the third run on, a compiled statement is reused.
TEST_F(Query, ReadsTheCurrentRowsEachTimeAStatementIsRepeated) {
  std::vector<std::string> counts;
  for (int i = 0; i < 4; ++i) {
    HostDatabaseTest::Query("INSERT INTO host_plugin_rows (pi_object_id) VALUES (1)");
    counts.push_back(HostDatabaseTest::Query("SELECT COUNT(*) FROM host_plugin_rows").at(0));
  }
  EXPECT_EQ(counts, (Cells{"1", "2", "3", "4"}));
}

TEST_F(Query, RepeatsAStatementThatFails) {
  HostDatabaseTest::Query("INSERT INTO host_plugin_rows (ID) VALUES (7)");
  const std::string insert = "INSERT INTO host_plugin_rows (ID) VALUES (8)";
  std::vector<std::string> failures;
  for (int i = 0; i < 4; ++i) {
    HostDatabaseTest::Query(insert);
    failures.push_back(FailureOf(insert));
    HostDatabaseTest::Query("DELETE FROM host_plugin_rows WHERE ID = 8");
  }
  const std::string failure = "UNIQUE constraint failed: host_plugin_rows.ID";
  EXPECT_EQ(failures, (Cells{failure, failure, failure, failure}));
  EXPECT_EQ(Counts(), "adapters 0 drives 0 plugins 1");
}

// A reused statement must end, because it would otherwise block the other program.
TEST_F(Query, LeavesTheFileToOtherProgramsAfterARepeatedStatement) {
  for (int i = 0; i < 4; ++i) HostDatabaseTest::Query("SELECT ID FROM host_plugin_rows");
  for (int i = 0; i < 4; ++i) HostDatabaseTest::Query("DELETE FROM host_plugin_rows WHERE ID = 8");
  OtherProgram other(File());
  other.Run("INSERT INTO host_plugin_rows (ID) VALUES (3); PRAGMA wal_checkpoint(TRUNCATE)");
  EXPECT_EQ(HostDatabaseTest::Query("SELECT ID FROM host_plugin_rows"), Cells{"3"});
}

TEST_F(Query, FindsTheRowsOfAnAdapterAndADriveByAnIndex) {
  OtherProgram other(File());
  EXPECT_EQ(other.Run("SELECT sql FROM sqlite_schema WHERE type = 'index' AND tbl_name LIKE "
                      "'host_%_rows' ORDER BY sql"),
            "CREATE INDEX host_adapter_rows_by_ad_adapter_number ON host_adapter_rows "
            "(ad_adapter_number) CREATE INDEX host_drive_rows_by_pd_serial_number ON "
            "host_drive_rows (pd_serial_number)");
}

TEST_F(Query, ReturnsAnEmptyListForAnEmptyString) {
  EXPECT_EQ(HostDatabaseTest::Query(""), Cells());
  EXPECT_EQ(HostDatabaseTest::Query(" -- nothing to do"), Cells());
}

TEST_F(Query, AcceptsTheForeignKeysPragma) {
  EXPECT_EQ(HostDatabaseTest::Query("PRAGMA foreign_keys = ON; SELECT 5"), Cells{"5"});
}

TEST_F(Query, StopsAtTheStatementThatFails) {
  const std::string insert = "INSERT INTO host_plugin_rows (pi_object_id) VALUES (1);";
  EXPECT_EQ(FailureOf(insert + "INSERT INTO m VALUES (1);" + insert), "no such table: m");
  EXPECT_EQ(Counts(), "adapters 0 drives 0 plugins 1");
}

TEST_F(Query, ReportsTheErrorMessageFromSqlite) {
  EXPECT_EQ(FailureOf("SELEC 1"), "near \"SELEC\": syntax error");
  EXPECT_EQ(FailureOf("SELECT 'open"), "unrecognized token: \"'open\"");
}

TEST_F(Query, RejectsANulCharacter) {
  EXPECT_EQ(FailureOf(std::string("SELECT 1\0 WHERE 0", 17)),
            "a statement contains a NUL character");
}

TEST_F(Query, CannotOpenAnotherFile) {
  const std::string other = (m_Directory.Path() / "other.db").string();
  EXPECT_EQ(FailureOf("ATTACH '" + other + "' AS other"), "not authorized");
  EXPECT_NE(FailureOf("VACUUM INTO '" + other + "'"), "");
  EXPECT_FALSE(std::filesystem::exists(other));
}

TEST_F(Query, UsesAWriteAheadLog) {
  EXPECT_EQ(OtherProgram(File()).Run("PRAGMA journal_mode"), "wal");
}

}  // namespace
