// Calls to a plug-in process that does not reply.

#include <signal.h>

#include <cerrno>
#include <future>

#include "tests/service/CollectorFixture.h"

namespace {

using Console::Deadline;
using Service::Worker;
using std::chrono::milliseconds;

// The process is suspended, so that no call gets a reply until the test resumes it.
class FormatFixture : public CorvaneTest::CollectorFixture {
 protected:
  FormatFixture()
      : m_Worker(CORVANE_HOST, {CORVANE_PLUGIN, Console::SimulatedCardLibrary()},
                 Deadline(CorvaneTest::kTimeout)) {
    CorvaneTest::SendSignal(m_Worker.ProcessId(), SIGSTOP);
  }
  ~FormatFixture() override { Resume(); }

  void Resume() const {
    if (m_Worker.IsAlive()) CorvaneTest::SendSignal(m_Worker.ProcessId(), SIGCONT);
  }

  // Sends a command. Returns whether it gets a reply.
  bool Call(const Deadline& deadline, Worker::DuringFormat duringFormat) {
    const Console::PluginCommand command = {PI::CMD_GET_TOPOLOGY, 0, std::vector<PI::CObject>()};
    return m_Worker.Call(command, deadline, duringFormat).has_value();
  }
  bool Format() {
    PI::COperation operation;
    operation.m_OperationID = PI::OP_FORMAT_DEVICE;
    return m_Worker.Call({PI::CMD_EXECUTE_OPERATION, 0, operation}, Deadline()).has_value();
  }
  std::future<bool> StartFormat() {
    auto format = std::async(std::launch::async, [this] { return Format(); });
    while (!m_Worker.IsFormatting()) std::this_thread::yield();
    return format;
  }

  Worker m_Worker;
};

using WorkerCall = FormatFixture;
using WorkerProcess = FormatFixture;

TEST_F(WorkerCall, MayWaitBeyondItsDeadlineDuringAFormat) {
  auto format = StartFormat();
  auto read = std::async(std::launch::async, [this] {
    return Call(Deadline(milliseconds(20)), Worker::DuringFormat::Wait);
  });
  EXPECT_EQ(std::future_status::timeout, read.wait_for(milliseconds(200)));
  Resume();
  EXPECT_TRUE(format.get());
  EXPECT_TRUE(read.get());
  EXPECT_FALSE(m_Worker.IsFormatting());
}

TEST_F(WorkerCall, CanGiveUpAtItsDeadlineDuringAFormat) {
  auto format = StartFormat();
  EXPECT_FALSE(Call(Deadline(milliseconds(20)), Worker::DuringFormat::GiveUp));
  Resume();
  EXPECT_TRUE(format.get());
}

TEST_F(WorkerCall, WithoutADeadlineDoesNotCountAsAFormat) {
  auto call = std::async(std::launch::async,
                         [this] { return Call(Deadline(), Worker::DuringFormat::GiveUp); });
  EXPECT_FALSE(Call(Deadline(milliseconds(200)), Worker::DuringFormat::GiveUp));
  EXPECT_FALSE(m_Worker.IsFormatting());
  Resume();
  EXPECT_TRUE(call.get());
}

TEST_F(WorkerProcess, HasExitedAfterFinish) {
  Resume();
  const pid_t process = m_Worker.ProcessId();
  m_Worker.Finish();
  EXPECT_EQ(-1, kill(process, 0));
  EXPECT_EQ(ESRCH, errno);
  EXPECT_FALSE(Call(Deadline(CorvaneTest::kTimeout), Worker::DuringFormat::GiveUp));
  m_Worker.Finish();
}

TEST_F(WorkerCall, GivesUpAtItsDeadlineWithoutAFormat) {
  EXPECT_FALSE(Call(Deadline(milliseconds(20)), Worker::DuringFormat::Wait));
}

// A command larger than the buffer of the socket to the suspended process.
Console::PluginCommand LargeCommand() {
  return {PI::CMD_GET_TOPOLOGY, 0, std::vector<PI::CObject>(200'000)};
}

// The thread that sends the command still waits, until the socket's send timeout of 5 s.
TEST_F(WorkerCall, GivesUpAtItsDeadlineIfTheProcessDoesNotRead) {
  const Deadline sendTimeout(milliseconds(4000));
  EXPECT_FALSE(m_Worker.Call(LargeCommand(), Deadline(milliseconds(20))));
  const bool isAlive = m_Worker.IsAlive();
  EXPECT_TRUE(isAlive || sendTimeout.HasPassed());
}

TEST_F(WorkerProcess, IsKilledIfItDoesNotRead) {
  EXPECT_FALSE(m_Worker.Call(LargeCommand(), Deadline(CorvaneTest::kTimeout)));
  EXPECT_FALSE(m_Worker.IsAlive());
}

}  // namespace
