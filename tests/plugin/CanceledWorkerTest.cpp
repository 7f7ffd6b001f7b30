// A worker that is canceled when a stop times out: its locks are released, and commands still work.

#include "tests/plugin/Watch.h"
#include "tests/support/HostThread.h"

namespace CorvaneTest {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class CanceledWorker : public WorkerFixture {
 protected:
  // Blocks the worker in `function` until it is canceled. Earlier calls and traces are cleared.
  void CancelIn(const std::string& function) {
    AddCards(1);
    StartWatch();
    CardSim::SetHook([function](const CardSim::Call& call) {
      if (call.function == function) SleepFor(120000);
    });
    PassMs(20000);
    ClearRecords();
    EXPECT_EQ(m_Host.DeInitialize(), 0U);
    PassMs(1000);
    CardSim::SetHook({});
    EXPECT_TRUE(HostKit::Threads().back().canceled);
    EXPECT_TRUE(HostKit::Threads().back().ended);
    EXPECT_THAT(CardSim::OpenHandles(), IsEmpty());
  }

  // Requests the topology from another thread and returns the number of objects.
  std::size_t CountObjectsFromAnotherThread() {
    std::size_t count = 0;
    const auto read = [&] { count = m_Host.Topology().size(); };
    { const HostThread thread(read); }
    return count;
  }

  Lines Releases() const {
    Lines releases;
    for (const std::string& line : RecordedLines()) {
      if (line.find(".Release (") != std::string::npos) releases.push_back(line);
    }
    return releases;
  }
};

TEST_F(CanceledWorker, ReleasesItsLockWhenStuckInAQuickPoll) {
  CancelIn("vsl_iom_state");
  ExpectNoLockHeld();
  EXPECT_THAT(Releases(),
              ElementsAre("8 Before m_DataLock.Release ()", "8 After m_DataLock.Release ()"));
  EXPECT_EQ(CountObjectsFromAnotherThread(), 3U);
}

TEST_F(CanceledWorker, ReleasesBothLocksWhenStuckInAScan) {
  CancelIn("vsl_pci_device_id");
  ExpectNoLockHeld();
  EXPECT_THAT(Releases(),
              ElementsAre("8 Before m_EventsLock.Release ()", "8 After m_EventsLock.Release ()",
                          "8 Before m_DataLock.Release ()", "8 After m_DataLock.Release ()"));
  EXPECT_EQ(CountObjectsFromAnotherThread(), 3U);
}

}  // namespace
}  // namespace CorvaneTest
