// Databases that another user could have placed at the host's path. Most of these tests require
// root, because they create another user's files.
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>

#include "hostkit/EventLog.h"
#include "tests/hostkit/database/Fixture.h"

namespace {

namespace fs = std::filesystem;

constexpr uid_t kOtherUser = 65534;

class DatabaseTrust : public HostDatabaseTest {
 protected:
  DatabaseTrust() {
    Use(":memory:");
    m_Shared = m_Directory.Path() / "shared";
    chmod(m_Directory.Path().c_str(), 0755);
    fs::create_directory(m_Shared);
    chmod(m_Shared.c_str(), 01777);
  }
  void ChangeOwner(const fs::path& file) {
    ASSERT_EQ(lchown(file.c_str(), kOtherUser, kOtherUser), 0);
  }

  // Runs a statement of a plug-in and appends an event. Returns both errors, as one string if they
  // are equal; empty if both succeed.
  std::string Failure() {
    const std::string rowError = FailureOf("SELECT COUNT(*) FROM host_adapter_rows");
    std::string eventError;
    try {
      AppendEvent(PI::CEvent());
    } catch (const DBEXCEPTION::DatabaseException& exception) {
      eventError = exception.what();
    }
    return rowError == eventError ? rowError : rowError + " and " + eventError;
  }

  fs::path m_Shared;
};

TEST_F(DatabaseTrust, AcceptsADirectoryWithTheStickyBit) {
  Use((m_Shared / "corvane.db").string());
  EXPECT_EQ(Failure(), "");
  EXPECT_TRUE(fs::exists(m_Shared / "corvane.db"));
}

TEST_F(DatabaseTrust, FollowsLinksOfTheSameUser) {
  const auto link = m_Directory.Path() / "link.db";
  fs::create_symlink(File(), link);
  Use(link.string());
  EXPECT_EQ(Failure(), "");
  EXPECT_EQ(OtherProgram(File()).Run("SELECT COUNT(*) FROM host_event_log"), "1");
  EXPECT_TRUE(fs::is_symlink(link));
}

TEST_F(DatabaseTrust, CreatesALockThatOthersCannotOpen) {
  Use(File().string());
  struct stat status {};
  ASSERT_EQ(stat((File().string() + "-host").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0600U);
}

// The lock must be a regular file, because other users could hold a lock on anything else.
TEST_F(DatabaseTrust, KeepsItsRowsInMemoryWithoutALock) {
  Use(File().string());
  Use(":memory:");
  const std::string lock = File().string() + "-host";
  ASSERT_EQ(mkfifo(lock.c_str(), 0600), 0);
  Use(File().string());
  m_pStorage->insert(AnAdapter(1));
  EXPECT_EQ(Counts(), "adapters 1 drives 0 plugins 0");
  EXPECT_EQ(OtherProgram(File()).Run("SELECT COUNT(*) FROM host_adapter_rows"), "0");
  fs::remove(lock);
  EXPECT_EQ(Failure(), "");
  EXPECT_EQ(OtherProgram(File()).Run("SELECT COUNT(*) FROM host_adapter_rows"), "1");
}

// Another user could have locked the file.
TEST_F(DatabaseTrust, ReplacesALockThatOthersCanOpen) {
  Use(":memory:");
  const std::string lock = File().string() + "-host";
  WriteText(lock, "");
  chmod(lock.c_str(), 0644);
  const int held = open(lock.c_str(), O_RDONLY | O_CLOEXEC);
  ASSERT_EQ(flock(held, LOCK_EX | LOCK_NB), 0);
  Use(File().string());
  m_pStorage->insert(AnAdapter(1));
  EXPECT_EQ(OtherProgram(File()).Run("SELECT COUNT(*) FROM host_adapter_rows"), "1");
  struct stat status {};
  ASSERT_EQ(stat(lock.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0600U);
  close(held);
}

class DatabaseTrustOfRoot : public DatabaseTrust {
 protected:
  void SetUp() override {
    if (geteuid() != 0) GTEST_SKIP() << "only root can create another user's files";
  }
};

TEST_F(DatabaseTrustOfRoot, RejectsALinkOfAnotherUser) {
  const auto target = m_Directory.Path() / "target";
  WriteText(target, "");
  fs::create_symlink(target, m_Shared / "corvane.db");
  ChangeOwner(m_Shared / "corvane.db");
  Use((m_Shared / "corvane.db").string());
  EXPECT_EQ(Failure(), (m_Shared / "corvane.db").string() + " is owned by uid 65534");
  EXPECT_EQ(ReadText(target), "");
  EXPECT_THROW(HostKit::ReadEvents(0, 10), DBEXCEPTION::DatabaseException);
}

TEST_F(DatabaseTrustOfRoot, RejectsAFileOfAnotherUser) {
  for (const char* suffix : {"", "-wal", "-shm", "-journal", "-host"}) {
    const fs::path untrusted = (m_Shared / "corvane.db").string() + suffix;
    WriteText(untrusted, "");
    ChangeOwner(untrusted);
    Use((m_Shared / "corvane.db").string());
    EXPECT_EQ(Failure(), untrusted.string() + " is owned by uid 65534");
    EXPECT_EQ(ReadText(untrusted), "");
    fs::remove(untrusted);
  }
  EXPECT_EQ(Failure(), "");
}

TEST_F(DatabaseTrustOfRoot, RejectsADirectoryThatOthersCanWrite) {
  const auto directory = m_Directory.Path() / "open";
  fs::create_directory(directory);
  chmod(directory.c_str(), 0777);
  Use((directory / "corvane.db").string());
  EXPECT_EQ(Failure(), directory.string() + " can be written by other users");
  EXPECT_TRUE(fs::is_empty(directory));
  chmod(directory.c_str(), 0755);
  EXPECT_EQ(Failure(), "");
}

TEST_F(DatabaseTrustOfRoot, AcceptsDirectoriesThatRootCreated) {
  const mode_t before = umask(0);
  Use((m_Directory.Path() / "new" / "newer" / "corvane.db").string());
  umask(before);
  EXPECT_EQ(Failure(), "");
}

// The lock is in the directory of the file, not in that of the link.
TEST_F(DatabaseTrustOfRoot, IgnoresALockInTheDirectoryOfALink) {
  Use(File().string());
  Use(":memory:");
  const auto link = m_Shared / "link.db";
  fs::create_symlink(File(), link);
  const std::string untrusted = link.string() + "-host";
  WriteText(untrusted, "");
  ChangeOwner(untrusted);
  const int held = open(untrusted.c_str(), O_RDWR | O_CLOEXEC);
  ASSERT_EQ(flock(held, LOCK_EX | LOCK_NB), 0);
  Use(link.string());
  m_pStorage->insert(AnAdapter(1));
  EXPECT_EQ(OtherProgram(File()).Run("SELECT COUNT(*) FROM host_adapter_rows"), "1");
  close(held);
}

// An unprivileged user may use another user's directory, but not the lock in it.
TEST_F(DatabaseTrustOfRoot, IgnoresALockOfAnotherUser) {
  const auto directory = m_Directory.Path() / "theirs";
  fs::create_directory(directory);
  ChangeOwner(directory);
  const auto file = directory / "corvane.db";
  WriteText(file.string() + "-host", "");
  chmod((file.string() + "-host").c_str(), 0666);
  ASSERT_EQ(chown((file.string() + "-host").c_str(), 1, 1), 0);
  ASSERT_EQ(seteuid(kOtherUser), 0);
  Use(file.string());
  m_pStorage->insert(AnAdapter(1));
  EXPECT_EQ(Counts(), "adapters 1 drives 0 plugins 0");
  Use(":memory:");
  ASSERT_EQ(seteuid(0), 0);
  EXPECT_EQ(OtherProgram(file).Run("SELECT COUNT(*) FROM sqlite_schema WHERE name = "
                                   "'host_adapter_rows'"),
            "0");
}

}  // namespace
