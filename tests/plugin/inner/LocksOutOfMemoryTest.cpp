// Running out of memory while the plug-in holds a lock that it releases before the end of a block.
// Whichever allocation fails, the next command can acquire the lock. The exception would terminate
// the process on a thread of the plug-in, so the test calls that thread's functions itself.

#include <gmock/gmock.h>

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

#include "Corvane/Src/Corvane.h"
#include "host/vsl_abstraction.h"
#include "hostkit/Inspect.h"
#include "orm/storage.h"
#include "tests/plugin/inner/Allocations.h"
#include "tests/plugin/inner/PrivateMember.h"
#include "tests/support/HeldCall.h"
#include "tests/support/HostThread.h"
#include "tests/support/SimulatedHost.h"

namespace CorvaneTest {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

PRIVATE_MEMBER(AttachMember, Attach, unsigned int (Plugin::*)(const std::string&));
PRIVATE_MEMBER(EventsMember, m_Events, std::vector<PI::CEvent> Plugin::*);

// The type of `Poll` is deduced, because the type of its parameter is also private.
template <class Tag, auto pointer>
struct Deduced {
  friend auto PointerTo(Tag) { return pointer; }
};
struct PollMember {
  friend auto PointerTo(PollMember);
};
template struct Deduced<PollMember, &Plugin::Poll>;

// Runs a pass of the worker in which a scan is due.
template <class State>
void RunPoll(void (Plugin::*poll)(State&)) {
  State state;
  state.m_ScanDue = true;
  (ThePlugin().*poll)(state);
}

constexpr unsigned int kNoTraces = 0;
constexpr unsigned int kLockTraces = 8;
constexpr unsigned int kResultTraces = 16;
constexpr unsigned int kAllTraces = ~0U;

// A database without rows, so that a scan fails only at the plug-in's own allocations.
struct EmptyDatabase : DatabaseWrapper::DatabaseDAO {
  std::vector<std::string> query(std::string) override { return {}; }
};

class LocksOutOfMemory : public testing::Test {
 protected:
  // One card, and no worker.
  void SetUp() override {
    m_Host.WriteIni("PollInterval=255\n");
    m_Real = getDatabasePointer()->dao;
    getDatabasePointer()->dao = std::make_shared<EmptyDatabase>();
    m_Host.AddCard();
    ASSERT_EQ(m_Host.Initialize(), 0U);
    HostKit::SetTraceMask(kNoTraces);
  }
  void TearDown() override { getDatabasePointer()->dao = m_Real; }

  static std::vector<PI::CEvent>& Queue() { return ThePlugin().*PointerTo(EventsMember()); }
  static void AttachOnThisThread(const std::string& device) {
    (ThePlugin().*PointerTo(AttachMember()))(device);
  }

  static void ExpectNoLockHeld() {
    for (const HostKit::LockView& lock : HostKit::Locks()) {
      EXPECT_THAT(lock.owner, IsEmpty()) << "lock " << lock.ordinal;
    }
  }

  // Collects on another thread of the host, because the thread that holds a lock can acquire it
  // again.
  std::size_t CountEventsOnAnotherThread() {
    std::size_t count = 0;
    const auto collect = [&] { count = m_Host.CollectEvents().size(); };
    { const HostThread thread(collect); }
    return count;
  }

  SimulatedHost m_Host;
  std::shared_ptr<DatabaseWrapper::DatabaseDAO> m_Real;
};

struct MemoryCase {
  const char* name;
  unsigned int traceMask;
  Shortage shortage;
};

class EachAllocationFailure : public LocksOutOfMemory,
                              public testing::WithParamInterface<MemoryCase> {
 protected:
  // Fails each allocation of the step in turn, until none is left, and returns their number.
  // `prepare` runs before each attempt and `check` after it, both without failures.
  template <class Step>
  std::size_t FailEach(
      Step step, const std::function<void()>& prepare = [] {},
      const std::function<void()>& check = [] {}) {
    for (std::size_t failing = 1;; ++failing) {
      SCOPED_TRACE("allocation " + std::to_string(failing));
      prepare();
      const std::size_t count = CountWithFailure(step, failing);
      ExpectNoLockHeld();
      check();
      if (HasFailure() || count < failing) return count;
    }
  }

 private:
  // Runs the step with memory running out at allocation number `failing`. Returns the number of
  // allocations, at most `failing`; fewer means that the step completed before any failed.
  template <class Step>
  std::size_t CountWithFailure(Step step, std::size_t failing) {
    HostKit::SetTraceMask(GetParam().traceMask);
    std::size_t count = failing;
    try {
      const AllocationCounter counter(failing, GetParam().shortage);
      step();
      count = counter.Count();
    } catch (const std::bad_alloc&) {
    }
    HostKit::SetTraceMask(kNoTraces);
    m_Host.ClearTraces();
    return std::min(count, failing);
  }
};

TEST_P(EachAllocationFailure, ReleasesTheLockAndKeepsCollectedEvents) {
  PI::CEvent event;
  event.m_SourceName = "a name too long for the string's internal buffer";
  PI::COperation operation;
  operation.m_OperationID = PI::OP_GET_EVENTS;
  const auto prepare = [&] {
    Queue().assign(3, event);
    operation.m_Events.clear();
  };
  const std::size_t allocations =
      FailEach([&] { m_Host.Execute(PI::CMD_EXECUTE_OPERATION, PluginObject().m_ID, &operation); },
               prepare, [&] { EXPECT_EQ(Queue().size() + operation.m_Events.size(), 3U); });
  EXPECT_EQ(operation.m_Events.size(), 3U);
  const bool isTraced = GetParam().traceMask != kNoTraces;
  EXPECT_EQ(allocations > 0, isTraced);  // the events are moved
  Queue().assign(2, event);
  EXPECT_EQ(CountEventsOnAnotherThread(), 2U);
}

TEST_P(EachAllocationFailure, ReleasesBothLocksOfAPoll) {
  m_Host.Plugin()->m_HostNotify = [](IPLUGINAPI*) {};
  const auto prepare = [&] {
    // Each pass finds a change and raises an event.
    const bool attached = Adapters().empty() || Adapters()[0].m_IomState == VSL_STATE_ATTACHED;
    m_Host.Cards().Set("card0", "iom_state", attached ? "0" : "2");
    Queue().clear();
  };
  const std::size_t allocations = FailEach([&] { RunPoll(PointerTo(PollMember())); }, prepare);
  EXPECT_GE(allocations, 30U);
  Queue().resize(4);
  EXPECT_EQ(CountEventsOnAnotherThread(), 4U);
  EXPECT_THAT(CardSim::Misuse(), IsEmpty());
}

TEST_P(EachAllocationFailure, ReleasesTheLocksOfAJob) {
  // Gives the adapter the name that the failure event contains.
  ASSERT_EQ(m_Host.AssignAdapterNumbers(), 0U);
  SleepFor(1);
  CardSim::FailCall("vsl_op_start", 1, 5, "no", 1000);
  const std::string device = "/dev/fct0";
  const std::vector<std::string> before = CardSim::OpenHandles();
  const std::size_t allocations = FailEach([&] { AttachOnThisThread(device); });
  EXPECT_GE(allocations, 3U);
  EXPECT_EQ(CardSim::OpenHandles(), before);
  Queue().resize(4);
  EXPECT_EQ(CountEventsOnAnotherThread(), 4U);
}

INSTANTIATE_TEST_SUITE_P(LocksOutOfMemory, EachAllocationFailure,
                         testing::Values(MemoryCase{"Untraced", kNoTraces, Shortage::OneFails},
                                         MemoryCase{"Traced", kAllTraces, Shortage::OneFails},
                                         MemoryCase{"TracedWithAllFailing", kAllTraces,
                                                    Shortage::AllFail}),
                         [](const auto& row) { return std::string(row.param.name); });

// A poll that ends with an exception other than `std::bad_alloc` still traces the release of both
// locks.
TEST_F(LocksOutOfMemory, APollThatThrowsTracesTheReleaseOfBothLocks) {
  struct Broken : DatabaseWrapper::DatabaseDAO {
    std::vector<std::string> query(std::string) override { throw std::logic_error("broken"); }
  };
  getDatabasePointer()->dao = std::make_shared<Broken>();
  HostKit::SetTraceMask(kLockTraces);
  m_Host.ClearTraces();
  EXPECT_THROW(RunPoll(PointerTo(PollMember())), std::logic_error);
  ExpectNoLockHeld();
  EXPECT_THAT(
      m_Host.TracesWithLevel(kLockTraces),
      ElementsAre("8 Before m_DataLock.Wait(INFINITE)", "8 After m_DataLock.Wait(INFINITE)",
                  "8 Before m_EventsLock.Wait(INFINITE)", "8 After m_EventsLock.Wait(INFINITE)",
                  "8 Before m_EventsLock.Release ()", "8 After m_EventsLock.Release ()",
                  "8 Before m_DataLock.Release ()", "8 After m_DataLock.Release ()"));
  for (const HostKit::TraceLine& line : m_Host.TraceLines()) {
    EXPECT_EQ(line.function, "Worker") << line.text;
    EXPECT_EQ(line.file, "CorvanePlugin") << line.text;
  }
}

// The reason for a failure is formatted only for a trace line.
TEST_F(LocksOutOfMemory, AJobFormatsOnlyTextThatIsTraced) {
  const std::string reason(5000, 'x');  // longer than an error record
  CardSim::FailCall("vsl_op_start", 1, 5, reason, 2);
  const auto largest = [] {
    const AllocationCounter counter;
    AttachOnThisThread("/dev/fct0");
    return counter.LargestBytes();
  };
  EXPECT_LT(largest(), 1000U);
  HostKit::SetTraceMask(kResultTraces);
  EXPECT_GE(largest(), 1000U);
}

}  // namespace
}  // namespace CorvaneTest
