#include "hostkit/Database.h"
#include "hostkit/EventLog.h"
#include "tests/hostkit/database/Fixture.h"

namespace {

class Restarts : public HostDatabaseTest {
 protected:
  void WriteRowOfEachKind() {
    m_pStorage->insert(AnAdapter(1));
    RaidDataModels::PD drive;
    drive.objectId = 2;
    m_pStorage->insert(drive);
    m_pStorage->insert(APlugin());
    AppendEvent(PI::CEvent());
  }
};

TEST_F(Restarts, ClearTheRowsAndKeepTheEvents) {
  WriteRowOfEachKind();
  EXPECT_EQ(Counts(), "adapters 1 drives 1 plugins 1");
  Restart();
  EXPECT_EQ(Counts(), "adapters 0 drives 0 plugins 0");
  EXPECT_EQ(HostKit::ReadEvents(0, 10).size(), 1U);
  EXPECT_EQ(m_pStorage->insert(AnAdapter(1)), 1);
}

TEST_F(Restarts, ClearTheRowsBeforeTheFirstStatement) {
  WriteRowOfEachKind();
  Restart();
  EXPECT_EQ(OtherProgram(File()).Run("SELECT COUNT(*) FROM host_adapter_rows"), "0");
}

TEST_F(Restarts, KeepTheStoragePointer) {
  const auto before = getDatabasePointer();
  Restart();
  EXPECT_EQ(getDatabasePointer(), before);
  EXPECT_EQ(getDatabasePointer()->tables.size(), 3U);
  EXPECT_EQ(getDatabasePointer()->modelMaps.size(), 3U);
}

TEST_F(Restarts, CreateTheFileAndItsDirectories) {
  const auto file = m_Directory.Path() / "a" / "b" / "c.db";
  Use(file.string());
  EXPECT_TRUE(std::filesystem::exists(file));
  EXPECT_EQ(Counts(), "adapters 0 drives 0 plugins 0");
}

TEST_F(Restarts, KeepTheRowsOfOtherFiles) {
  WriteRowOfEachKind();
  Use((m_Directory.Path() / "other.db").string());
  EXPECT_EQ(Counts(), "adapters 0 drives 0 plugins 0");
  EXPECT_EQ(OtherProgram(File()).Run("SELECT COUNT(*) FROM host_adapter_rows"), "1");
}

TEST_F(Restarts, DiscardRowsAndEventsWithoutAFile) {
  Use(":memory:");
  WriteRowOfEachKind();
  EXPECT_EQ(Counts(), "adapters 1 drives 1 plugins 1");
  Restart();
  EXPECT_EQ(HostKit::ReadEvents(0, 10).size(), 0U);
  EXPECT_FALSE(std::filesystem::exists(":memory:"));
}

TEST_F(Restarts, TreatAUriAsAFileName) {
  const auto before = std::filesystem::current_path();
  std::filesystem::current_path(m_Directory.Path());
  Use("file:x.db?mode=memory");
  std::filesystem::current_path(before);
  EXPECT_TRUE(std::filesystem::exists(m_Directory.Path() / "file:x.db?mode=memory"));
}

TEST_F(Restarts, RecreateTheTablesOfAnotherVersion) {
  WriteRowOfEachKind();
  Use(":memory:");
  OtherProgram(File()).Run(
      "DROP TABLE host_plugin_rows; CREATE TABLE host_plugin_rows (ID INTEGER PRIMARY KEY, pi_old);"
      "INSERT INTO host_plugin_rows VALUES (1, 'x'); CREATE TABLE mine (v);"
      "INSERT INTO mine VALUES ('kept')");
  Use(File().string());
  EXPECT_EQ(m_pStorage->insert(APlugin()), 1);
  EXPECT_EQ(OtherProgram(File()).Run("SELECT v FROM mine"), "kept");
  EXPECT_EQ(HostKit::ReadEvents(0, 10).size(), 1U);
}

}  // namespace
