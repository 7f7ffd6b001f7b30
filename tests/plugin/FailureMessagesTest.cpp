// What failing tests say: the lock that is held and the rule against it, and the command that
// repeats a schedule.

#include <gtest/gtest-spi.h>

#include "tests/plugin/Watch.h"
#include "tests/support/HeldCall.h"
#include "tests/support/HostThread.h"

namespace CorvaneTest {
namespace {

class FailureMessages : public WorkerFixture {
 protected:
  static void CheckLocks() { ExpectNoLockHeld(); }
};

TEST_F(FailureMessages, NameALockThatIsHeldAndTheRule) {
  AddCards(1);
  StartWatch();
  HeldCall poll("vsl_iom_state");
  poll.WaitUntilReached();
  EXPECT_NONFATAL_FAILURE(CheckLocks(),
                          "thread 1 holds m_DataLock, but the plug-in must release its locks "
                          "before it notifies the host");
  poll.Release();
  SleepFor(1);
}

TEST(FailureMessagesOfSchedules, ContainTheCommandThatRepeatsTheSchedule) {
  const char* const before = std::getenv("CORVANE_SCHEDULES");
  const std::string schedules = before == nullptr ? "" : before;
  setenv("CORVANE_SCHEDULES", "7-7", 1);
  EXPECT_NONFATAL_FAILURE(
      RunInManySchedules([](Schedule) { ADD_FAILURE(); }),
      "seed 7, repeat with: CORVANE_SCHEDULES=7-7 " + testing::internal::GetArgvs().front() +
          " --gtest_filter=FailureMessagesOfSchedules.ContainTheCommandThatRepeatsTheSchedule");
  if (before == nullptr) {
    unsetenv("CORVANE_SCHEDULES");
  } else {
    setenv("CORVANE_SCHEDULES", schedules.c_str(), 1);
  }
}

}  // namespace
}  // namespace CorvaneTest
