#include <spawn.h>
#include <sys/wait.h>

#include <chrono>
#include <csignal>
#include <thread>

#include "hostkit/EventLog.h"
#include "tests/hostkit/database/Fixture.h"

extern char** environ;

namespace {

using namespace std::chrono_literals;

class KilledHost : public HostDatabaseTest {
 protected:
  // Starts a host that writes, and kills it when `after` has passed since its first event.
  void RunAndKill(std::chrono::milliseconds after) {
    pid_t process = 0;
    std::string program = DATABASE_WRITER;
    char* const arguments[] = {program.data(), nullptr};
    ASSERT_EQ(posix_spawn(&process, program.c_str(), nullptr, nullptr, arguments, environ), 0);
    const bool started = AwaitEvent();
    std::this_thread::sleep_for(after);
    kill(process, SIGKILL);
    int status = 0;
    waitpid(process, &status, 0);
    ASSERT_TRUE(started) << "the host wrote no event";
    EXPECT_TRUE(WIFSIGNALED(status));
    ExpectCompleteRows();
    m_Before = EventsInFile();
  }

  // Waits for an event of the host. Returns false if none arrives within 300 s.
  bool AwaitEvent() {
    const auto end = std::chrono::steady_clock::now() + 300s;
    while (EventsInFile() == m_Before) {
      if (std::chrono::steady_clock::now() > end) return false;
      std::this_thread::sleep_for(1ms);
    }
    return true;
  }

  // Checks the rows of the killed host before the next host clears them. They must be complete and
  // without gaps: one per event, and possibly one more whose event was not written.
  void ExpectCompleteRows() {
    OtherProgram file(m_Directory.Path() / "killed.db");
    EXPECT_EQ(file.Run("SELECT COUNT(*) FROM host_adapter_rows WHERE ad_adapter_number IS NOT ID "
                       "OR ad_host_name IS NOT 'localhost' OR ad_name IS NOT '" +
                       std::string(2000, 'x') + "'"),
              "0");
    EXPECT_EQ(file.Run("SELECT COUNT(*) = MAX(ID) FROM host_adapter_rows"), "1");
    const std::string eventsOfRun = "(SELECT MAX(seq) FROM sqlite_sequence) - " + m_Before;
    EXPECT_EQ(file.Run("SELECT COUNT(*) - (" + eventsOfRun + ") IN (0, 1) FROM host_adapter_rows"),
              "1");
  }

  std::string EventsInFile() {
    return OtherProgram(m_Directory.Path() / "killed.db")
        .Run("SELECT COALESCE(MAX(seq), 0) FROM sqlite_sequence");
  }

  void ExpectCompleteEventLog() {
    std::int64_t expected = 0;
    for (const auto& event : HostKit::ReadEvents(0, 20000)) {
      ASSERT_EQ(event.m_Number, ++expected);
      ASSERT_FALSE(event.m_SourceName.empty());
    }
    EXPECT_GT(expected, 0);
  }

  std::string m_Before = "0";
};

TEST_F(KilledHost, LeavesAnIntactFile) {
  const std::string file = (m_Directory.Path() / "killed.db").string();
  Use(file);
  for (const int after : {0, 3, 7, 20, 41}) {
    Use(":memory:");
    setenv("CORVANE_DATABASE", file.c_str(), 1);
    RunAndKill(std::chrono::milliseconds(after));
    Use(file);
    EXPECT_EQ(OtherProgram(file).Run("PRAGMA integrity_check"), "ok");
    EXPECT_EQ(Counts(), "adapters 0 drives 0 plugins 0");
    ExpectCompleteEventLog();
  }
}

}  // namespace
