// Calls to a plug-in process during a format.

#include <signal.h>

#include <future>

#include "tests/service/CollectorFixture.h"

namespace {

using Console::Deadline;
using Service::Worker;
using std::chrono::milliseconds;

// The process is stopped, so that no call gets a reply until the test resumes it.
class FormatFixture : public CorvaneTest::CollectorFixture {
 protected:
  FormatFixture() : m_Worker(CORVANE_HOST, CORVANE_PLUGIN, Deadline(CorvaneTest::kTimeout)) {
    kill(m_Worker.ProcessId(), SIGSTOP);
  }
  ~FormatFixture() override { Continue(); }

  void Continue() const { kill(m_Worker.ProcessId(), SIGCONT); }

  // Whether the call gets a reply.
  bool Call(const Deadline& deadline, Worker::DuringFormat duringFormat) {
    const Console::PluginCommand command = {PI::CMD_GET_TOPOLOGY, 0, std::vector<PI::CObject>()};
    return m_Worker.Call(command, deadline, duringFormat).has_value();
  }
  std::future<bool> StartFormat() {
    auto format = std::async(std::launch::async,
                             [this] { return Call(Deadline(), Worker::DuringFormat::GiveUp); });
    while (!m_Worker.IsFormatting()) std::this_thread::yield();
    return format;
  }

  Worker m_Worker;
};

using DuringAFormat = FormatFixture;
using WithoutAFormat = FormatFixture;

TEST_F(DuringAFormat, ACallMayWaitLongerThanItsDeadline) {
  auto format = StartFormat();
  auto read = std::async(std::launch::async, [this] {
    return Call(Deadline(milliseconds(20)), Worker::DuringFormat::Wait);
  });
  EXPECT_EQ(std::future_status::timeout, read.wait_for(milliseconds(200)));
  Continue();
  EXPECT_TRUE(format.get());
  EXPECT_TRUE(read.get());
  EXPECT_FALSE(m_Worker.IsFormatting());
}

TEST_F(DuringAFormat, OtherCallsGiveUpAtTheirDeadline) {
  auto format = StartFormat();
  EXPECT_FALSE(Call(Deadline(milliseconds(20)), Worker::DuringFormat::GiveUp));
  Continue();
  EXPECT_TRUE(format.get());
}

TEST_F(WithoutAFormat, ACallGivesUpAtItsDeadline) {
  EXPECT_FALSE(Call(Deadline(milliseconds(20)), Worker::DuringFormat::Wait));
}

}  // namespace
