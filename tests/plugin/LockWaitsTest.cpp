// The waits for the plug-in's locks, which have no timeout: they end when the lock is released,
// however long that takes.

#include <atomic>
#include <memory>

#include "tests/plugin/Watch.h"
#include "tests/support/HeldTrace.h"
#include "tests/support/HostThread.h"

namespace CorvaneTest {
namespace {

using testing::ElementsAre;
using testing::SizeIs;

constexpr std::int64_t A_DAY_MS = 86'400'000;

class LockWait : public WorkerFixture {
 protected:
  void StartWithADetachedCard() {
    AddCards(1);
    Set("card0", "iom_state", "0");
    StartWatch();
  }
  std::string State() { return m_Host.Cards().Get("card0", "iom_state"); }
  static bool JobHasEnded() { return HostKit::Threads().at(1).ended; }
};

TEST_F(LockWait, CommandWaitsForScan) {
  StartWithADetachedCard();
  HeldCall scan("vsl_pci_device_id");
  scan.WaitUntilReached();
  std::atomic<std::size_t> objects{0};
  {
    const HostThread host([&] { objects = m_Host.Topology().size(); });
    SleepFor(A_DAY_MS);
    EXPECT_EQ(objects, 0U);
    scan.Release();
  }
  EXPECT_EQ(objects, 3U);
}

TEST_F(LockWait, WorkerWaitsForCommand) {
  StartWithADetachedCard();
  Set("card0", "format_ms", std::to_string(A_DAY_MS));
  {
    const HostThread host([&] { EXPECT_EQ(m_Host.Run(FIRST_DRIVE, PI::OP_FORMAT_DEVICE), 0U); });
    PassMs(A_DAY_MS - 1000);
    EXPECT_THAT(TimesOf("8 Before m_DataLock.Wait(INFINITE)"), ElementsAre(5000U));
  }
}

TEST_F(LockWait, JobWaitsForDataLockDuringScan) {
  StartWithADetachedCard();
  HeldTrace job("ENTER Attach(/dev/fct0)");
  ASSERT_EQ(m_Host.Run(FIRST, PI::OP_ATTACH), 0U);
  job.WaitUntilReached();
  HeldCall scan("vsl_pci_device_id");
  scan.WaitUntilReached();
  job.Release();
  SleepFor(A_DAY_MS);
  EXPECT_EQ(State(), "0");
  scan.Release();
  SleepFor(10000);
  EXPECT_EQ(State(), "2");
}

TEST_F(LockWait, JobWaitsForEventsLockDuringScan) {
  StartWithADetachedCard();
  CardSim::FailCall("vsl_iom_attach_create", 1, 62, "failed");
  HeldCall job("vsl_iom_attach_create");
  ASSERT_EQ(m_Host.Run(FIRST, PI::OP_ATTACH), 0U);
  job.WaitUntilReached();
  HeldTrace scan("Before ScanSystem()");
  scan.WaitUntilReached();
  job.Release();
  SleepFor(A_DAY_MS);
  EXPECT_FALSE(JobHasEnded());
  scan.Release();
  SleepFor(100);
  EXPECT_TRUE(JobHasEnded());
  EXPECT_THAT(Events(), SizeIs(1));
}

// A job holds the events lock while it queues its failure.
class LockHeldByJob : public LockWait {
 protected:
  void StartWithAJob() {
    StartWithADetachedCard();
    CardSim::FailCall("vsl_iom_attach_create", 1, 62, "failed");
    m_pJob = std::make_unique<HeldTrace>("After m_EventsLock.Wait (sg)");
    ASSERT_EQ(m_Host.Run(FIRST, PI::OP_ATTACH), 0U);
    m_pJob->WaitUntilReached();
  }
  void TearDown() override { m_pJob.reset(); }

  std::unique_ptr<HeldTrace> m_pJob;
};

TEST_F(LockHeldByJob, DelaysACollectingHostUntilTheEventIsQueued) {
  StartWithAJob();
  std::atomic<bool> done{false};
  Lines events;
  {
    const HostThread host([&] {
      events = Events();
      done = true;
    });
    SleepFor(A_DAY_MS);
    EXPECT_FALSE(done);
    m_pJob->Release();
  }
  EXPECT_THAT(events, SizeIs(1));
}

// If the scan gave up its wait, the worker would start another pass.
TEST_F(LockHeldByJob, DelaysAScanUntilTheEventIsQueued) {
  StartWithAJob();
  SleepFor(20000);
  const std::uint64_t passes = HostKit::Locks().at(0).taken;
  SleepFor(A_DAY_MS);
  EXPECT_EQ(HostKit::Locks().at(0).taken, passes);
  EXPECT_EQ(HostKit::Locks().at(0).depth, 1U);
  m_pJob->Release();
  SleepFor(100);
  EXPECT_THAT(Notifications(), SizeIs(1));
}

}  // namespace
}  // namespace CorvaneTest
