// Hosts in separate processes that use the same file concurrently.
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <list>

#include "hostkit/EventLog.h"
#include "tests/hostkit/database/Fixture.h"

namespace {

class Host {
 public:
  Host() {
    int commands[2];
    int replies[2];
    if (pipe2(commands, O_CLOEXEC) != 0 || pipe2(replies, O_CLOEXEC) != 0) std::abort();
    m_Process = fork();
    if (m_Process == 0) {
      dup2(commands[0], STDIN_FILENO);
      dup2(replies[1], STDOUT_FILENO);
      execl(DATABASE_HOST, DATABASE_HOST, nullptr);
      _exit(127);
    }
    close(commands[0]);
    close(replies[1]);
    m_pCommands = fdopen(commands[1], "w");
    m_pReplies = fdopen(replies[0], "r");
  }
  ~Host() { End("end"); }
  Host(const Host&) = delete;
  Host& operator=(const Host&) = delete;

  void Send(const std::string& command) {
    std::fputs((command + "\n").c_str(), m_pCommands);
    std::fflush(m_pCommands);
  }
  std::string Reply() {
    char line[200] = "";
    if (std::fgets(line, sizeof line, m_pReplies) == nullptr) return "gone";
    const std::string text = line;
    return text.substr(0, text.find('\n'));
  }
  std::string Run(const std::string& command) {
    Send(command);
    return Reply();
  }

  void Kill() {
    kill(m_Process, SIGKILL);
    End("end");
  }

 private:
  void End(const std::string& command) {
    if (m_Process < 0) return;
    std::signal(SIGPIPE, SIG_IGN);
    Send(command);
    std::fclose(m_pCommands);
    waitpid(m_Process, nullptr, 0);
    std::fclose(m_pReplies);
    m_Process = -1;
  }

  pid_t m_Process = -1;
  std::FILE* m_pCommands = nullptr;
  std::FILE* m_pReplies = nullptr;
};

class SeveralHosts : public HostDatabaseTest {
 protected:
  SeveralHosts() {
    Use(":memory:");
    setenv("CORVANE_DATABASE", File().c_str(), 1);
  }
  std::string RunSql(const std::string& sql) { return OtherProgram(File()).Run(sql); }
  std::string RowsInFile() { return RunSql("SELECT COUNT(*) FROM host_adapter_rows"); }

  static constexpr const char* kNames =
      "SELECT ad_name FROM host_adapter_rows WHERE ad_adapter_number = 0";
};

TEST_F(SeveralHosts, WriteEachRowOnceIfTheyStartSimultaneously) {
  for (int round = 0; round < 15; ++round) {
    std::list<Host> hosts(4);
    for (Host& host : hosts) host.Send("fill 64");
    for (Host& host : hosts) EXPECT_EQ(host.Reply(), "done");
    EXPECT_EQ(RowsInFile(), "64");
    EXPECT_EQ(RunSql("SELECT COUNT(DISTINCT ad_adapter_number) FROM host_adapter_rows"), "64");
    for (Host& host : hosts) EXPECT_EQ(host.Run("count"), "64");
    while (!hosts.empty()) {
      hosts.pop_front();
      EXPECT_EQ(RowsInFile(), "64");
    }
  }
}

// The last host to exit may have kept its rows in memory at first and moved them to the file later.
TEST_F(SeveralHosts, LeaveEachRowOnceIfTheyExitSimultaneously) {
  for (int round = 0; round < 15; ++round) {
    std::list<Host> hosts(3);
    for (Host& host : hosts) host.Send("fill 64\nend");
    hosts.clear();
    EXPECT_EQ(RowsInFile(), "64");
    EXPECT_EQ(RunSql("SELECT COUNT(DISTINCT ad_adapter_number) FROM host_adapter_rows"), "64");
  }
}

TEST_F(SeveralHosts, DoNotChangeTheRowsOfTheFirstHost) {
  Host first;
  EXPECT_EQ(first.Run("fill 3"), "done");
  EXPECT_EQ(first.Run("name first"), "done");
  Host second;
  EXPECT_EQ(second.Run("fill 2"), "done");
  EXPECT_EQ(second.Run("name second"), "done");
  EXPECT_EQ(second.Run("count"), "2");
  EXPECT_EQ(first.Run("count"), "3");
  EXPECT_EQ(RowsInFile(), "3");
  EXPECT_EQ(RunSql(kNames), "first");
}

// The service process logs events, but only its plug-in process writes adapter rows.
TEST_F(SeveralHosts, DoNotLockTheRowsToLogEvents) {
  Host logging;
  EXPECT_EQ(logging.Run("log"), "done");
  Host host;
  EXPECT_EQ(host.Run("fill 3"), "done");
  EXPECT_EQ(RowsInFile(), "3");
  EXPECT_EQ(logging.Run("log"), "done");
  EXPECT_EQ(RowsInFile(), "3");
}

TEST_F(SeveralHosts, ShareTheLockIfOnePathIsASymbolicLink) {
  Host first;
  EXPECT_EQ(first.Run("fill 3"), "done");
  const auto link = m_Directory.Path() / "link.db";
  std::filesystem::create_symlink(File(), link);
  setenv("CORVANE_DATABASE", link.c_str(), 1);
  Host second;
  EXPECT_EQ(second.Run("fill 2"), "done");
  EXPECT_EQ(second.Run("count"), "2");
  EXPECT_EQ(first.Run("count"), "3");
  EXPECT_EQ(RowsInFile(), "3");
  EXPECT_FALSE(std::filesystem::exists(link.string() + "-host"));
}

TEST_F(SeveralHosts, WriteTheirRowsAfterTheFirstHostExits) {
  Host second;
  {
    Host first;
    EXPECT_EQ(first.Run("fill 3"), "done");
    EXPECT_EQ(second.Run("fill 2"), "done");
  }
  EXPECT_EQ(RowsInFile(), "3");
  EXPECT_EQ(second.Run("name second"), "done");
  EXPECT_EQ(RowsInFile(), "2");
  EXPECT_EQ(RunSql(kNames), "second");
  Host third;
  EXPECT_EQ(third.Run("fill 5"), "done");
  EXPECT_EQ(RowsInFile(), "2");
}

TEST_F(SeveralHosts, WriteTheirRowsAfterTheFirstHostIsKilled) {
  Host first;
  Host second;
  EXPECT_EQ(first.Run("fill 3"), "done");
  EXPECT_EQ(second.Run("fill 2"), "done");
  first.Kill();
  EXPECT_EQ(second.Run("name second"), "done");
  EXPECT_EQ(RowsInFile(), "2");
}

TEST_F(SeveralHosts, LeaveOnlyTheDatabaseFile) {
  {
    Host first;
    Host second;
    EXPECT_EQ(first.Run("fill 1"), "done");
    EXPECT_EQ(second.Run("fill 1"), "done");
  }
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(File().parent_path())) {
    names.push_back(entry.path().filename().string());
  }
  EXPECT_EQ(names, std::vector<std::string>{"corvane.db"});
}

TEST_F(SeveralHosts, LogTheirEventsToTheSameFile) {
  Host first;
  EXPECT_EQ(first.Run("fill 1"), "done");
  Use(File().string());
  AppendEvent(PI::CEvent());
  m_pStorage->insert(AnAdapter(7));
  EXPECT_EQ(HostKit::ReadEvents(0, 10).size(), 1U);
  EXPECT_EQ(RunSql("SELECT COUNT(*) FROM host_event_log"), "1");
  EXPECT_EQ(Counts(), "adapters 1 drives 0 plugins 0");
  EXPECT_EQ(RowsInFile(), "1");
  EXPECT_EQ(RunSql("SELECT ad_adapter_number FROM host_adapter_rows"), "0");
}

}  // namespace
