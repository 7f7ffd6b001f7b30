// Calls that the service must not make while a thread holds a lock. Only in builds with
// CORVANE_CHECK_LOCKS.
#include <gtest/gtest.h>
#include <sys/socket.h>

#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "base/Descriptor.h"
#include "base/Mutex.h"
#include "hostkit/EventLog.h"
#include "service/Frame.h"
#include "service/Log.h"
#include "service/state/StateStore.h"
#include "tests/service/CollectorFixture.h"
#include "tests/support/Temporary.h"

namespace {

using Call = std::function<void()>;

Call PrepareRead() {
  int ends[2] = {};
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) return nullptr;
  const auto reader = std::make_shared<Base::Descriptor>(ends[0]);
  Base::Descriptor(ends[1]).Close();
  return [reader] { Service::ReadFrame(reader->Get()); };
}

Call PreparePluginCall() {
  const Console::Deadline deadline(CorvaneTest::kTimeout);
  const auto worker = std::make_shared<Service::Worker>(CORVANE_HOST, TEST_PLUGIN, deadline);
  return [worker, deadline] {
    worker->Call({PI::CMD_GET_TOPOLOGY, 0, std::vector<PI::CObject>()}, deadline);
  };
}

// A call that must not be made with a lock held. `m_Prepare` returns the call, after any setup that
// must be done before the lock is acquired.
struct BlockingCall {
  const char* m_Name;
  const char* m_Message;
  std::function<Call()> m_Prepare;
};

std::ostream& operator<<(std::ostream& out, const BlockingCall& call) {
  return out << call.m_Name;
}

const BlockingCall kCalls[] = {
    {"ReadFrame", "reading from the other process of the service", PrepareRead},
    {"WriteFrame", "writing to the other process of the service",
     [] { return [] { Service::WriteFrame(-1, "frame"); }; }},
    {"PluginCall", "a call to the plug-in process", PreparePluginCall},
    {"Log", "writing to the log", [] { return [] { Service::LogWarning("text"); }; }},
    {"EventLog", "use of the database", [] { return [] { HostKit::ReadEventNumbers(); }; }},
    {"State", "use of the database", [] { return [] { Service::StateStore().Cards(); }; }},
};

class HeldLockDeathTest : public testing::TestWithParam<BlockingCall> {
 protected:
  HeldLockDeathTest() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }

  TemporaryDirectory m_Directory;
  ScopedVariable m_Database{"CORVANE_DATABASE", (m_Directory.Path() / "state.db").string()};
  Base::Mutex m_Mutex;
};

// The table hides the calls from the compiler's thread-safety analysis, which would reject them.
TEST_P(HeldLockDeathTest, AbortsTheCall) {
  const auto run = [this] {
    const Call call = GetParam().m_Prepare();
    const Base::MutexLock lock(m_Mutex);
    call();
  };
  EXPECT_DEATH(run(), std::string(GetParam().m_Message) + " while the thread holds a lock");
}

INSTANTIATE_TEST_SUITE_P(All, HeldLockDeathTest, testing::ValuesIn(kCalls),
                         [](const auto& test) { return std::string(test.param.m_Name); });

}  // namespace
