// Jobs while the worker scans: the state that a scan shows for a card with a running job, and cards
// that disappear while their job starts.

#include <gmock/gmock.h>

#include <atomic>
#include <functional>
#include <mutex>
#include <ostream>
#include <thread>

#include "hostkit/Inspect.h"
#include "tests/support/HeldCall.h"
#include "tests/support/HeldTrace.h"
#include "tests/support/Numbers.h"
#include "tests/support/SimulatedHost.h"

namespace CorvaneTest {
namespace {

using testing::ElementsAre;

constexpr std::uint64_t FIRST = 0x0130000000000001;
constexpr std::uint64_t SECOND = 0x0130000000000003;
constexpr std::uint32_t ACTIVITY = PI::Property::ACTIVITY;
constexpr std::uint32_t ADDITIONAL_STATUS = PI::Property::ADDITIONAL_STATUS;
constexpr std::uint32_t STATUS = PI::Property::STATUS;

// Longer than two full scans and any job here.
constexpr std::int64_t SOME_SCANS_MS = 8000;

std::string Render(const PI::CEvent& event) {
  return NameOrNumber(HostKit::Family::Event, event.m_EventID) + " severity " +
         std::to_string(event.m_Severity) + " object " + std::to_string(event.m_ObjectID & 0xFF) +
         " at " + (event.m_Time == 0 ? "no time" : "a time") + " source " + event.m_SourceName +
         " placeholder " + event.m_PlaceHolders[0];
}

// A plug-in that scans its cards every two seconds.
class JobsAndScans : public testing::Test {
 protected:
  void StartWith(const std::vector<const char*>& states) {
    m_Host.WriteIni("PollInterval=2\n");
    for (const char* state : states) {
      const std::string card = m_Host.AddCard();
      m_Host.Cards().Set(card, "iom_state", state);
      m_Host.Cards().Set(card, "attach_ms", "0");
      m_Host.Cards().Set(card, "detach_ms", "0");
    }
    ASSERT_EQ(m_Host.Start(), 0U);
    SleepFor(SOME_SCANS_MS);
    m_Host.ClearCalls();
  }

  // Returns "status activity: reasons" as of the last scan.
  std::string StatusLine(std::uint64_t adapter) {
    return ValueName(Choice(adapter, STATUS)) + " " + ValueName(Choice(adapter, ACTIVITY)) + ":" +
           Reasons(adapter);
  }

  std::vector<std::string> Events() {
    std::vector<std::string> texts;
    for (const PI::CEvent& event : m_Host.CollectEvents()) texts.push_back(Render(event));
    return texts;
  }

  SimulatedHost m_Host;

 private:
  static std::string ValueName(int value) {
    return NameOrNumber(HostKit::Family::Value, static_cast<std::uint32_t>(value));
  }
  int Choice(std::uint64_t adapter, std::uint32_t id) {
    PI::CProperty property(PI::Property::UNDEFINED, false);
    EXPECT_EQ(m_Host.Property(adapter, id, property), 0U);
    return property.m_Value.m_Choice.m_Value;
  }

  std::string Reasons(std::uint64_t adapter) {
    PI::CProperty property(PI::Property::UNDEFINED, false);
    if (m_Host.Property(adapter, ADDITIONAL_STATUS, property) != 0) return " none";
    std::string text;
    for (const int reason : property.m_Value.m_MultiValue.m_Values) {
      text += " " + ValueName(reason);
    }
    return text;
  }
};

TEST_F(JobsAndScans, AnAttachedCardInAnAttachJobIsAttaching) {
  StartWith({"2", "2"});
  EXPECT_EQ(StatusLine(FIRST), "OK IDLE: ATTACHED");
  HeldCall held("vsl_op_start");
  EXPECT_EQ(m_Host.Run(FIRST, PI::OP_ATTACH), 0U);
  held.WaitUntilReached();
  SleepFor(SOME_SCANS_MS);
  EXPECT_EQ(StatusLine(FIRST), "WARNING ATTACHING: none");
  EXPECT_EQ(StatusLine(SECOND), "OK IDLE: ATTACHED");
  EXPECT_EQ(m_Host.Check(FIRST, PI::OP_DETACH), Number::ERR_GENERAL);
  held.Release();
  SleepFor(SOME_SCANS_MS);
  EXPECT_EQ(StatusLine(FIRST), "OK IDLE: ATTACHED");
}

TEST_F(JobsAndScans, ADetachedCardInADetachJobIsDetaching) {
  for (const std::uint32_t operation : {Number::OP_DETACH, Number::OP_FORCE_DETACH}) {
    m_Host.Release();
    StartWith({"0"});
    HeldCall held("vsl_op_start");
    EXPECT_EQ(m_Host.Run(FIRST, operation), 0U);
    held.WaitUntilReached();
    SleepFor(SOME_SCANS_MS);
    EXPECT_EQ(StatusLine(FIRST), "WARNING DETACHING: none");
    held.Release();
    SleepFor(SOME_SCANS_MS);
    EXPECT_EQ(StatusLine(FIRST), "WARNING IDLE: DETACHED");
    EXPECT_EQ(m_Host.DeInitialize(), 0U);
    m_Host.Cards().RemoveCard("card0");
  }
}

// A job in progress is shown only for a card that already reports the state after the job.
TEST_F(JobsAndScans, ADetachedCardInAnAttachJobStaysDetached) {
  StartWith({"0"});
  HeldCall held("vsl_op_start");
  EXPECT_EQ(m_Host.Run(FIRST, PI::OP_ATTACH), 0U);
  held.WaitUntilReached();
  SleepFor(SOME_SCANS_MS);
  EXPECT_EQ(StatusLine(FIRST), "WARNING IDLE: DETACHED");
}

TEST_F(JobsAndScans, AnAttachedCardInADetachJobStaysAttached) {
  StartWith({"2"});
  HeldCall held("vsl_op_start");
  EXPECT_EQ(m_Host.Run(FIRST, PI::OP_DETACH), 0U);
  held.WaitUntilReached();
  SleepFor(SOME_SCANS_MS);
  EXPECT_EQ(StatusLine(FIRST), "OK IDLE: ATTACHED");
}

TEST_F(JobsAndScans, ACardWithoutAStateIsNotShownAsDetaching) {
  StartWith({"2"});
  HeldCall held("vsl_op_start");
  EXPECT_EQ(m_Host.Run(FIRST, PI::OP_DETACH), 0U);
  held.WaitUntilReached();
  m_Host.Cards().MakeAbsent("card0", "iom_state");
  SleepFor(SOME_SCANS_MS);
  EXPECT_EQ(StatusLine(FIRST), "FAILED IDLE: none");
}

// A job that reaches its first step only after another job has reused its slot and ended. The
// device of the first job is stored, but the thread recorded in the slot has exited.
struct LostSlot {
  const char* name;
  std::uint32_t operation;
  const char* state;  // of the first card before its job, which is already the state after it
  const char* other;  // of the second card, before its job
  const char* shown;
};

std::ostream& operator<<(std::ostream& out, const LostSlot& lost) {
  return out << lost.name;
}

class JobWithoutItsSlot : public JobsAndScans, public testing::WithParamInterface<LostSlot> {};

TEST_P(JobWithoutItsSlot, DoesNotCorrectTheStateOfItsCard) {
  StartWith({GetParam().state, GetParam().other});
  HeldTrace begin("ENTER " + std::string(GetParam().name) + "(/dev/fct0)");
  EXPECT_EQ(m_Host.Run(FIRST, GetParam().operation), 0U);
  begin.WaitUntilReached();
  EXPECT_EQ(m_Host.Run(SECOND, GetParam().operation), 0U);
  SleepFor(SOME_SCANS_MS);
  HeldCall end("vsl_op_start");
  begin.Release();
  end.WaitUntilReached();
  SleepFor(SOME_SCANS_MS);
  EXPECT_EQ(StatusLine(FIRST), GetParam().shown);
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, JobWithoutItsSlot,
    testing::Values(LostSlot{"Attach", Number::OP_ATTACH, "2", "0", "OK IDLE: ATTACHED"},
                    LostSlot{"Detach", Number::OP_DETACH, "0", "2", "WARNING IDLE: DETACHED"},
                    LostSlot{"ForceDetach", Number::OP_FORCE_DETACH, "0", "2",
                             "WARNING IDLE: DETACHED"}),
    [](const auto& test) { return std::string(test.param.name); });

// The scan uses the card index as a position in the list of adapters. After a card has been
// removed, that position belongs to another card or is beyond the end.
TEST_F(JobsAndScans, AnAttachedCardAfterARemovedOneStaysAttached) {
  StartWith({"2", "2"});
  m_Host.Cards().RemoveCard("card0");
  SleepFor(SOME_SCANS_MS);
  HeldCall held("vsl_op_start");
  EXPECT_EQ(m_Host.Run(SECOND, PI::OP_ATTACH), 0U);
  held.WaitUntilReached();
  SleepFor(SOME_SCANS_MS);
  EXPECT_EQ(StatusLine(SECOND), "OK IDLE: ATTACHED");
}

TEST_F(JobsAndScans, TheScanReportsTheResultOfAJob) {
  StartWith({"0", "2"});
  EXPECT_EQ(m_Host.Run(FIRST, PI::OP_ATTACH), 0U);
  EXPECT_EQ(m_Host.Run(SECOND, PI::OP_DETACH), 0U);
  SleepFor(SOME_SCANS_MS);
  EXPECT_THAT(
      Events(),
      ElementsAre("CTRL_ATTACHED severity 2 object 1 at a time source SanDisk Flash Adapter 785GB "
                  "(1) placeholder SanDisk Flash Adapter 785GB (1)",
                  "CTRL_DETACHED severity 4 object 3 at a time source SanDisk Flash Adapter 785GB "
                  "(2) placeholder SanDisk Flash Adapter 785GB (2)"));
  EXPECT_EQ(m_Host.Check(FIRST, PI::OP_DETACH), 0U);
  EXPECT_EQ(m_Host.Check(SECOND, PI::OP_ATTACH), 0U);
}

// The events lock is held during a scan but not during a quick poll. The job that is started during
// the scan waits for the scan, which finds that the card has been removed.
class JobWithoutItsAdapter : public JobsAndScans {
 protected:
  // Starts the attach of the first card when a scan creates the card's handle, and then runs
  // `hideCard`.
  void AttachDuringScan(const std::function<void()>& hideCard) {
    StartWith({"0", "0"});
    std::atomic<bool> done{false};
    std::mutex mutex;
    std::thread::id worker;
    CardSim::SetHook([&](const CardSim::Call& call) {
      const std::lock_guard<std::mutex> guard(mutex);
      if (done && std::this_thread::get_id() != worker) m_CallsOfJob.push_back(call.text());
      const bool named = call.text() == "vsl_iom_create_by_name /dev/fct0";
      const bool scanning = HostKit::Locks().at(1).depth > 0;
      if (!named || !scanning || done.exchange(true)) return;
      worker = std::this_thread::get_id();
      EXPECT_EQ(m_Host.Run(FIRST, PI::OP_ATTACH), 0U);
      hideCard();
    });
    SleepFor(SOME_SCANS_MS);
    CardSim::SetHook({});
    EXPECT_TRUE(done);
  }

  std::vector<std::string> m_CallsOfJob;
};

constexpr const char* FIRST_CARD_REMOVED =
    "CTRL_PNPREMOVE severity 3 object 1 at a time source SanDisk Flash Adapter 785GB (1) "
    "placeholder SanDisk Flash Adapter 785GB (1)";
constexpr const char* EMPTY_FAILURE =
    "UNDEFINED severity 0 object 0 at no time source  placeholder ";

TEST_F(JobWithoutItsAdapter, QueuesAnEmptyEventWhenItsCardHasBeenRemoved) {
  AttachDuringScan([this] { m_Host.Cards().RemoveCard("card0"); });
  EXPECT_THAT(m_CallsOfJob, ElementsAre("vsl_iom_create_by_name /dev/fct0"));
  EXPECT_THAT(Events(), ElementsAre(FIRST_CARD_REMOVED, EMPTY_FAILURE));
}

// The scan does not find the card, but the job does. Only the scans report events for the card.
TEST_F(JobWithoutItsAdapter, StillAttachesItsCard) {
  AttachDuringScan([] { CardSim::FailCall("vsl_iom_create_by_name", 1, 61, "gone"); });
  // A scan that starts in the meantime also uses handle numbers.
  ASSERT_EQ(m_CallsOfJob.size(), 6U);
  std::vector<std::string> functions;
  for (const std::string& call : m_CallsOfJob) functions.push_back(call.substr(0, call.find('#')));
  EXPECT_THAT(functions,
              ElementsAre("vsl_iom_create_by_name /dev/fct0", "vsl_iom_attach_create card",
                          "vsl_op_start attach", "vsl_op_wait_for_result attach",
                          "vsl_destroy attach", "vsl_destroy card"));
  EXPECT_EQ(m_Host.Cards().Get("card0", "iom_state"), "2");
  const std::vector<std::string> events = Events();
  ASSERT_EQ(events.size(), 2U);
  EXPECT_EQ(events[0], FIRST_CARD_REMOVED);
  EXPECT_THAT(events[1], testing::StartsWith("CTRL_PNPADD "));
}

TEST_F(JobWithoutItsAdapter, QueuesAnEmptyEventWhenALaterCallFails) {
  AttachDuringScan([] {
    CardSim::FailCall("vsl_iom_create_by_name", 1, 61, "gone");
    CardSim::FailCall("vsl_op_start", 1, 62, "failed");
  });
  std::vector<std::string> functions;
  for (const std::string& call : m_CallsOfJob) functions.push_back(call.substr(0, call.find('#')));
  EXPECT_THAT(functions,
              ElementsAre("vsl_iom_create_by_name /dev/fct0", "vsl_iom_attach_create card",
                          "vsl_op_start attach", "vsl_destroy attach", "vsl_destroy card"));
  EXPECT_THAT(Events(), testing::Contains(EMPTY_FAILURE).Times(1));
}

}  // namespace
}  // namespace CorvaneTest
