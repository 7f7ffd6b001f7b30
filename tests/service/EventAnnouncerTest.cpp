#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "console/base/Deadline.h"
#include "hostkit/Database.h"
#include "service/EventAnnouncer.h"
#include "tests/service/state/Cards.h"
#include "tests/support/Temporary.h"

namespace {

using Service::StateStore;
using Service::StateThread;
using testing::ElementsAre;

// Hard-coded, so that the test does not rely on the tables under test.
constexpr std::uint32_t kWarm = 10967;
constexpr std::uint32_t kRemoved = 11094;

class EventAnnouncerFixture : public testing::Test {
 protected:
  EventAnnouncerFixture() {
    HostKit::ReopenDatabase();
    m_pFeed = std::make_unique<Service::EventFeed>(m_Store);
    m_pAnnouncer = std::make_unique<Service::EventAnnouncer>(
        m_State, *m_pFeed, m_Summary, nullptr, [this](const HostKit::LoggedEvent& event) {
          const std::lock_guard<std::mutex> lock(m_Lock);
          m_Journal.push_back(event.m_EventID);
        });
  }
  ~EventAnnouncerFixture() override { m_State.Stop(); }

  static HostKit::LoggedEvent EventWithId(std::uint32_t id) {
    HostKit::LoggedEvent event = {};
    event.m_EventID = id;
    return event;
  }
  std::vector<std::uint32_t> Journal() {
    const std::lock_guard<std::mutex> lock(m_Lock);
    return m_Journal;
  }

  TemporaryDirectory m_Directory;
  ScopedVariable m_Database{"CORVANE_DATABASE", (m_Directory.Path() / "log.db").string()};
  Service::SnapshotStore m_Store;
  std::unique_ptr<Service::EventFeed> m_pFeed;
  Service::EventSummary m_Summary;
  std::mutex m_Lock;
  std::vector<std::uint32_t> m_Journal;
  StateThread m_State{[](const std::string& reason) { ADD_FAILURE() << reason; }};
  std::unique_ptr<Service::EventAnnouncer> m_pAnnouncer;
};

using EventAnnouncer = EventAnnouncerFixture;

TEST_F(EventAnnouncer, WritesEventsToTheJournal) {
  m_pAnnouncer->Announce({EventWithId(kWarm), EventWithId(kRemoved)});
  m_State.Stop();
  EXPECT_THAT(Journal(), ElementsAre(kWarm, kRemoved));
}

TEST_F(EventAnnouncer, WritesEventsToTheJournalEvenIfTheDatabaseIsSlow) {
  std::atomic<bool> isBusy{false};
  std::promise<void> unblock;
  const auto wait = [&isBusy, end = unblock.get_future().share()](StateStore&) {
    isBusy = true;
    end.wait();
    return true;
  };
  const auto ignore = [](const auto&) {};
  ASSERT_TRUE(m_State.QueueRead(wait, ignore));
  while (!isBusy) std::this_thread::yield();
  while (m_State.QueueRead(wait, ignore)) continue;  // until the queue is full
  m_pAnnouncer->Announce({EventWithId(kWarm)});
  EXPECT_THAT(Journal(), ElementsAre(kWarm));
  unblock.set_value();
  m_State.Stop();
  EXPECT_THAT(Journal(), ElementsAre(kWarm));
}

// The streams receive the event although no snapshot is published after it.
TEST_F(EventAnnouncer, SendsMissedEventsToStreams) {
  constexpr std::uint64_t kStart = 1795239062000;
  StateTest::Card card;
  card.m_Serial = "S0";
  ASSERT_TRUE(m_pAnnouncer->Record(StateTest::Observe(kStart, {card}, 0, true)));
  ASSERT_TRUE(m_pAnnouncer->Record(StateTest::Observe(kStart + 1000, {}, 0, true)));
  const Console::Deadline deadline(std::chrono::minutes(2));
  while (m_pFeed->Newest() == 0 && !deadline.HasPassed()) std::this_thread::yield();
  EXPECT_EQ(1, m_pFeed->Newest());
  m_State.Stop();
  EXPECT_THAT(Journal(), ElementsAre(kRemoved));
}

}  // namespace
