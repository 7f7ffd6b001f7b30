#include <spawn.h>
#include <sys/wait.h>

#include <chrono>
#include <csignal>
#include <thread>

#include "hostkit/EventLog.h"
#include "tests/hostkit/database/Fixture.h"

extern char** environ;

namespace {

class Killed : public HostDatabaseTest {
 protected:
  // Starts a host that writes, and kills it in the middle, no sooner than after its first event.
  void RunAndKill(std::chrono::milliseconds after) {
    pid_t process = 0;
    std::string program = DATABASE_WRITER;
    char* const arguments[] = {program.data(), nullptr};
    ASSERT_EQ(posix_spawn(&process, program.c_str(), nullptr, nullptr, arguments, environ), 0);
    while (EventsInFile() == m_Before) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    std::this_thread::sleep_for(after);
    kill(process, SIGKILL);
    int status = 0;
    waitpid(process, &status, 0);
    EXPECT_TRUE(WIFSIGNALED(status));
    m_Before = EventsInFile();
  }

  std::string EventsInFile() {
    return OtherProgram(m_Folder.Path() / "killed.db")
        .Run("SELECT COALESCE(MAX(seq), 0) FROM sqlite_sequence");
  }

  void ExpectWholeEventLog() {
    std::int64_t expected = 0;
    for (const auto& event : HostKit::ReadEvents(0, 20000)) {
      ASSERT_EQ(event.m_Number, ++expected);
      ASSERT_FALSE(event.m_SourceName.empty());
    }
    EXPECT_GT(expected, 0);
  }

  std::string m_Before = "0";
};

TEST_F(Killed, AHostLeavesAWholeFile) {
  const std::string file = (m_Folder.Path() / "killed.db").string();
  Use(file);
  for (const int after : {0, 3, 7, 20, 41}) {
    Use(":memory:");
    setenv("CORVANE_DATABASE", file.c_str(), 1);
    RunAndKill(std::chrono::milliseconds(after));
    Use(file);
    EXPECT_EQ(Query("PRAGMA integrity_check").at(0), "ok");
    EXPECT_EQ(Counts(), "adapters 0 drives 0 plugins 0");
    ExpectWholeEventLog();
  }
}

}  // namespace
