// The time of each event: the time of the comparison that raised it or, for a failed job, the time
// at which the job acquired the data lock.

#include "tests/plugin/Watch.h"
#include "tests/support/Numbers.h"
#include "tests/support/RowView.h"
#include "tests/support/StatementWatch.h"

namespace CorvaneTest {
namespace {

using testing::ElementsAre;

// A change and the events that it raises, with times in milliseconds since the start of the worker.
struct EventSource {
  const char* name;
  int cards;
  void (*before)(CardSim::StateFile& cards);
  void (*change)(CardSim::StateFile& cards);
  Lines events;
};

void PrintTo(const EventSource& source, std::ostream* stream) {
  *stream << source.name;
}

void SetMasks(CardSim::StateFile& cards, const char* errors, const char* warnings,
              const char* info) {
  cards.Set("card0", "current_errors", errors);
  cards.Set("card0", "current_warnings", warnings);
  cards.Set("card0", "current_info", info);
}

// A quick poll and a scan take 12 ms per card. Each statement takes 100 ms here, so that a time
// read too early or too late is detected. The first poll, at 5,000 ms, sees a change, and the scan
// that follows compares at 5,024 ms. A mask is accepted in the third scan; each scan writes the
// rows of one card with four statements. A change that a poll does not see is found by the scan
// that is due at 15,024 ms.
const EventSource EVENT_SOURCES[] = {
    {"Error",
     1,
     [](CardSim::StateFile&) {},
     [](CardSim::StateFile& cards) { SetMasks(cards, "0x1", "0", "0"); },
     {"CTRL_INTERNAL_ERROR at 15872"}},
    {"Warning",
     1,
     [](CardSim::StateFile&) {},
     [](CardSim::StateFile& cards) { SetMasks(cards, "0", "0x4", "0"); },
     {"CTRL_NONOPTIMAL_PCI_BANDWIDTH at 15872"}},
    {"InformationWithWarnings",
     1,
     [](CardSim::StateFile&) {},
     [](CardSim::StateFile& cards) { SetMasks(cards, "0", "0x3", "0x2"); },
     {"CTRL_TEMPERATURE_ABOVE_WARN at 15872", "CTRL_NEAR_WEARING_OUT at 15872",
      "CTRL_WRITE_REG_POWER at 15872", "CTRL_UNACTIVATED_FIRMWARE at 15872"}},
    {"Normal",
     1,
     [](CardSim::StateFile& cards) { SetMasks(cards, "0x1", "0", "0"); },
     [](CardSim::StateFile& cards) { SetMasks(cards, "0", "0", "0"); },
     {"CTRL_NORMAL at 15872"}},
    {"Detached",
     1,
     [](CardSim::StateFile&) {},
     [](CardSim::StateFile& cards) { cards.Set("card0", "iom_state", "0"); },
     {"CTRL_DETACHED at 5024"}},
    {"Attached",
     1,
     [](CardSim::StateFile& cards) { cards.Set("card0", "iom_state", "0"); },
     [](CardSim::StateFile& cards) { cards.Set("card0", "iom_state", "2"); },
     {"CTRL_ATTACHED at 5024"}},
    {"FormatChanged",
     1,
     [](CardSim::StateFile&) {},
     [](CardSim::StateFile& cards) { cards.Set("card0", "sector_size_bytes", "4096"); },
     {"PD_FORMAT_CHANGED at 15036"}},
    {"Removed",
     2,
     [](CardSim::StateFile&) {},
     [](CardSim::StateFile& cards) { cards.Set("card1", "device_path", "/dev/hidden1"); },
     {"CTRL_PNPREMOVE at 15036"}},
    {"SeveralInOneScan",
     2,
     [](CardSim::StateFile&) {},
     [](CardSim::StateFile& cards) {
       cards.Set("card0", "iom_state", "0");
       cards.Set("card0", "sector_size_bytes", "4096");
       cards.Set("card1", "device_path", "/dev/hidden1");
     },
     {"CTRL_DETACHED at 5024", "CTRL_PNPREMOVE at 5024", "PD_FORMAT_CHANGED at 5024"}},
};

class EventTimes : public WorkerFixture {
 protected:
  void SetUp() override {
    m_Statements.OnStatement([](const std::string&) { SleepFor(100); });
  }
  // Renders the events, such as "CTRL_INTERNAL_ERROR at 5024", in queue order.
  Lines CollectAndRender() {
    Lines texts;
    for (const PI::CEvent& event : m_Host.CollectEvents()) {
      texts.push_back(NameOrNumber(HostKit::Family::Event, event.m_EventID) + " at " +
                      std::to_string(event.m_Time - m_Begin));
    }
    return texts;
  }

  const ScopedDatabase m_Database;
  StatementWatch m_Statements;
};

class EachEventSource : public EventTimes, public testing::WithParamInterface<EventSource> {};

TEST_P(EachEventSource, HasTheTimeOfItsComparison) {
  AddCards(GetParam().cards);
  GetParam().before(m_Host.Cards());
  StartWatch();
  GetParam().change(m_Host.Cards());
  PassMs(17000);
  EXPECT_EQ(CollectAndRender(), GetParam().events);
}

INSTANTIATE_TEST_SUITE_P(Sources, EachEventSource, testing::ValuesIn(EVENT_SOURCES),
                         [](const auto& test) { return std::string(test.param.name); });

// The scan at 15,024 ms finds that the second card has been removed and sends three statements. Two
// polls of one card and a scan of both cards follow.
TEST_F(EventTimes, AReturningCardHasTheTimeOfItsComparison) {
  AddCards(2);
  StartWatch();
  Hide(1);
  PassMs(16000);
  EXPECT_THAT(CollectAndRender(), ElementsAre("CTRL_PNPREMOVE at 15036"));
  Show(1);
  PassMs(16000);
  EXPECT_THAT(CollectAndRender(), ElementsAre("CTRL_PNPADD at 30384"));
}

struct FailingJob {
  const char* name;
  std::uint32_t operation;
  const char* state;
  const char* event;
};

void PrintTo(const FailingJob& job, std::ostream* stream) {
  *stream << job.name;
}

class EachFailingJob : public EventTimes, public testing::WithParamInterface<FailingJob> {};

// The event has the time at which the job acquires the data lock, not the time at which it starts
// to wait or at which the card rejects the job.
TEST_P(EachFailingJob, HasTheTimeAtWhichTheJobAcquiredTheLock) {
  AddCards(1);
  Set("card0", "iom_state", GetParam().state);
  StartWatch("255");
  CardSim::FailCall("vsl_op_wait_for_result", 1, 62, "failed");
  unsigned long released = 0;
  CardSim::SetHook([&](const CardSim::Call& call) {
    if (call.function == "vsl_op_wait_for_result") SleepFor(700);
    if (call.function != "vsl_close" || released != 0) return;
    EXPECT_EQ(m_Host.Run(FIRST, GetParam().operation), 0U);
    SleepFor(3000);
    released = NowMs();
  });
  m_Host.Properties(FIRST);
  PassMs(10000);
  CardSim::SetHook({});
  EXPECT_EQ(released, 3000U);
  EXPECT_THAT(CollectAndRender(), ElementsAre(GetParam().event + std::string(" at 3000")));
}

INSTANTIATE_TEST_SUITE_P(
    Jobs, EachFailingJob,
    testing::Values(FailingJob{"Attach", PI::OP_ATTACH, "0", "CTRL_ATTACH_FAILED"},
                    FailingJob{"Detach", PI::OP_DETACH, "2", "CTRL_DETACH_FAILED"},
                    FailingJob{"ForceDetach", PI::OP_FORCE_DETACH, "2", "CTRL_DETACH_FAILED"}),
    [](const auto& test) { return std::string(test.param.name); });

}  // namespace
}  // namespace CorvaneTest
