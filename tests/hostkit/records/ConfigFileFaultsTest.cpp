// Faults of the ini file, its directory and the disk. No test relies on permission bits, because
// the tests may run as root.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <thread>

#include "tests/hostkit/records/ConfigDirectory.h"

namespace {

namespace fs = std::filesystem;

TEST(ConfigFileFaults, ADamagedFileIsNotChanged) {
  const ConfigDirectory config;
  const std::string bad[] = {"no ini file at all\n", "PollInterval=1\nPollInterval=2\n", "[S\n",
                             "A=1\n=2\n", std::string("\0\1\2\xFF", 4)};
  for (const std::string& text : bad) {
    WriteText(config.Ini(), text);
    EXPECT_EQ(config.Read("PollInterval"), "unreadable");
    EXPECT_EQ(config.Write("PollInterval", "30"), HostKit::RESULT_NOT_WRITTEN);
    EXPECT_EQ(ReadText(config.Ini()), text);
    EXPECT_EQ(config.FileCount(), 1U);
  }
}

TEST(ConfigFileFaults, AFileOfMoreThanAMebibyteIsNotChanged) {
  const ConfigDirectory config;
  const std::string text = "PollInterval=20\nA=" + std::string(1 << 20, 'x') + "\n";
  WriteText(config.Ini(), text);
  EXPECT_EQ(config.Read("PollInterval"), "unreadable");
  EXPECT_EQ(config.Write("PollInterval", "30"), HostKit::RESULT_NOT_WRITTEN);
  EXPECT_EQ(ReadText(config.Ini()), text);
}

TEST(ConfigFileFaults, AFileOfMoreThanAMebibyteIsNotWritten) {
  const ConfigDirectory config;
  WriteText(config.Ini(), "PollInterval=20\n");
  EXPECT_EQ(config.Write("A", std::string(1 << 20, 'x')), HostKit::RESULT_NOT_WRITTEN);
  EXPECT_EQ(ReadText(config.Ini()), "PollInterval=20\n");
}

TEST(ConfigFileFaults, ADirectoryInPlaceOfTheFileIsUnreadableAndKept) {
  const ConfigDirectory config;
  fs::create_directory(config.Ini());
  EXPECT_EQ(config.Read("PollInterval"), "unreadable");
  EXPECT_EQ(config.Write("PollInterval", "30"), HostKit::RESULT_NOT_WRITTEN);
  EXPECT_TRUE(fs::is_directory(config.Ini()));
}

TEST(ConfigFileFaults, APipeInPlaceOfTheFileDoesNotBlock) {
  const ConfigDirectory config;
  ASSERT_EQ(mkfifo(config.Ini().c_str(), 0600), 0);
  EXPECT_EQ(config.Read("PollInterval"), "unreadable");
  EXPECT_EQ(config.Write("PollInterval", "30"), HostKit::RESULT_NOT_WRITTEN);
  EXPECT_TRUE(fs::is_fifo(config.Ini()));
}

TEST(ConfigFileFaults, ALoopOfLinksIsUnreadableAndKept) {
  const ConfigDirectory config;
  fs::create_symlink("other.ini", config.Ini());
  fs::create_symlink("Corvane.ini", config.Directory() / "other.ini");
  EXPECT_EQ(config.Read("PollInterval"), "unreadable");
  EXPECT_EQ(config.Write("PollInterval", "30"), HostKit::RESULT_NOT_WRITTEN);
  EXPECT_TRUE(fs::is_symlink(config.Ini()));
}

TEST(ConfigFileFaults, AFileInThePathOfItsDirectoryPreventsWriting) {
  ConfigDirectory config;
  WriteText(config.Directory() / "file", "text");
  config.MoveTo(config.Directory() / "file" / "sub");
  EXPECT_EQ(config.Read("PollInterval"), "no key");
  EXPECT_EQ(config.Write("PollInterval", "30"), HostKit::RESULT_NOT_WRITTEN);
  EXPECT_EQ(ReadText(config.Directory() / "file"), "text");
}

TEST(ConfigFileFaults, ADirectoryThatRejectsNewFilesPreventsWriting) {
  ConfigDirectory config;
  config.MoveTo("/proc/self");
  EXPECT_EQ(config.Read("PollInterval"), "no key");
  EXPECT_EQ(config.Write("PollInterval", "30"), HostKit::RESULT_NOT_WRITTEN);
}

// Runs `work` in a child process and returns its result.
template <class Work>
int RunInChild(Work work) {
  std::fflush(nullptr);  // so that the child does not repeat buffered output of the parent
  const pid_t child = fork();
  if (child == 0) _exit(work());
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST(ConfigFileFaults, AFullDiskLeavesOnlyTheOldFile) {
  const ConfigDirectory config;
  WriteText(config.Ini(), "PollInterval=20\n");
  const int result = RunInChild([&config] {
    const rlimit full = {4, 4};
    std::signal(SIGXFSZ, SIG_IGN);
    if (setrlimit(RLIMIT_FSIZE, &full) != 0) return 99;
    return static_cast<int>(config.Write("PollInterval", "30"));
  });
  EXPECT_EQ(result, static_cast<int>(HostKit::RESULT_NOT_WRITTEN));
  EXPECT_EQ(ReadText(config.Ini()), "PollInterval=20\n");
  EXPECT_EQ(config.FileCount(), 1U);
}

TEST(ConfigFileFaults, RunningOutOfDescriptorsKeepsTheOldFile) {
  const ConfigDirectory config;
  WriteText(config.Ini(), "PollInterval=20\n");
  const int result = RunInChild([&config] {
    const rlimit none = {0, 0};
    if (setrlimit(RLIMIT_NOFILE, &none) != 0) return 99;
    return static_cast<int>(config.Write("PollInterval", "30"));
  });
  EXPECT_EQ(result, static_cast<int>(HostKit::RESULT_NOT_WRITTEN));
  EXPECT_EQ(ReadText(config.Ini()), "PollInterval=20\n");
}

// Any process that may read the directory can lock it.
TEST(ConfigFileFaults, ADirectoryThatAnotherProcessHasLockedPreventsWriting) {
  const ConfigDirectory config;
  const int held = open(config.Directory().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  ASSERT_EQ(flock(held, LOCK_EX | LOCK_NB), 0);
  EXPECT_EQ(config.Write("PollInterval", "30"), HostKit::RESULT_NOT_WRITTEN);
  close(held);
  EXPECT_EQ(config.Write("PollInterval", "30"), HostKit::RESULT_OK);
}

[[noreturn]] void WriteForever(const ConfigDirectory& config) {
  for (;;) {
    config.Write("PollInterval", std::string(50000, 'a'));
    config.Write("PollInterval", std::string(50000, 'b'));
  }
}

TEST(ConfigFileFaults, AKilledWriterLeavesACompleteFile) {
  const ConfigDirectory config;
  ASSERT_EQ(config.Write("PollInterval", std::string(50000, 'a')), HostKit::RESULT_OK);
  for (int round = 0; round < 20; ++round) {
    const pid_t child = fork();
    if (child == 0) WriteForever(config);
    std::this_thread::sleep_for(std::chrono::microseconds(2000 + 700 * round));
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    const std::string read = config.Read("PollInterval");
    EXPECT_TRUE(read == "value " + std::string(50000, 'a') ||
                read == "value " + std::string(50000, 'b'));
    EXPECT_EQ(config.Write("PollInterval", std::string(50000, 'a')), HostKit::RESULT_OK);
  }
}

// A reader does not wait for the writer.
TEST(ConfigFileFaults, AConcurrentReaderSeesCompleteFiles) {
  const ConfigDirectory config;
  ASSERT_EQ(config.Write("PollInterval", std::string(50000, 'a')), HostKit::RESULT_OK);
  const pid_t child = fork();
  if (child == 0) WriteForever(config);
  for (int i = 0; i < 500; ++i) {
    const std::string read = config.Read("PollInterval");
    EXPECT_TRUE(read == "value " + std::string(50000, 'a') ||
                read == "value " + std::string(50000, 'b'));
  }
  kill(child, SIGKILL);
  waitpid(child, nullptr, 0);
}

}  // namespace
