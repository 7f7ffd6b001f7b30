// Program runs, tested with real scripts.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <string>
#include <thread>

#include "console/base/Notifier.h"
#include "service/hooks/ProgramRun.h"
#include "tests/service/hooks/Scripts.h"

namespace {

using HooksTest::WriteScript;
using std::chrono::milliseconds;
using testing::HasSubstr;

class ProgramRunFixture : public testing::Test {
 protected:
  // Returns a run of a script with this body.
  Hooks::ProgramRun MakeRun(const std::string& body) {
    Hooks::ProgramRun run;
    run.m_File = WriteScript(m_Directory.Path() / "program", body);
    run.m_Environment = {"PATH=/usr/bin:/bin"};
    return run;
  }

  // Whether the process exits within a minute. A zombie counts, because its new parent may not have
  // reaped it yet.
  static bool Exits(const std::string& process) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    while (std::chrono::steady_clock::now() < end) {
      const std::string status = ReadText("/proc/" + process + "/stat");
      if (status.empty() || status.find(") Z ") != status.npos) return true;
      std::this_thread::sleep_for(milliseconds(2));
    }
    return false;
  }

  TemporaryDirectory m_Directory;
};

using ProgramRun = ProgramRunFixture;

TEST_F(ProgramRun, ReportsTheFailure) {
  struct {
    const char* m_Body;
    const char* m_Failure;
  } const cases[] = {
      {"exit 0", ""},
      {"exit 3", "exit code 3"},
      {"kill -9 $$", "killed by signal 9"},
      {"kill -PIPE $$", "killed by signal 13"},  // the program does not inherit SIG_IGN
      {"exec /nonexistent", "exit code 127"},
  };
  const auto before = signal(SIGPIPE, SIG_IGN);
  for (const auto& each : cases) {
    EXPECT_EQ(each.m_Failure, Hooks::Run(MakeRun(each.m_Body)).m_Failure) << each.m_Body;
  }
  signal(SIGPIPE, before);
}

TEST_F(ProgramRun, ReportsAMissingProgram) {
  Hooks::ProgramRun run;
  run.m_File = m_Directory.Path() / "missing";
  EXPECT_EQ("cannot be started: No such file or directory", Hooks::Run(run).m_Failure);
}

TEST_F(ProgramRun, CapturesBothStreams) {
  EXPECT_EQ("out\nerr\n", Hooks::Run(MakeRun("echo out; echo err >&2")).m_Output);
}

TEST_F(ProgramRun, PassesTheInput) {
  Hooks::ProgramRun run = MakeRun("cat");
  run.m_Input = "{\"a\":1}\n";
  EXPECT_EQ("{\"a\":1}\n", Hooks::Run(run).m_Output);
}

TEST_F(ProgramRun, AllowsUnreadInput) {
  Hooks::ProgramRun run = MakeRun("exit 0");
  run.m_Input = std::string(1 << 20, 'x');
  EXPECT_EQ("", Hooks::Run(run).m_Failure);
}

TEST_F(ProgramRun, HasOnlyTheGivenEnvironment) {
  const ScopedVariable secret("CORVANE_TEST_SECRET", "secret");
  Hooks::ProgramRun run = MakeRun("echo \"${CORVANE_TEST_SECRET-unset} $GIVEN\"; pwd");
  run.m_Environment.emplace_back("GIVEN=a b");
  EXPECT_EQ("unset a b\n/\n", Hooks::Run(run).m_Output);
}

TEST_F(ProgramRun, KeepsTheFirst16KiBOfTheOutput) {
  const auto result = Hooks::Run(MakeRun("head -c 1000000 /dev/zero | tr '\\0' x"));
  EXPECT_EQ(std::string(16384, 'x'), result.m_Output);
  EXPECT_EQ("", result.m_Failure);
}

TEST_F(ProgramRun, IsKilledAtTheTimeoutWithItsGroup) {
  Hooks::ProgramRun run = MakeRun("sleep 1000 & echo $!; wait");
  run.m_Timeout = milliseconds(1500);
  const auto result = Hooks::Run(run);
  EXPECT_EQ("killed after 1.5 s", result.m_Failure);
  ASSERT_THAT(result.m_Output, HasSubstr("\n"));
  EXPECT_TRUE(Exits(result.m_Output.substr(0, result.m_Output.find('\n'))));
}

TEST_F(ProgramRun, LeavesNoProcessOfItsGroupBehind) {
  const auto result = Hooks::Run(MakeRun("sleep 1000 & echo $!"));
  EXPECT_EQ("", result.m_Failure);
  ASSERT_THAT(result.m_Output, HasSubstr("\n"));
  EXPECT_TRUE(Exits(result.m_Output.substr(0, result.m_Output.find('\n'))));
}

TEST_F(ProgramRun, IsKilledWhenTheServiceStops) {
  const Console::Notifier stop;
  Hooks::ProgramRun run = MakeRun("sleep 1000");
  run.m_Stop = stop.Number();
  stop.Notify();
  EXPECT_EQ("killed because the service is stopping", Hooks::Run(run).m_Failure);
}

// A traced process is not reported to its parent as exited until the tracer has reaped it.
class Debugger {
 public:
  // Traces the process whose ID is in the file, replaces the ID with the result, and notifies.
  Debugger(const std::filesystem::path& file, const Console::Notifier& notifier)
      : m_Process(fork()) {
    if (m_Process == 0) Trace(file, notifier);
  }
  ~Debugger() {
    kill(m_Process, SIGKILL);
    waitpid(m_Process, nullptr, 0);
  }
  Debugger(const Debugger&) = delete;
  Debugger& operator=(const Debugger&) = delete;

 private:
  [[noreturn]] static void Trace(const std::filesystem::path& file,
                                 const Console::Notifier& notifier) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    std::string number;
    while (number.empty() || number.back() != '\n') {
      std::this_thread::sleep_for(milliseconds(2));
      number = ReadText(file);
    }
    const long result = ptrace(PTRACE_SEIZE, std::stoi(number), nullptr, nullptr);
    WriteText(file, result == 0 ? "traced" : std::strerror(errno));
    notifier.Notify();
    for (;;) pause();
  }

  const pid_t m_Process;
};

TEST_F(ProgramRun, IsAbandonedIfItCannotBeKilled) {
  const std::filesystem::path file = m_Directory.Path() / "number";
  const Console::Notifier stop;
  Hooks::ProgramRun run = MakeRun("echo $$; echo $$ >" + file.string() + "; exec sleep 1000");
  run.m_Stop = stop.Number();
  Hooks::ProgramResult result;
  {
    const Debugger debugger(file, stop);
    result = Hooks::Run(run);
  }
  if (ReadText(file) != "traced") GTEST_SKIP() << "needs ptrace: " << ReadText(file);
  EXPECT_EQ("cannot be killed", result.m_Failure);
  EXPECT_LT(0, waitpid(std::stoi(result.m_Output), nullptr, 0));
}

}  // namespace
