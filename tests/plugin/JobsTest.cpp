// Attach and detach: the calls, traces and events of a job, and when another job is rejected.

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <ostream>

#include "host/Toolkit.h"
#include "hostkit/Inspect.h"
#include "tests/support/HeldTrace.h"
#include "tests/support/JobHost.h"
#include "tests/support/Journal.h"
#include "tests/support/Numbers.h"

namespace CorvaneTest {
namespace {

using testing::AnyOf;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::HasSubstr;
using testing::IsEmpty;
using Lines = std::vector<std::string>;

constexpr std::uint64_t FIRST_DRIVE = 0x0130000000000002;

using Jobs = JobHost;

struct Job {
  const char* name;
  std::uint32_t operation;
  const char* before;  // states of the card
  const char* after;
  Lines calls;
  Lines traces;
};

std::ostream& operator<<(std::ostream& out, const Job& job) {
  return out << job.name;
}

const Job JOBS[] = {
    {"Attach",
     Number::OP_ATTACH,
     DETACHED,
     ATTACHED,
     {"vsl_iom_create_by_name /dev/fct0", "vsl_iom_attach_create card#1", "vsl_op_start attach#1",
      "vsl_op_wait_for_result attach#1", "vsl_destroy attach#1", "vsl_destroy card#1"},
     {"2 ENTER ExecuteAdapterOperation(50126) (0)",
      "16 ExecuteAdapterOperation(), OP_ATTACH, start Attach thread",
      "2 LEAVE AdapterExecuteOperation() -> 0", "2 ENTER Attach(/dev/fct0)", "2 LEAVE Attach()"}},
    {"Detach",
     Number::OP_DETACH,
     ATTACHED,
     DETACHED,
     {"vsl_iom_create_by_name /dev/fct0", "vsl_iom_detach_create card#1", "vsl_op_start detach#1",
      "vsl_op_wait_for_result detach#1", "vsl_destroy detach#1", "vsl_destroy card#1"},
     {"2 ENTER ExecuteAdapterOperation(50127) (0)",
      "16 ExecuteAdapterOperation(), OP_DETACH, start Detach thread",
      "2 LEAVE AdapterExecuteOperation() -> 0", "2 ENTER Detach(/dev/fct0)", "2 LEAVE Detach()"}},
    {"ForceDetach",
     Number::OP_FORCE_DETACH,
     ATTACHED,
     DETACHED,
     {"vsl_iom_create_by_name /dev/fct0", "vsl_iom_detach_create card#1",
      "vsl_iom_detach_set_force detach#1 1", "vsl_op_start detach#1",
      "vsl_op_wait_for_result detach#1", "vsl_destroy detach#1", "vsl_destroy card#1"},
     {"2 ENTER ExecuteAdapterOperation(50128) (0)",
      "16 ExecuteAdapterOperation(), OP_FORCE_DETACH, start ForceDetach thread",
      "2 LEAVE AdapterExecuteOperation() -> 0", "2 ENTER ForceDetach(/dev/fct0)",
      "2 LEAVE ForceDetach()"}},
};

class EachJob : public Jobs, public testing::WithParamInterface<Job> {};

TEST_P(EachJob, ChangesTheCardWithoutQueuingAnEvent) {
  StartWith({GetParam().before});
  EXPECT_EQ(m_Host.Run(FIRST, GetParam().operation), 0U);
  SleepFor(LONGER_THAN_A_JOB_MS);
  EXPECT_THAT(m_Host.Calls(), ElementsAreArray(GetParam().calls));
  EXPECT_EQ(StateOf("card0"), GetParam().after);
  EXPECT_THAT(Events(), IsEmpty());
  EXPECT_THAT(CardSim::OpenHandles(), IsEmpty());
  EXPECT_THAT(CardSim::Misuse(), IsEmpty());
}

// The thread may start before the command that created it has returned.
TEST_P(EachJob, TracesItsStartAndItsEnd) {
  StartWith({GetParam().before});
  EXPECT_EQ(m_Host.Run(FIRST, GetParam().operation), 0U);
  SleepFor(LONGER_THAN_A_JOB_MS);
  EXPECT_THAT(m_Host.TracesWithLevel(2 | 16),
              testing::UnorderedElementsAreArray(GetParam().traces));
  EXPECT_EQ(m_Host.Traces(2).front(), GetParam().traces.front().substr(2));
  EXPECT_EQ(m_Host.Traces(2).back(), GetParam().traces.back().substr(2));
}

// The job does not hold a lock during any call. Its device is stored before the first call and
// cleared after the last one. The command traces the start of the thread before the first step.
TEST_P(EachJob, RunsItsStepsInOrder) {
  StartWith({GetParam().before}, "0");
  const std::string name = GetParam().name;
  Lines expected = {
      "-- trace 2 ENTER " + name + "(/dev/fct0)",   "-- trace 8 Before m_DataLock.Wait(INFINITE)",
      "d- trace 8 After m_DataLock.Wait(INFINITE)", "d- trace 8 Before m_DataLock.Release ()",
      "-- trace 8 After m_DataLock.Release ()",     "-- busy"};
  for (const std::string& call : GetParam().calls) expected.push_back("-- call " + call);
  expected.push_back("-- trace 2 LEAVE " + name + "()");

  Journal journal(m_Host);
  journal.RecordTraces();
  journal.CollectEvents();
  journal.Observe([this] {
    return m_Host.Check(FIRST, GetParam().operation) == Number::ERR_ADAPTER_BUSY ? "busy" : "free";
  });
  journal.Begin();
  EXPECT_EQ(m_Host.Run(FIRST, GetParam().operation), 0U);
  SleepFor(LONGER_THAN_A_JOB_MS);
  EXPECT_THAT(journal.PluginEntries(), ElementsAreArray(expected));
  const Lines all = journal.Entries();
  const auto announced = std::find(all.begin(), all.end(), "d- trace " + GetParam().traces[1]);
  EXPECT_NE(announced, all.end());
  EXPECT_LT(announced, std::find(all.begin(), all.end(), expected.front()));
}

// The first job reaches its first step only after another job has reused its slot and ended. The
// device of the first job is stored, but the thread recorded in the slot has exited.
TEST_P(EachJob, IsNotBusyOnceTheThreadOfItsSlotHasEnded) {
  StartWith({GetParam().before, GetParam().before}, "0");
  HeldTrace begin("ENTER " + std::string(GetParam().name) + "(/dev/fct0)");
  EXPECT_EQ(m_Host.Run(FIRST, GetParam().operation), 0U);
  begin.WaitUntilReached();
  EXPECT_EQ(m_Host.Run(SECOND, GetParam().operation), 0U);
  SleepFor(LONGER_THAN_A_JOB_MS);
  EXPECT_EQ(StateOf("card1"), GetParam().after);
  HeldCall end("vsl_op_wait_for_result");
  begin.Release();
  end.WaitUntilReached();
  EXPECT_EQ(m_Host.Check(FIRST, GetParam().operation), 0U);
  EXPECT_EQ(m_Host.Check(SECOND, GetParam().operation), 0U);
  end.Release();
  SleepFor(LONGER_THAN_A_JOB_MS);
  EXPECT_EQ(StateOf("card0"), GetParam().after);
}

TEST_P(EachJob, ReturnsImmediatelyAndRunsWithoutALock) {
  StartWith({GetParam().before});
  HeldCall held("vsl_op_wait_for_result");
  const std::int64_t begin = HostKit::SteadyNowNs();
  EXPECT_EQ(m_Host.Run(FIRST, GetParam().operation), 0U);
  held.WaitUntilReached();
  EXPECT_EQ(HostKit::SteadyNowNs(), begin);
  for (const HostKit::LockView& lock : HostKit::Locks()) EXPECT_EQ(lock.owner, "");
  EXPECT_EQ(m_Host.Topology().size(), 3U);
  EXPECT_FALSE(m_Host.Properties(FIRST).empty());
  EXPECT_FALSE(m_Host.Properties(FIRST_DRIVE).empty());
  EXPECT_THAT(m_Host.CollectEvents(), IsEmpty());
  held.Release();
  SleepFor(LONGER_THAN_A_JOB_MS);
  EXPECT_EQ(StateOf("card0"), GetParam().after);
}

// A job counts as busy as soon as it has stored its device, which it does before it waits for a
// lock.
TEST_P(EachJob, IsBusyBeforeItWaitsForALock) {
  const std::pair<std::string, unsigned int> steps[] = {
      {"ENTER " + std::string(GetParam().name) + "(/dev/fct0)", 0U},
      {"Before m_DataLock.Wait(INFINITE)", Number::ERR_ADAPTER_BUSY}};
  for (const auto& [line, checked] : steps) {
    SimulatedHost host;
    host.WriteIni("PollInterval=255\n");
    host.Cards().Set(host.AddCard(), "iom_state", GetParam().before);
    ASSERT_EQ(host.Start(), 0U);
    SleepFor(1);
    HeldTrace held(line);
    ASSERT_EQ(host.Run(FIRST, GetParam().operation), 0U);
    held.WaitUntilReached();
    for (const HostKit::LockView& lock : HostKit::Locks()) EXPECT_EQ(lock.owner, "");
    EXPECT_EQ(host.Check(FIRST, GetParam().operation), checked) << line;
    held.Release();
    SleepFor(LONGER_THAN_A_JOB_MS);
  }
}

// The job is also busy while another thread holds the lock, for any length of time.
TEST_P(EachJob, IsBusyWhileItWaitsForTheDataLock) {
  StartWith({GetParam().before});
  unsigned int checked = 0;
  CardSim::SetHook([&](const CardSim::Call& call) {
    if (call.function != "vsl_open") return;
    CardSim::SetHook({});
    EXPECT_EQ(HostKit::Locks()[0].owner, "main");
    EXPECT_EQ(m_Host.Run(FIRST, GetParam().operation), 0U);
    SleepFor(1000);
    checked = m_Host.Check(FIRST, GetParam().operation);
  });
  m_Host.Properties(FIRST);
  EXPECT_EQ(checked, Number::ERR_ADAPTER_BUSY);
  SleepFor(LONGER_THAN_A_JOB_MS);
  EXPECT_EQ(StateOf("card0"), GetParam().after);
}

INSTANTIATE_TEST_SUITE_P(Kinds, EachJob, testing::ValuesIn(JOBS),
                         [](const auto& test) { return std::string(test.param.name); });

// The order of the lock steps: those for the preparation of the event, then those for queuing it.
TEST_F(Jobs, TraceEachLockStep) {
  StartWith({DETACHED});
  CardSim::FailCall("vsl_iom_create_by_name", 1, 61, "gone");
  EXPECT_EQ(m_Host.Run(FIRST, PI::OP_ATTACH), 0U);
  SleepFor(LONGER_THAN_A_JOB_MS);
  Lines lines;
  for (const std::string& line : m_Host.TracesWithLevel(2 | 8 | 16)) {
    const bool isFromTheCommand = line.find("m_DataLock.Wait (sg)") != std::string::npos ||
                                  line.find("xecute") != std::string::npos;
    if (!isFromTheCommand) lines.push_back(line);
  }
  EXPECT_THAT(lines, ElementsAre("2 ENTER Attach(/dev/fct0)", "8 Before m_DataLock.Wait(INFINITE)",
                                 "8 After m_DataLock.Wait(INFINITE)",
                                 "8 Before m_DataLock.Release ()", "8 After m_DataLock.Release ()",
                                 "16 Attach, vsl_iom_create_by_name = 61 (gone)",
                                 "8 Before m_EventsLock.Wait (sg)",
                                 "8 After m_EventsLock.Wait (sg)", "2 LEAVE Attach()"));
}

// The results of the checks during a job and after its end.
struct Busy {
  const char* name;
  std::uint32_t running;
  const char* before;  // state of the card with the job and of the other card
  std::array<std::uint32_t, 3> whileRunning;  // checks for attach, detach, forced detach
  std::array<std::uint32_t, 3> afterwards;
};

std::ostream& operator<<(std::ostream& out, const Busy& busy) {
  return out << busy.name;
}

class BusyCheck : public Jobs, public testing::WithParamInterface<Busy> {
 protected:
  std::array<std::uint32_t, 3> Checks(std::uint64_t adapter) {
    return {m_Host.Check(adapter, PI::OP_ATTACH), m_Host.Check(adapter, PI::OP_DETACH),
            m_Host.Check(adapter, PI::OP_FORCE_DETACH)};
  }
};

TEST_P(BusyCheck, BlocksItsSlotForEveryCardButNotTheOtherSlot) {
  StartWith({GetParam().before, GetParam().before});
  HeldCall held("vsl_op_wait_for_result");
  EXPECT_EQ(Checks(FIRST), GetParam().afterwards);
  EXPECT_EQ(m_Host.Run(FIRST, GetParam().running), 0U);
  held.WaitUntilReached();
  EXPECT_EQ(Checks(FIRST), GetParam().whileRunning);
  EXPECT_EQ(Checks(SECOND), GetParam().whileRunning);
  held.Release();
  SleepFor(LONGER_THAN_A_JOB_MS);
  EXPECT_EQ(Checks(SECOND), GetParam().afterwards);
}

INSTANTIATE_TEST_SUITE_P(
    Jobs, BusyCheck,
    testing::Values(Busy{"Attach",
                         Number::OP_ATTACH,
                         DETACHED,
                         {Number::ERR_ADAPTER_BUSY, Number::ERR_GENERAL, Number::ERR_GENERAL},
                         {0, Number::ERR_GENERAL, Number::ERR_GENERAL}},
                    Busy{"Detach",
                         Number::OP_DETACH,
                         ATTACHED,
                         {Number::ERR_GENERAL, Number::ERR_ADAPTER_BUSY, Number::ERR_ADAPTER_BUSY},
                         {Number::ERR_GENERAL, 0, 0}},
                    Busy{"ForceDetach",
                         Number::OP_FORCE_DETACH,
                         ATTACHED,
                         {Number::ERR_GENERAL, Number::ERR_ADAPTER_BUSY, Number::ERR_ADAPTER_BUSY},
                         {Number::ERR_GENERAL, 0, 0}}),
    [](const auto& test) { return std::string(test.param.name); });

TEST_F(Jobs, TraceTheExitOfABusyCheck) {
  StartWith({DETACHED});
  HeldCall held("vsl_op_start");
  EXPECT_EQ(m_Host.Run(FIRST, PI::OP_ATTACH), 0U);
  held.WaitUntilReached();
  m_Host.ClearTraces();
  EXPECT_EQ(m_Host.Check(FIRST, PI::OP_ATTACH), Number::ERR_ADAPTER_BUSY);
  EXPECT_THAT(m_Host.TracesWithLevel(16),
              ElementsAre("16 ENTER CheckAdapterOperation operation=50126",
                          "16 LEAVE CheckAdapterOperation -> 20031"));
  held.Release();
  SleepFor(LONGER_THAN_A_JOB_MS);
}

// Renders the threads of this test's plug-in, without the threads that earlier tests abandoned
// deliberately.
Lines Threads() {
  Lines texts;
  for (const HostKit::ThreadView& thread : HostKit::Threads()) {
    if (thread.ordinal == 0) continue;
    texts.push_back(std::to_string(thread.ordinal) + (thread.ended ? " ended" : " runs"));
  }
  return texts;
}

// Both kinds of detach share one slot.
TEST_F(Jobs, AForcedDetachReusesTheSlotOfAFinishedDetach) {
  StartWith({ATTACHED, ATTACHED});
  EXPECT_EQ(m_Host.Run(FIRST, PI::OP_DETACH), 0U);
  SleepFor(LONGER_THAN_A_JOB_MS);
  EXPECT_THAT(Threads(), ElementsAre("1 runs", "2 ended"));
  EXPECT_EQ(m_Host.Check(SECOND, PI::OP_FORCE_DETACH), 0U);
  EXPECT_EQ(m_Host.Run(SECOND, PI::OP_FORCE_DETACH), 0U);
  EXPECT_THAT(Threads(), ElementsAre("1 runs", "3 runs"));
  SleepFor(LONGER_THAN_A_JOB_MS);
  EXPECT_THAT(Threads(), ElementsAre("1 runs", "3 ended"));
  EXPECT_EQ(StateOf("card1"), DETACHED);
}

TEST_F(Jobs, AttachAndDetachRunSimultaneouslyOnTwoCards) {
  StartWith({DETACHED, ATTACHED, ATTACHED});
  HeldCall held("vsl_op_wait_for_result");
  EXPECT_EQ(m_Host.Run(FIRST, PI::OP_ATTACH), 0U);
  held.WaitUntilReached();
  EXPECT_EQ(m_Host.Check(THIRD, PI::OP_DETACH), 0U);
  EXPECT_EQ(m_Host.Run(THIRD, PI::OP_DETACH), 0U);
  SleepFor(LONGER_THAN_A_JOB_MS);
  EXPECT_EQ(StateOf("card2"), DETACHED);
  EXPECT_EQ(StateOf("card0"), "1");
  held.Release();
  SleepFor(LONGER_THAN_A_JOB_MS);
  EXPECT_EQ(StateOf("card0"), ATTACHED);
  EXPECT_THAT(Events(), IsEmpty());
}

// The job clears its device before its thread exits, and counts as ended as soon as the device is
// cleared.
TEST_F(Jobs, AreNotBusyWhileTheirThreadExits) {
  StartWith({DETACHED}, "0");
  HeldTrace held("LEAVE Attach()");
  EXPECT_EQ(m_Host.Run(FIRST, PI::OP_ATTACH), 0U);
  held.WaitUntilReached();
  EXPECT_EQ(m_Host.Check(FIRST, PI::OP_ATTACH), 0U);
  EXPECT_THAT(CardSim::OpenHandles(), IsEmpty());
  held.Release();
  SleepFor(1);
}

TEST_F(Jobs, BothSucceedWhenTwoAttachesOverlap) {
  StartWith({DETACHED, DETACHED});
  HeldCall held("vsl_op_wait_for_result");
  EXPECT_EQ(m_Host.Run(FIRST, PI::OP_ATTACH), 0U);
  held.WaitUntilReached();
  EXPECT_EQ(m_Host.Run(SECOND, PI::OP_ATTACH), 0U);
  SleepFor(LONGER_THAN_A_JOB_MS);
  EXPECT_EQ(StateOf("card1"), ATTACHED);
  // The slot belongs to the second job, which has ended.
  EXPECT_EQ(m_Host.Check(FIRST, PI::OP_ATTACH), 0U);
  held.Release();
  SleepFor(LONGER_THAN_A_JOB_MS);
  EXPECT_EQ(StateOf("card0"), ATTACHED);
  EXPECT_THAT(Events(), IsEmpty());
  EXPECT_THAT(CardSim::OpenHandles(), IsEmpty());
}

TEST_F(Jobs, DelayTheStopInStepsOfHalfASecond) {
  StartWith({DETACHED, ATTACHED}, "8000");
  EXPECT_EQ(m_Host.Run(FIRST, PI::OP_ATTACH), 0U);
  EXPECT_EQ(m_Host.Run(SECOND, PI::OP_DETACH), 0U);
  m_Host.ClearTraces();
  const unsigned long begin = MBX::Misc::now();
  EXPECT_EQ(m_Host.DeInitialize(), 0U);
  EXPECT_EQ(MBX::Misc::now() - begin, 8200U);
  const Lines lines = m_Host.Traces(16);
  EXPECT_THAT(lines, testing::Contains("Wait for termination... (Attach)").Times(16));
  EXPECT_THAT(lines, testing::Contains("Wait for termination... (Detach)").Times(16));
  EXPECT_THAT(lines, testing::Not(testing::Contains(HasSubstr("Kill"))));
  EXPECT_EQ(m_Host.Calls().back(), "vsl_fini");
  m_Host.Release();
  EXPECT_EQ(m_Host.Plugin(), nullptr);
  EXPECT_THAT(CardSim::OpenHandles(), IsEmpty());
  EXPECT_THAT(CardSim::Misuse(), IsEmpty());
}

TEST_F(Jobs, DelayTheStopByAtMost25Seconds) {
  StartWith({DETACHED}, "40000");
  EXPECT_EQ(m_Host.Run(FIRST, PI::OP_ATTACH), 0U);
  m_Host.ClearTraces();
  const unsigned long begin = MBX::Misc::now();
  EXPECT_EQ(m_Host.DeInitialize(), 0U);
  EXPECT_EQ(MBX::Misc::now() - begin, 25200U);
  const Lines lines = m_Host.Traces(16);
  EXPECT_THAT(lines, testing::Contains("Wait for termination... (Attach)").Times(51));
  EXPECT_THAT(lines, testing::Contains("Kill Attach").Times(1));
  // The abandoned job continues on its card and ends normally.
  SleepFor(20000);
  EXPECT_EQ(m_Host.Traces(2).back(), "LEAVE Attach()");
}

}  // namespace
}  // namespace CorvaneTest
