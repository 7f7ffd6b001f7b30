#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "console/base/Failure.h"
#include "console/plugin/DatabaseLock.h"
#include "tests/support/Temporary.h"

namespace {

using Console::ExitCode;
using testing::HasSubstr;

class DatabaseLock : public testing::Test {
 protected:
  std::string File() const { return (m_Directory.Path() / "state" / "a.db").string(); }
  std::string LockFile() const { return File() + "-service"; }

  const TemporaryDirectory m_Directory;
  const ScopedVariable m_Variable{"CORVANE_DATABASE", File()};
};

// Returns the exit code and the text of the call's failure, or `ExitCode::Done` if it succeeds.
template <class Call>
std::pair<ExitCode, std::string> FailureOf(Call call) {
  try {
    call();
  } catch (const Console::Failure& failure) {
    return {failure.m_Code, failure.m_Text};
  }
  return {ExitCode::Done, ""};
}

TEST_F(DatabaseLock, NamesTheServiceUntilItIsReleased) {
  EXPECT_FALSE(Console::FindLockHolder());
  {
    const Console::DatabaseLock lock("/run/a b.sock");
    const auto holder = Console::FindLockHolder();
    ASSERT_TRUE(holder);
    EXPECT_EQ(getpid(), holder->m_Process);
    EXPECT_EQ("/run/a b.sock", holder->m_Socket);
  }
  EXPECT_FALSE(Console::FindLockHolder());
  Console::RequireNoService();
}

TEST_F(DatabaseLock, RefusesCommandsAndASecondService) {
  const Console::DatabaseLock lock("/run/s");
  const std::string who =
      File() + " is in use by the service with process id " + std::to_string(getpid());
  const auto command = FailureOf([] { Console::RequireNoService(); });
  EXPECT_EQ(ExitCode::Refused, command.first);
  EXPECT_EQ("cannot load the plug-in: " + who, command.second);
  const auto service = FailureOf([] { Console::DatabaseLock("/run/other"); });
  EXPECT_EQ(ExitCode::Refused, service.first);
  EXPECT_EQ("cannot serve: " + who, service.second);
  EXPECT_EQ("/run/s", Console::FindLockHolder()->m_Socket);
}

TEST_F(DatabaseLock, IsFoundThroughALinkToTheDatabase) {
  const Console::DatabaseLock lock("/run/s");
  WriteText(File(), "");
  const std::filesystem::path link = m_Directory.Path() / "link.db";
  std::filesystem::create_symlink(File(), link);
  const ScopedVariable other("CORVANE_DATABASE", link.string());
  EXPECT_TRUE(Console::FindLockHolder());
}

TEST_F(DatabaseLock, DoesNotApplyToAnInMemoryDatabase) {
  const ScopedVariable memory("CORVANE_DATABASE", ":memory:");
  const Console::DatabaseLock lock("/run/s");
  const Console::DatabaseLock another("/run/t");
  EXPECT_FALSE(Console::FindLockHolder());
}

TEST_F(DatabaseLock, ReplacesALockFileLeftByAnEarlierService) {
  Console::DatabaseLock("/run/a/very/long/name/of/a/socket");
  EXPECT_TRUE(std::filesystem::exists(LockFile()));
  const Console::DatabaseLock lock("/run/s");
  EXPECT_EQ(std::to_string(getpid()) + "\n/run/s\n", ReadText(LockFile()));
}

TEST_F(DatabaseLock, CreatesAFileThatOthersCannotOpen) {
  const Console::DatabaseLock lock("/run/s");
  struct stat status = {};
  ASSERT_EQ(0, stat(LockFile().c_str(), &status));
  EXPECT_EQ(0600U, status.st_mode & 07777U);
}

TEST_F(DatabaseLock, IsRespectedEvenIfTheFileIsInvalid) {
  std::filesystem::create_directories(m_Directory.Path() / "state");
  for (const char* const text : {"", "12", "x\n", "12\n", "12\n\n"}) {
    WriteText(LockFile(), text);
    const Base::Descriptor file(open(LockFile().c_str(), O_RDWR | O_CLOEXEC));
    ASSERT_EQ(0, flock(file.Get(), LOCK_EX));
    EXPECT_EQ(ExitCode::Refused, FailureOf([] { Console::RequireNoService(); }).first) << text;
  }
}

struct LockText {
  const char* m_Text;
  pid_t m_Process;
  const char* m_Socket;
};

const LockText kLockTexts[] = {
    {"12\n/run/s\n", 12, "/run/s"},
    {"12\n\n", 12, ""},
    {"x\n/run/s\n", -1, "/run/s"},
    {"12x\n/run/s\n", -1, "/run/s"},
    {"-12\n/run/s\n", -1, "/run/s"},
    {"0\n/run/s\n", -1, "/run/s"},
    {"12\n/run/", -1, ""},
    {"12\n", -1, ""},
    {"12", -1, ""},
    {"", -1, ""},
};

TEST(LockFile, IsUsedOnlyIfItIsComplete) {
  for (const LockText& row : kLockTexts) {
    const Console::LockHolder holder = Console::ParseLockFile(row.m_Text);
    EXPECT_EQ(row.m_Process, holder.m_Process) << row.m_Text;
    EXPECT_EQ(row.m_Socket, holder.m_Socket) << row.m_Text;
  }
}

TEST_F(DatabaseLock, RejectsALockFileThatIsNotARegularFile) {
  std::filesystem::create_directories(m_Directory.Path() / "state");
  std::filesystem::create_symlink(m_Directory.Path() / "elsewhere", LockFile());
  EXPECT_EQ(ExitCode::Failed, FailureOf([] { Console::DatabaseLock("/run/s"); }).first);
  EXPECT_FALSE(std::filesystem::exists(m_Directory.Path() / "elsewhere"));
  std::filesystem::remove(LockFile());
  ASSERT_EQ(0, mkfifo(LockFile().c_str(), 0600));
  const auto fifo = FailureOf([] { Console::DatabaseLock("/run/s"); });
  EXPECT_THAT(fifo.second, HasSubstr("is not a regular file"));
}

TEST_F(DatabaseLock, RejectsADirectoryOfAnotherUserIfRunByRoot) {
  if (geteuid() != 0) GTEST_SKIP() << "needs root";
  const std::filesystem::path directory = m_Directory.Path() / "state";
  std::filesystem::create_directories(directory);
  ASSERT_EQ(0, chown(directory.c_str(), 65534, 65534));
  const auto failure = FailureOf([] { Console::DatabaseLock("/run/s"); });
  EXPECT_EQ(ExitCode::Permission, failure.first);
  EXPECT_THAT(failure.second, HasSubstr("is owned by uid 65534"));
}

}  // namespace
