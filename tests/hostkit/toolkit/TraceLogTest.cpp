#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <boost/filesystem.hpp>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <thread>

#include "host/Toolkit.h"
#include "hostkit/Scheduler.h"
#include "hostkit/Tracing.h"

namespace {

namespace fs = boost::filesystem;

using testing::MatchesRegex;

class TraceLog : public testing::Test {
 protected:
  void SetUp() override { fs::create_directories(m_Directory); }
  void TearDown() override {
    HostKit::SetTraceSink({});
    HostKit::SetTraceFile("");
    fs::remove_all(m_Directory);
  }

  void Send(unsigned int level, const std::string& text) {
    MBX::Internals::CTraceStreamBuffer buffer(level, m_Module, "/src/Corvane/Some.File.cpp",
                                              "Worker", 42);
    buffer.Append(text);
  }

  static std::string Content(const fs::path& file) {
    std::ostringstream content;
    content << std::ifstream(file.string()).rdbuf();
    return content.str();
  }

  const fs::path m_Directory = fs::temp_directory_path() / fs::unique_path("trace-%%%%%%%%");
  const fs::path m_File = m_Directory / "trace.log";
  const MBX::Misc::CModuleInfo m_Module{304, "Module", "1", nullptr, nullptr};
};

TEST_F(TraceLog, PassesTheFieldsOfEachLineToTheSink) {
  std::vector<HostKit::TraceLine> lines;
  HostKit::SetTraceSink([&](const HostKit::TraceLine& line) { lines.push_back(line); });
  Send(16, "a text");
  ASSERT_EQ(1U, lines.size());
  EXPECT_EQ(16U, lines[0].level);
  EXPECT_EQ("Module", lines[0].module);
  EXPECT_EQ("Some", lines[0].file);
  EXPECT_EQ("Worker", lines[0].function);
  EXPECT_EQ(42, lines[0].line);
  EXPECT_EQ("a text", lines[0].text);
}

TEST_F(TraceLog, WritesOneLinePerMessageToAFile) {
  ASSERT_TRUE(HostKit::SetTraceFile(m_File.string()));
  Send(16, "100% {} %s");
  Send(2, "two\nlines\x1b[31m");
  const std::string time = "[0-9]+-[0-9]+-[0-9]+T[0-9]+:[0-9]+:[0-9]+\\.[0-9]+Z ";
  EXPECT_THAT(Content(m_File),
              MatchesRegex(time + "16 \\[[^]]+\\] Module Some Worker:42 100% \\{\\} %s\n" + time +
                           "2 \\[[^]]+\\] Module Some Worker:42 two\\\\x0alines\\\\x1b\\[31m\n"));
}

TEST_F(TraceLog, ShowsVirtualTime) {
  HostKit::UseVirtualTime();
  ASSERT_TRUE(HostKit::SetTraceFile(m_File.string()));
  HostKit::SleepUntilNs(HostKit::SteadyNowNs() + 90'061'001'000'000);
  Send(2, "a day later");
  HostKit::UseRealTime();
  EXPECT_THAT(Content(m_File), testing::StartsWith("2026-01-02T01:01:01.001Z 2 ["));
}

TEST_F(TraceLog, ShowsTheNameOfTheThread) {
  std::vector<HostKit::TraceLine> lines;
  HostKit::SetTraceSink([&](const HostKit::TraceLine& line) { lines.push_back(line); });
  ASSERT_TRUE(HostKit::SetTraceFile(m_File.string()));
  std::thread([this] {
    pthread_setname_np(pthread_self(), "a \x1bthread");
    Send(2, "to the sink");
    HostKit::SetTraceSink({});
    Send(2, "to the log");
  }).join();
  ASSERT_EQ(1U, lines.size());
  EXPECT_EQ("a \x1bthread", lines[0].thread);
  EXPECT_THAT(Content(m_File),
              testing::EndsWith("Z 2 [a \\x1bthread] Module Some Worker:42 to the log\n"));
}

TEST_F(TraceLog, KeepsItsFileIfAnotherCannotBeOpened) {
  ASSERT_TRUE(HostKit::SetTraceFile(m_File.string()));
  EXPECT_FALSE(HostKit::SetTraceFile(m_Directory.string()));
  Send(2, "still here");
  EXPECT_THAT(Content(m_File), testing::HasSubstr("still here"));
}

TEST_F(TraceLog, ReturnsToItsFileWithoutASink) {
  int lines = 0;
  ASSERT_TRUE(HostKit::SetTraceFile(m_File.string()));
  HostKit::SetTraceSink([&](const HostKit::TraceLine&) { ++lines; });
  Send(2, "to the sink");
  HostKit::SetTraceSink({});
  Send(2, "to the log");
  EXPECT_EQ(1, lines);
  EXPECT_THAT(Content(m_File), testing::HasSubstr("to the log"));
  EXPECT_THAT(Content(m_File), testing::Not(testing::HasSubstr("to the sink")));
}

TEST_F(TraceLog, RotatesAFullFile) {
  ASSERT_TRUE(HostKit::SetTraceFile(m_File.string()));
  const std::string text(1'000'000, 'x');
  for (int i = 0; i < 12; ++i) Send(2, text);
  EXPECT_TRUE(fs::exists(m_Directory / "trace.1.log"));
  EXPECT_LE(fs::file_size(m_File), 10U * 1024 * 1024);
}

TEST_F(TraceLog, FollowsLinksOfTheSameUser) {
  fs::create_symlink(m_File, m_Directory / "link.log");
  ASSERT_TRUE(HostKit::SetTraceFile((m_Directory / "link.log").string()));
  Send(2, "through the link");
  EXPECT_THAT(Content(m_File), testing::HasSubstr("through the link"));
}

TEST_F(TraceLog, MayBeADevice) {
  ASSERT_TRUE(HostKit::SetTraceFile("/dev/null"));
  Send(2, "nowhere");
}

// The link in /proc refers to the open file itself, not to the path in the link.
TEST_F(TraceLog, MayBeAnOpenDescriptor) {
  const int file = open(m_File.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
  ASSERT_TRUE(HostKit::SetTraceFile("/proc/self/fd/" + std::to_string(file)));
  Send(2, "through the descriptor");
  close(file);
  EXPECT_THAT(Content(m_File), testing::HasSubstr("through the descriptor"));
}

// Uses a shared directory in which another user has created links to a file owned by root.
class TraceLogTrust : public TraceLog {
 protected:
  void SetUp() override {
    if (geteuid() != 0) GTEST_SKIP() << "only root can create another user's files";
    TraceLog::SetUp();
    fs::create_directory(m_Shared);
    fs::permissions(m_Shared, fs::perms::all_all | fs::perms::sticky_bit);
    std::ofstream(m_Target.string()) << "precious";
  }
  void CreateLinkOfOtherUser(const char* name) {
    fs::create_symlink(m_Target, m_Shared / name);
    ASSERT_EQ(lchown((m_Shared / name).c_str(), 65534, 65534), 0);
  }

  const fs::path m_Shared = m_Directory / "shared";
  const fs::path m_Target = m_Directory / "target";
};

TEST_F(TraceLogTrust, RejectsALinkOfAnotherUser) {
  CreateLinkOfOtherUser("trace.log");
  EXPECT_FALSE(HostKit::SetTraceFile((m_Shared / "trace.log").string()));
  EXPECT_EQ(errno, EPERM);
  Send(2, "elsewhere");
  EXPECT_EQ(Content(m_Target), "precious");
}

TEST_F(TraceLogTrust, RejectsADanglingLinkOfAnotherUser) {
  fs::remove(m_Target);
  CreateLinkOfOtherUser("trace.log");
  EXPECT_FALSE(HostKit::SetTraceFile((m_Shared / "trace.log").string()));
  EXPECT_FALSE(fs::exists(m_Target));
}

TEST_F(TraceLogTrust, AcceptsDirectoriesThatRootCreated) {
  const fs::path file = m_Directory / "new" / "newer" / "trace.log";
  const mode_t before = umask(0);
  EXPECT_TRUE(HostKit::SetTraceFile(file.string()));
  umask(before);
  Send(2, "hello");
  EXPECT_THAT(Content(file), testing::HasSubstr("hello"));
  EXPECT_TRUE(HostKit::SetTraceFile(file.string()));
}

// The directory becomes writable by other users before the first rotation.
TEST_F(TraceLogTrust, RejectsTheDirectoryAtTheNextRotation) {
  ASSERT_TRUE(HostKit::SetTraceFile((m_Shared / "trace.log").string()));
  const std::string text(1'000'000, 'x');
  for (int i = 0; i < 10; ++i) Send(2, text);
  fs::permissions(m_Shared, fs::perms::all_all);
  for (int i = 0; i < 2; ++i) Send(2, text);
  EXPECT_TRUE(fs::exists(m_Shared / "trace.1.log"));
  EXPECT_FALSE(fs::exists(m_Shared / "trace.log"));
}

using TraceLogDeathTest = TraceLog;

TEST_F(TraceLogDeathTest, IsStandardErrorByDefault) {
  testing::FLAGS_gtest_death_test_style = "threadsafe";
  EXPECT_EXIT(
      {
        Send(4, "hello");
        std::_Exit(0);
      },
      testing::ExitedWithCode(0), "Z 4 \\[[^]]+\\] Module Some Worker:42 hello\n$");
}

TEST_F(TraceLogDeathTest, IsTheFileFromTheEnvironment) {
  testing::FLAGS_gtest_death_test_style = "threadsafe";
  const fs::path file = fs::current_path() / "trace-of-environment.log";
  setenv("CORVANE_TRACE_FILE", file.c_str(), 1);
  EXPECT_EXIT(
      {
        Send(4, "hello");
        std::_Exit(0);
      },
      testing::ExitedWithCode(0), "^$");
  unsetenv("CORVANE_TRACE_FILE");
  EXPECT_THAT(Content(file), testing::HasSubstr("] Module Some Worker:42 hello\n"));
  fs::remove(file);
}

TEST_F(TraceLogDeathTest, EscapesTheNameOfAFullFile) {
  testing::FLAGS_gtest_death_test_style = "threadsafe";
  const fs::path file = fs::current_path() / "trace\x1b[31m\n.log";
  EXPECT_EXIT(
      {
        rlimit full;
        full.rlim_cur = full.rlim_max = 4096;
        std::signal(SIGXFSZ, SIG_IGN);
        HostKit::SetTraceFile(file.string());
        setrlimit(RLIMIT_FSIZE, &full);
        for (int i = 0; i < 2; ++i) Send(4, std::string(8192, 'x'));
        std::_Exit(0);
      },
      testing::ExitedWithCode(0),
      "^a trace line cannot be written: [^\n]*\\\\x1b\\[31m\\\\x0a[^\n]*\n$");
  fs::remove(file);
}

// The path is a directory, which cannot be opened for writing.
TEST_F(TraceLogDeathTest, EscapesTheNameFromTheEnvironment) {
  testing::FLAGS_gtest_death_test_style = "threadsafe";
  const fs::path directory = fs::current_path() / "trace\x1b[31m\n\u202e";
  fs::create_directory(directory);
  setenv("CORVANE_TRACE_FILE", directory.c_str(), 1);
  EXPECT_EXIT(
      {
        Send(4, "hello");
        std::_Exit(0);
      },
      testing::ExitedWithCode(0),
      "^CORVANE_TRACE_FILE [^\n]*: [^\n]*\\\\x1b\\[31m\\\\x0a\\\\u202e[^\n]*\n[^\n]* hello\n$");
  unsetenv("CORVANE_TRACE_FILE");
  fs::remove(directory);
}

}  // namespace
