// Faults of the database file. The database must work again after the fault is removed.
#include <chrono>
#include <fstream>
#include <thread>

#include "hostkit/Database.h"
#include "hostkit/EventLog.h"
#include "tests/hostkit/database/Fixture.h"
#include "tests/support/FileSizeLimit.h"
#include "tests/support/OrdinaryUser.h"
#include "tests/support/SqliteInterceptor.h"

namespace {

constexpr const char* kRead = "SELECT 1";
constexpr const char* kWrite = "INSERT INTO host_plugin_rows (pi_vendor) VALUES (\"Skatra\")";

class FaultyDatabase : public HostDatabaseTest {
 protected:
  // Closes the file until the next call to `Use`.
  void CloseFile() { Use(":memory:"); }

  void Damage(std::streamoff at, const std::string& bytes) {
    std::fstream file(File(), std::ios::in | std::ios::out | std::ios::binary);
    file.seekp(at);
    file << bytes;
  }

  void ExpectWorking() {
    EXPECT_EQ(FailureOf(kRead), "");
    EXPECT_EQ(FailureOf(kWrite), "");
  }
};

TEST_F(FaultyDatabase, AFileThatIsNotADatabaseIsReportedAndNotChanged) {
  CloseFile();
  const std::string text = "These are my notes, and they are longer than a header of any file.\n";
  WriteText(File(), text + text);
  Use(File().string());
  EXPECT_EQ(getDatabasePointer(), m_pStorage);
  EXPECT_EQ(FailureOf(kRead), "file is not a database");
  EXPECT_EQ(FailureOf(kWrite), "file is not a database");
  EXPECT_EQ(ReadText(File()), text + text);
}

TEST_F(FaultyDatabase, WorksOnceAFileThatIsNotADatabaseIsRemoved) {
  CloseFile();
  WriteText(File(), std::string(500, 'x'));
  Use(File().string());
  EXPECT_EQ(FailureOf(kRead), "file is not a database");
  std::filesystem::remove(File());
  ExpectWorking();
}

TEST_F(FaultyDatabase, ADamagedFileIsReportedAndNotChanged) {
  m_pStorage->insert(AnAdapter(1));
  AppendEvent(PI::CEvent());
  CloseFile();
  const std::string intact = ReadText(File());
  Damage(8192, std::string(4096, '\x5A'));
  const std::string damaged = ReadText(File());
  Use(File().string());
  EXPECT_EQ(FailureOf(kWrite).substr(0, 34), "database disk image is malformed: ");
  CloseFile();
  EXPECT_EQ(ReadText(File()), damaged);
  WriteText(File(), intact);
  Use(File().string());
  ExpectWorking();
  EXPECT_EQ(HostKit::ReadEvents(0, 10).size(), 1U);
}

TEST_F(FaultyDatabase, ATruncatedFileIsReportedAndNotChanged) {
  CloseFile();
  const auto half = std::filesystem::file_size(File()) / 2;
  std::filesystem::resize_file(File(), half);
  const std::string truncated = ReadText(File());
  Use(File().string());
  EXPECT_NE(FailureOf(kRead), "");
  EXPECT_NE(FailureOf(kWrite), "");
  CloseFile();
  EXPECT_EQ(ReadText(File()), truncated);
}

TEST_F(FaultyDatabase, AnEmptyFileBecomesADatabase) {
  CloseFile();
  WriteText(File(), "");
  Use(File().string());
  ExpectWorking();
}

TEST_F(FaultyDatabase, ADirectoryInPlaceOfTheFileIsReported) {
  CloseFile();
  std::filesystem::remove(File());
  std::filesystem::create_directory(File());
  Use(File().string());
  EXPECT_EQ(FailureOf(kRead), "unable to open database file");
  std::filesystem::remove(File());
  ExpectWorking();
}

TEST_F(FaultyDatabase, AFileInPlaceOfTheDirectoryIsReported) {
  const auto directory = m_Directory.Path() / "directory";
  WriteText(directory, "x");
  Use((directory / "corvane.db").string());
  EXPECT_EQ(FailureOf(kRead), "unable to open database file");
  std::filesystem::remove(directory);
  ExpectWorking();
}

TEST_F(FaultyDatabase, ARemovedFileIsRecreated) {
  m_pStorage->insert(AnAdapter(1));
  std::filesystem::remove_all(File().parent_path());
  EXPECT_EQ(Counts(), "adapters 0 drives 0 plugins 0");
  EXPECT_EQ(m_pStorage->insert(AnAdapter(2)), 1);
  EXPECT_EQ(OtherProgram(File()).Run("SELECT ad_adapter_number FROM host_adapter_rows"), "2");
}

TEST_F(FaultyDatabase, TheRowsOfAFileThatReplacesTheOpenOneAreCleared) {
  m_pStorage->insert(AnAdapter(1));
  AppendEvent(PI::CEvent());
  Use((m_Directory.Path() / "second.db").string());
  m_pStorage->insert(AnAdapter(2));
  std::filesystem::rename(File(), m_Directory.Path() / "second.db");
  EXPECT_EQ(Counts(), "adapters 0 drives 0 plugins 0");
  EXPECT_EQ(HostKit::ReadEvents(0, 10).size(), 1U);
  EXPECT_EQ(OtherProgram(m_Directory.Path() / "second.db").Run("PRAGMA integrity_check"), "ok");
}

TEST_F(FaultyDatabase, WorksAfterAnotherProgramReleasesItsLock) {
  OtherProgram other(File());
  other.Run("BEGIN IMMEDIATE");
  EXPECT_EQ(FailureOf(kRead), "");
  EXPECT_EQ(FailureOf(kWrite), "database is locked");
  other.Run("COMMIT");
  ExpectWorking();
}

TEST_F(FaultyDatabase, ClearsTheRowsOnceAStartupLockIsReleased) {
  m_pStorage->insert(AnAdapter(1));
  CloseFile();
  OtherProgram other(File());
  other.Run("BEGIN IMMEDIATE");
  Use(File().string());
  EXPECT_EQ(FailureOf(kRead), "database is locked");
  other.Run("COMMIT");
  EXPECT_EQ(Counts(), "adapters 0 drives 0 plugins 0");
  ExpectWorking();
}

TEST_F(FaultyDatabase, WaitsForAShortLock) {
  OtherProgram other(File());
  // Repeat the test if a busy machine delayed this thread, so that the lock was held too long.
  for (;;) {
    other.Run("BEGIN IMMEDIATE");
    std::string failure;
    std::thread waiting([&] { failure = FailureOf(kWrite); });
    const auto begin = std::chrono::steady_clock::now();
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    other.Run("COMMIT");
    const auto held = std::chrono::steady_clock::now() - begin;
    waiting.join();
    if (held > std::chrono::milliseconds(250)) continue;
    EXPECT_EQ(failure, "");
    break;
  }
}

TEST_F(FaultyDatabase, WorksAfterTheDatabaseWasFull) {
  const SqliteInterceptor interceptor;
  Restart();
  AppendEvent(PI::CEvent());
  SqliteInterceptor::Run("PRAGMA max_page_count = 1");
  const std::string large =
      "INSERT INTO host_plugin_rows (pi_vendor) VALUES (\"" + std::string(100000, 'x') + "\")";
  EXPECT_EQ(FailureOf(large), "database or disk is full");
  EXPECT_EQ(FailureOf(kRead), "");
  SqliteInterceptor::Run("PRAGMA max_page_count = 1000000");
  EXPECT_EQ(FailureOf(large), "");
  EXPECT_EQ(HostKit::ReadEvents(0, 10).size(), 1U);
}

TEST_F(FaultyDatabase, WorksAfterTheDiskWasFull) {
  AppendEvent(PI::CEvent());
  m_pStorage->insert(AnAdapter(1));
  {
    const FileSizeLimit limit(4096);
    EXPECT_EQ(FailureOf(kWrite), "disk I/O error");
  }
  // The file is reopened, and the host continues.
  EXPECT_EQ(Counts(), "adapters 1 drives 0 plugins 0");
  ExpectWorking();
  EXPECT_EQ(HostKit::ReadEvents(0, 10).size(), 1U);
}

TEST_F(FaultyDatabase, AReadOnlyFileIsReported) {
  m_pStorage->insert(AnAdapter(1));
  CloseFile();
  MakeWorldReadable(File());
  const OrdinaryUser user;
  Use(File().string());
  EXPECT_EQ(FailureOf(kRead), "attempt to write a readonly database");
  EXPECT_EQ(FailureOf(kWrite), "attempt to write a readonly database");
}

TEST_F(FaultyDatabase, WorksOnceAReadOnlyFileIsWritable) {
  CloseFile();
  using std::filesystem::perms;
  std::filesystem::permissions(File(), perms::owner_read);
  {
    const OrdinaryUser user;
    Use(File().string());
    EXPECT_NE(FailureOf(kRead), "");
  }
  std::filesystem::permissions(File(), perms::owner_all);
  ExpectWorking();
}

TEST_F(FaultyDatabase, AReadOnlyDirectoryIsReported) {
  std::filesystem::permissions(m_Directory.Path(), std::filesystem::perms::all);
  const auto directory = m_Directory.Path() / "closed";
  std::filesystem::create_directory(directory);
  using std::filesystem::perms;
  std::filesystem::permissions(directory, perms::owner_read | perms::owner_exec);
  const OrdinaryUser user;
  Use((directory / "deeper" / "corvane.db").string());
  EXPECT_EQ(FailureOf(kRead), "unable to open database file");
}

}  // namespace
