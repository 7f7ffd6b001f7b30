// Failing jobs: the single event that each job queues, and the calls after the failure.

#include <gmock/gmock.h>

#include <ostream>

#include "host/Toolkit.h"
#include "hostkit/Inspect.h"
#include "tests/support/HeldTrace.h"
#include "tests/support/JobHost.h"
#include "tests/support/Journal.h"
#include "tests/support/Numbers.h"

namespace CorvaneTest {
namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using Lines = std::vector<std::string>;
using JobFailures = JobHost;

struct JobFailure {
  const char* name;
  std::uint32_t operation;
  const char* before;  // state of the card
  const char* function;
  Lines calls;
  const char* trace;
  const char* event;
};

std::ostream& operator<<(std::ostream& out, const JobFailure& failure) {
  return out << failure.name;
}

constexpr const char* ATTACH_FAILED =
    "CTRL_ATTACH_FAILED severity 4 object 1 source SanDisk Flash Adapter 785GB (1)|SanDisk Flash "
    "Adapter 785GB (1)|||||||||||||";
constexpr const char* DETACH_FAILED =
    "CTRL_DETACH_FAILED severity 3 object 1 source SanDisk Flash Adapter 785GB (1)|SanDisk Flash "
    "Adapter 785GB (1)|||||||||||||";
constexpr const char* FORCE_DETACH_FAILED =
    "CTRL_DETACH_FAILED severity 4 object 1 source SanDisk Flash Adapter 785GB (1)|SanDisk Flash "
    "Adapter 785GB (1)|||||||||||||";

const JobFailure JOB_FAILURES[] = {
    {"AttachCreateByName",
     Number::OP_ATTACH,
     DETACHED,
     "vsl_iom_create_by_name",
     {"vsl_iom_create_by_name /dev/fct0"},
     "Attach, vsl_iom_create_by_name = 62 (failed)",
     ATTACH_FAILED},
    {"AttachCreateJob",
     Number::OP_ATTACH,
     DETACHED,
     "vsl_iom_attach_create",
     {"vsl_iom_create_by_name /dev/fct0", "vsl_iom_attach_create card#1", "vsl_destroy card#1"},
     "Attach, vsl_iom_attach_create = 62 (failed)",
     ATTACH_FAILED},
    {"AttachStart",
     Number::OP_ATTACH,
     DETACHED,
     "vsl_op_start",
     {"vsl_iom_create_by_name /dev/fct0", "vsl_iom_attach_create card#1", "vsl_op_start attach#1",
      "vsl_destroy attach#1", "vsl_destroy card#1"},
     "Attach, vsl_op_start = 62 (failed)",
     ATTACH_FAILED},
    {"AttachWaitForResult",
     Number::OP_ATTACH,
     DETACHED,
     "vsl_op_wait_for_result",
     {"vsl_iom_create_by_name /dev/fct0", "vsl_iom_attach_create card#1", "vsl_op_start attach#1",
      "vsl_op_wait_for_result attach#1", "vsl_destroy attach#1", "vsl_destroy card#1"},
     "Attach, vsl_op_wait_for_result = 62 (failed)",
     ATTACH_FAILED},
    {"DetachCreateByName",
     Number::OP_DETACH,
     ATTACHED,
     "vsl_iom_create_by_name",
     {"vsl_iom_create_by_name /dev/fct0"},
     "Detach, vsl_iom_create_by_name = 62 (failed)",
     DETACH_FAILED},
    {"DetachCreateJob",
     Number::OP_DETACH,
     ATTACHED,
     "vsl_iom_detach_create",
     {"vsl_iom_create_by_name /dev/fct0", "vsl_iom_detach_create card#1", "vsl_destroy card#1"},
     "Detach, vsl_iom_detach_create = 62 (failed)",
     DETACH_FAILED},
    {"DetachStart",
     Number::OP_DETACH,
     ATTACHED,
     "vsl_op_start",
     {"vsl_iom_create_by_name /dev/fct0", "vsl_iom_detach_create card#1", "vsl_op_start detach#1",
      "vsl_destroy detach#1", "vsl_destroy card#1"},
     "Detach, vsl_op_start = 62 (failed)",
     DETACH_FAILED},
    {"DetachWaitForResult",
     Number::OP_DETACH,
     ATTACHED,
     "vsl_op_wait_for_result",
     {"vsl_iom_create_by_name /dev/fct0", "vsl_iom_detach_create card#1", "vsl_op_start detach#1",
      "vsl_op_wait_for_result detach#1", "vsl_destroy detach#1", "vsl_destroy card#1"},
     "Detach, vsl_op_wait_for_result = 62 (failed)",
     DETACH_FAILED},
    {"ForceDetachCreateByName",
     Number::OP_FORCE_DETACH,
     ATTACHED,
     "vsl_iom_create_by_name",
     {"vsl_iom_create_by_name /dev/fct0"},
     "ForceDetach, vsl_iom_create_by_name = 62 (failed)",
     FORCE_DETACH_FAILED},
    {"ForceDetachCreateJob",
     Number::OP_FORCE_DETACH,
     ATTACHED,
     "vsl_iom_detach_create",
     {"vsl_iom_create_by_name /dev/fct0", "vsl_iom_detach_create card#1", "vsl_destroy card#1"},
     "ForceDetach, vsl_iom_detach_create = 62 (failed)",
     FORCE_DETACH_FAILED},
    {"ForceDetachSetForce",
     Number::OP_FORCE_DETACH,
     ATTACHED,
     "vsl_iom_detach_set_force",
     {"vsl_iom_create_by_name /dev/fct0", "vsl_iom_detach_create card#1",
      "vsl_iom_detach_set_force detach#1 1", "vsl_destroy detach#1", "vsl_destroy card#1"},
     "ForceDetach, vsl_iom_detach_set_force = 62 (failed)",
     FORCE_DETACH_FAILED},
    {"ForceDetachStart",
     Number::OP_FORCE_DETACH,
     ATTACHED,
     "vsl_op_start",
     {"vsl_iom_create_by_name /dev/fct0", "vsl_iom_detach_create card#1",
      "vsl_iom_detach_set_force detach#1 1", "vsl_op_start detach#1", "vsl_destroy detach#1",
      "vsl_destroy card#1"},
     "ForceDetach, vsl_op_start = 62 (failed)",
     FORCE_DETACH_FAILED},
    {"ForceDetachWaitForResult",
     Number::OP_FORCE_DETACH,
     ATTACHED,
     "vsl_op_wait_for_result",
     {"vsl_iom_create_by_name /dev/fct0", "vsl_iom_detach_create card#1",
      "vsl_iom_detach_set_force detach#1 1", "vsl_op_start detach#1",
      "vsl_op_wait_for_result detach#1", "vsl_destroy detach#1", "vsl_destroy card#1"},
     "ForceDetach, vsl_op_wait_for_result = 62 (failed)",
     FORCE_DETACH_FAILED},
};

class EachJobFailure : public JobFailures, public testing::WithParamInterface<JobFailure> {};

TEST_P(EachJobFailure, QueuesOneEventAndDestroysItsHandles) {
  StartWith({GetParam().before});
  CardSim::FailCall(GetParam().function, 1, 62, "failed");
  const unsigned long now = MBX::Misc::now();
  EXPECT_EQ(m_Host.Run(FIRST, GetParam().operation), 0U);
  SleepFor(LONGER_THAN_A_JOB_MS);
  EXPECT_THAT(m_Host.Calls(), ElementsAreArray(GetParam().calls));
  EXPECT_THAT(m_Host.Traces(16), testing::Contains(std::string(GetParam().trace)).Times(1));
  const std::vector<PI::CEvent> events = m_Host.CollectEvents();
  ASSERT_EQ(events.size(), 1U);
  EXPECT_EQ(Render(events[0]), GetParam().event);
  EXPECT_EQ(events[0].m_ObjectID, FIRST);
  EXPECT_EQ(events[0].m_Time, now);  // the time of the preparation, not of the failure
  EXPECT_THAT(CardSim::OpenHandles(), IsEmpty());
  EXPECT_THAT(CardSim::Misuse(), IsEmpty());
}

TEST_P(EachJobFailure, DoesNotAffectTheNextJob) {
  StartWith({GetParam().before});
  CardSim::FailCall(GetParam().function, 1, 62, "failed");
  EXPECT_EQ(m_Host.Run(FIRST, GetParam().operation), 0U);
  SleepFor(LONGER_THAN_A_JOB_MS);
  EXPECT_EQ(StateOf("card0"), GetParam().before);
  EXPECT_EQ(m_Host.CollectEvents().size(), 1U);
  EXPECT_EQ(m_Host.Check(FIRST, GetParam().operation), 0U);
  EXPECT_EQ(m_Host.Run(FIRST, GetParam().operation), 0U);
  SleepFor(LONGER_THAN_A_JOB_MS);
  EXPECT_NE(StateOf("card0"), GetParam().before);
  EXPECT_THAT(Events(), IsEmpty());
}

// The steps of every job between its first line and its first call.
const Lines BEGIN = {
    "-- trace 8 Before m_DataLock.Wait(INFINITE)", "d- trace 8 After m_DataLock.Wait(INFINITE)",
    "d- trace 8 Before m_DataLock.Release ()", "-- trace 8 After m_DataLock.Release ()", "-- busy"};

// The job does not hold a lock during any call. It traces the reason for the failure, queues its
// event, and only then destroys its handles; it clears its device last.
TEST_P(EachJobFailure, QueuesItsEventBeforeDestroyingAndClearsItsDeviceLast) {
  StartWith({GetParam().before});
  const std::string trace = GetParam().trace;
  const std::string name = trace.substr(0, trace.find(','));
  Lines expected = {"-- trace 2 ENTER " + name + "(/dev/fct0)"};
  expected.insert(expected.end(), BEGIN.begin(), BEGIN.end());
  const std::string rendered = GetParam().event;
  const std::string event = "-- event " + rendered.substr(0, rendered.find(' '));
  for (const std::string& call : GetParam().calls) {
    expected.push_back("-- call " + call);
    if (call.substr(0, call.find(' ')) != GetParam().function) continue;
    expected.insert(expected.end(),
                    {"-- trace 16 " + trace, "-- trace 8 Before m_EventsLock.Wait (sg)",
                     "-e trace 8 After m_EventsLock.Wait (sg)", event});
  }
  expected.insert(expected.end(), {"-- trace 2 LEAVE " + name + "()"});
  // If no call follows the event, the journal shows it only after the job has ended.
  if (GetParam().calls.size() == 1) expected.erase(expected.end() - 2);

  Journal journal(m_Host);
  journal.RecordTraces();
  journal.CollectEvents();
  journal.Observe([this] {
    return m_Host.Check(FIRST, GetParam().operation) == Number::ERR_ADAPTER_BUSY ? "busy" : "free";
  });
  journal.Begin();
  CardSim::FailCall(GetParam().function, 1, 62, "failed");
  EXPECT_EQ(m_Host.Run(FIRST, GetParam().operation), 0U);
  SleepFor(LONGER_THAN_A_JOB_MS);
  EXPECT_THAT(journal.PluginEntries(), ElementsAreArray(expected));
  journal.ObserveNow();
  EXPECT_THAT(journal.Entries(), testing::Contains(event).Times(1));
}

// A failed job also clears its device before its thread exits.
TEST_P(EachJobFailure, IsNotBusyWhileItsThreadExits) {
  StartWith({GetParam().before}, "0");
  CardSim::FailCall(GetParam().function, 1, 62, "failed");
  const std::string trace = GetParam().trace;
  HeldTrace held("LEAVE " + trace.substr(0, trace.find(',')) + "()");
  EXPECT_EQ(m_Host.Run(FIRST, GetParam().operation), 0U);
  held.WaitUntilReached();
  EXPECT_FALSE(HostKit::Threads().back().ended);
  EXPECT_EQ(m_Host.Check(FIRST, GetParam().operation), 0U);
  EXPECT_EQ(m_Host.CollectEvents().size(), 1U);
  EXPECT_THAT(CardSim::OpenHandles(), IsEmpty());
  held.Release();
  SleepFor(1);
}

INSTANTIATE_TEST_SUITE_P(Calls, EachJobFailure, testing::ValuesIn(JOB_FAILURES),
                         [](const auto& test) { return std::string(test.param.name); });

TEST_F(JobFailures, ReportTheStartTimeOfTheJob) {
  StartWith({DETACHED});
  CardSim::FailCall("vsl_op_wait_for_result", 1, 63, "timeout");
  HeldCall held("vsl_op_wait_for_result");
  const unsigned long start = MBX::Misc::now();
  EXPECT_EQ(m_Host.Run(FIRST, PI::OP_ATTACH), 0U);
  held.WaitUntilReached();
  SleepFor(3000);
  held.Release();
  SleepFor(LONGER_THAN_A_JOB_MS);
  const std::vector<PI::CEvent> events = m_Host.CollectEvents();
  ASSERT_EQ(events.size(), 1U);
  EXPECT_EQ(events[0].m_Time, start);
}

TEST_F(JobFailures, AttachingAnAttachedCardIsAcceptedAndFailsLater) {
  StartWith({ATTACHED});
  EXPECT_EQ(m_Host.Run(FIRST, PI::OP_ATTACH), 0U);
  SleepFor(LONGER_THAN_A_JOB_MS);
  EXPECT_THAT(Events(), ElementsAre(ATTACH_FAILED));
  EXPECT_EQ(StateOf("card0"), ATTACHED);
}

TEST_F(JobFailures, OnlyAForcedDetachDetachesACardInUse) {
  StartWith({ATTACHED});
  m_Host.Cards().Set("card0", "in_use", "true");
  EXPECT_EQ(m_Host.Run(FIRST, PI::OP_DETACH), 0U);
  SleepFor(LONGER_THAN_A_JOB_MS);
  EXPECT_THAT(Events(), ElementsAre(DETACH_FAILED));
  EXPECT_EQ(m_Host.Run(FIRST, PI::OP_FORCE_DETACH), 0U);
  SleepFor(LONGER_THAN_A_JOB_MS);
  EXPECT_THAT(Events(), IsEmpty());
  EXPECT_EQ(StateOf("card0"), DETACHED);
}

// An adapter has no name until the host has assigned it a number.
TEST_F(JobFailures, OmitTheNameOfAnUnnamedAdapter) {
  m_Host.AddCard();
  ASSERT_EQ(m_Host.Initialize(), 0U);
  EXPECT_EQ(m_Host.Run(FIRST, PI::OP_ATTACH), 0U);
  SleepFor(LONGER_THAN_A_JOB_MS);
  EXPECT_THAT(Events(),
              ElementsAre("CTRL_ATTACH_FAILED severity 4 object 1 source ||||||||||||||"));
}

TEST_F(JobFailures, ReportTheirOwnCard) {
  StartWith({DETACHED, DETACHED});
  CardSim::FailCall("vsl_op_start", 1, 64, "no");
  EXPECT_EQ(m_Host.Run(SECOND, PI::OP_ATTACH), 0U);
  SleepFor(LONGER_THAN_A_JOB_MS);
  EXPECT_EQ(m_Host.Calls().front(), "vsl_iom_create_by_name /dev/fct1");
  EXPECT_THAT(
      Events(),
      ElementsAre(
          "CTRL_ATTACH_FAILED severity 4 object 3 source SanDisk Flash Adapter 785GB (2)|SanDisk "
          "Flash Adapter 785GB (2)|||||||||||||"));
}

TEST_F(JobFailures, ASecondAttachOfACardFailsWhileTheFirstSucceeds) {
  StartWith({DETACHED});
  HeldCall held("vsl_op_wait_for_result");
  EXPECT_EQ(m_Host.Run(FIRST, PI::OP_ATTACH), 0U);
  held.WaitUntilReached();
  EXPECT_EQ(m_Host.Run(FIRST, PI::OP_ATTACH), 0U);
  SleepFor(LONGER_THAN_A_JOB_MS);
  EXPECT_THAT(Events(), ElementsAre(ATTACH_FAILED));
  held.Release();
  SleepFor(LONGER_THAN_A_JOB_MS);
  EXPECT_EQ(StateOf("card0"), ATTACHED);
  EXPECT_THAT(Events(), IsEmpty());
}

}  // namespace
}  // namespace CorvaneTest
