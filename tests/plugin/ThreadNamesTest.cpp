// The names of the plug-in's threads, which debuggers and the host's trace show.

#include "tests/plugin/Watch.h"
#include "tests/support/Numbers.h"

namespace CorvaneTest {
namespace {

class ThreadNames : public WorkerFixture {
 protected:
  // Returns the name of the thread that traced the line, or an empty string if none did.
  std::string ThreadOf(const std::string& text) const {
    for (const HostKit::TraceLine& line : RecordedTraces()) {
      if (line.text == text) return line.thread;
    }
    return "";
  }
  void RunJob(std::uint32_t operation) {
    ASSERT_EQ(m_Host.Run(FIRST, operation), 0U);
    PassMs(20000);
  }
};

TEST_F(ThreadNames, AreThoseOfTheTasks) {
  AddCards(1);
  StartWatch();
  RunJob(PI::OP_DETACH);
  RunJob(PI::OP_ATTACH);
  EXPECT_EQ("corvane-worker", ThreadOf("ENTER Worker()"));
  EXPECT_EQ("corvane-detach", ThreadOf("ENTER Detach(/dev/fct0)"));
  EXPECT_EQ("corvane-attach", ThreadOf("ENTER Attach(/dev/fct0)"));
}

TEST_F(ThreadNames, IncludeAForcedDetach) {
  AddCards(1);
  StartWatch();
  RunJob(PI::OP_FORCE_DETACH);
  EXPECT_EQ("corvane-detach", ThreadOf("ENTER ForceDetach(/dev/fct0)"));
}

}  // namespace
}  // namespace CorvaneTest
