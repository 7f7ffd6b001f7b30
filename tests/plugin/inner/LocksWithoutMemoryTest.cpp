// Locks that are released before the end of a block when memory runs out: whichever allocation
// fails, the next command gets the lock. A thread of the plug-in would end the process then, so its
// steps run on the test's own thread here.

#include <gmock/gmock.h>

#include <functional>
#include <string>
#include <vector>

#include "Corvane/Src/Corvane.h"
#include "hostkit/Inspect.h"
#include "orm/storage.h"
#include "tests/plugin/inner/Allocations.h"
#include "tests/support/HeldCall.h"
#include "tests/support/HostThread.h"
#include "tests/support/SimulatedHost.h"

namespace CorvaneTest {
namespace {

using NAMESPACE_Corvane::g_p_IPLUGINAPI_IMPL;
using NAMESPACE_Corvane::IPLUGINAPI_IMPL;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

// Private members, accessed through explicit instantiations, which can name them.
template <class Tag, auto pointer>
struct Opened {
  friend auto Open(Tag) { return pointer; }
};
struct PollMember {
  friend auto Open(PollMember);
};
struct AttachMember {
  friend auto Open(AttachMember);
};
struct EventsMember {
  friend auto Open(EventsMember);
};
template struct Opened<PollMember, &IPLUGINAPI_IMPL::Poll>;
template struct Opened<AttachMember, &IPLUGINAPI_IMPL::Attach>;
template struct Opened<EventsMember, &IPLUGINAPI_IMPL::m_Events>;

// A pass of the worker when a scan is due.
template <class State>
void PollBy(void (IPLUGINAPI_IMPL::*poll)(State&)) {
  State state;
  state.m_ScanDue = true;
  (g_p_IPLUGINAPI_IMPL->*poll)(state);
}

// A database without rows, so that a scan fails only at the plug-in's own allocations.
struct EmptyDatabase : DatabaseWrapper::DatabaseDAO {
  std::vector<std::string> query(std::string) override { return {}; }
};

class LocksWithoutMemory : public testing::Test {
 protected:
  // One card, and no worker.
  void SetUp() override {
    m_Host.WriteIni("PollInterval=255\n");
    m_Real = getDatabasePointer()->dao;
    getDatabasePointer()->dao = std::make_shared<EmptyDatabase>();
    m_Host.AddCard();
    ASSERT_EQ(m_Host.Initialize(), 0U);
    HostKit::SetTraceMask(0);
  }
  void TearDown() override { getDatabasePointer()->dao = m_Real; }

  static std::vector<PI::CEvent>& Queue() { return g_p_IPLUGINAPI_IMPL->*Open(EventsMember()); }

  static void ExpectNoLockHeld() {
    for (const HostKit::LockView& lock : HostKit::Locks()) {
      EXPECT_THAT(lock.owner, IsEmpty()) << "lock " << lock.ordinal;
    }
  }

  // Fails each allocation of the step in turn, until none is left, and returns their number.
  // `prepare` runs before each try without failures.
  template <class Step>
  static std::size_t FailEach(
      Step step, const std::function<void()>& prepare = [] {}) {
    for (std::size_t failing = 1;; ++failing) {
      SCOPED_TRACE("allocation " + std::to_string(failing));
      std::size_t count = 0;
      prepare();
      try {
        const WatchedAllocations watched(failing);
        step();
        count = watched.Count();
      } catch (const std::bad_alloc&) {
        count = failing;
      }
      ExpectNoLockHeld();
      if (HasFailure() || count < failing) return count;
    }
  }

  // On another thread of the host, because the thread that holds a lock can take it again.
  std::size_t EventsForTheNextCommand() {
    std::size_t count = 0;
    const auto collect = [&] { count = m_Host.CollectEvents().size(); };
    { const HostThread thread(collect); }
    return count;
  }

  SimulatedHost m_Host;
  std::shared_ptr<DatabaseWrapper::DatabaseDAO> m_Real;
};

TEST_F(LocksWithoutMemory, CollectingEventsReleasesItsLockAndLosesNoEvent) {
  PI::CEvent event;
  event.m_SourceName = "a name that does not fit into the string itself";
  const PI::COperation request = [] {
    PI::COperation operation;
    operation.m_OperationID = PI::OP_GET_EVENTS;
    return operation;
  }();
  const auto collect = [&] {
    PI::COperation operation = request;
    try {
      m_Host.Execute(PI::CMD_EXECUTE_OPERATION,
                     m_Host.m_AdapterIDs.empty() ? 0 : 0x0130000000000000, &operation);
    } catch (const std::bad_alloc&) {
      EXPECT_THAT(Queue(), SizeIs(3));
      throw;
    }
    EXPECT_EQ(operation.m_Events.size(), 3U);  // a matcher would allocate
  };
  const std::size_t points = FailEach(collect, [&] { Queue().assign(3, event); });
  EXPECT_GE(points, 4U);  // a list and three names
  Queue().assign(2, event);
  EXPECT_EQ(EventsForTheNextCommand(), 2U);
}

TEST_F(LocksWithoutMemory, APollReleasesBothLocks) {
  m_Host.Plugin()->m_HostNotify = [](IPLUGINAPI*) {};
  bool detached = false;
  const std::size_t points = FailEach([&] {
    // Each pass finds a change and raises an event.
    detached = !detached;
    m_Host.Cards().Set("card0", "iom_state", detached ? "0" : "2");
    PollBy(Open(PollMember()));
  });
  EXPECT_GE(points, 50U);
  Queue().resize(4);
  EXPECT_EQ(EventsForTheNextCommand(), 4U);
  EXPECT_THAT(CardSim::Misuse(), IsEmpty());
}

TEST_F(LocksWithoutMemory, AJobReleasesItsLocks) {
  ASSERT_EQ(m_Host.AssignAdapterNumbers(), 0U);  // so that the failure carries a name
  Pass(1);
  CardSim::FailCall("vsl_op_start", 1, 5, "no", 1000);
  const std::string device = "/dev/fct0";
  const std::vector<std::string> before = CardSim::OpenHandles();
  const std::size_t points =
      FailEach([&] { (g_p_IPLUGINAPI_IMPL->*Open(AttachMember()))(device); });
  EXPECT_GE(points, 3U);
  EXPECT_EQ(CardSim::OpenHandles(), before);
  Queue().resize(4);
  EXPECT_EQ(EventsForTheNextCommand(), 4U);
}

// The poll fails for another reason than memory, and traces its releases.
TEST_F(LocksWithoutMemory, AnInterruptedPollTracesItsReleases) {
  struct Broken : DatabaseWrapper::DatabaseDAO {
    std::vector<std::string> query(std::string) override { throw std::logic_error("broken"); }
  };
  getDatabasePointer()->dao = std::make_shared<Broken>();
  HostKit::SetTraceMask(8);
  m_Host.ForgetTraces();
  EXPECT_THROW(PollBy(Open(PollMember())), std::logic_error);
  ExpectNoLockHeld();
  EXPECT_THAT(
      m_Host.LeveledTraces(8),
      ElementsAre("8 Before m_DataLock.Wait(INFINITE)", "8 After m_DataLock.Wait(INFINITE)",
                  "8 Before m_EventsLock.Wait(INFINITE)", "8 After m_EventsLock.Wait(INFINITE)",
                  "8 Before m_EventsLock.Release ()", "8 After m_EventsLock.Release ()",
                  "8 Before m_DataLock.Release ()", "8 After m_DataLock.Release ()"));
  for (const HostKit::TraceLine& line : m_Host.TraceLines()) {
    EXPECT_EQ(line.function, "Worker") << line.text;
    EXPECT_EQ(line.file, "CorvanePlugin") << line.text;
  }
}

// The reason of a failure is formatted only for a trace line.
TEST_F(LocksWithoutMemory, AJobFormatsNoTextThatIsNotTraced) {
  const std::string reason(5000, 'x');  // longer than an error record
  CardSim::FailCall("vsl_op_start", 1, 5, reason, 2);
  const auto largest = [] {
    const WatchedAllocations watched;
    (g_p_IPLUGINAPI_IMPL->*Open(AttachMember()))("/dev/fct0");
    return watched.LargestBytes();
  };
  EXPECT_LT(largest(), 1000U);
  HostKit::SetTraceMask(16);
  EXPECT_GE(largest(), 1000U);
}

}  // namespace
}  // namespace CorvaneTest
