#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>

#include "hostkit/Database.h"
#include "service/EventTail.h"
#include "tests/support/Temporary.h"

namespace {

using Service::EventTail;
using testing::ElementsAre;
using testing::IsEmpty;

class EventTailFixture : public testing::Test {
 protected:
  static void Log(std::size_t count) {
    HostKit::LoggedEvent event = {};
    event.m_Time = 1767225600000;
    event.m_EventID = 10972;
    HostKit::AppendEvents(std::vector<HostKit::LoggedEvent>(count, event));
  }
  static std::vector<std::int64_t> Read(EventTail& tail) {
    std::vector<std::int64_t> numbers;
    for (const HostKit::LoggedEvent& event : tail.Read()) numbers.push_back(event.m_Number);
    return numbers;
  }

  EventTailFixture() { HostKit::ReopenDatabase(); }
  // Continues with an empty log.
  void ReplaceLog() {
    m_NewDatabase.emplace("CORVANE_DATABASE", (m_Directory.Path() / "new.db").string());
    HostKit::ReopenDatabase();
  }

  const TemporaryDirectory m_Directory;
  const ScopedVariable m_Database{"CORVANE_DATABASE", (m_Directory.Path() / "log.db").string()};
  std::optional<ScopedVariable> m_NewDatabase;
};

using LogTail = EventTailFixture;

TEST_F(LogTail, StartsAfterTheNewestEntry) {
  Log(3);
  EventTail tail(std::nullopt);
  EXPECT_THAT(Read(tail), IsEmpty());
  EXPECT_EQ(3, tail.Last());
  Log(2);
  EXPECT_THAT(Read(tail), ElementsAre(4, 5));
  EXPECT_THAT(Read(tail), IsEmpty());
}

TEST_F(LogTail, ContinuesAfterANumber) {
  Log(5);
  EventTail tail(3);
  EXPECT_THAT(Read(tail), ElementsAre(4, 5));
  Log(1);
  EXPECT_THAT(Read(tail), ElementsAre(6));
}

TEST_F(LogTail, ReadsEntriesAddedToAnEmptyLog) {
  EventTail tail(std::nullopt);
  EXPECT_THAT(Read(tail), IsEmpty());
  Log(1);
  EXPECT_THAT(Read(tail), ElementsAre(1));
}

TEST_F(LogTail, ReadsAnyNumberOfEntries) {
  Log(10);
  EventTail tail(10);
  EXPECT_THAT(Read(tail), IsEmpty());
  Log(1000);
  const auto numbers = Read(tail);
  ASSERT_EQ(1000U, numbers.size());
  EXPECT_EQ(11, numbers.front());
  EXPECT_EQ(1010, numbers.back());
}

TEST_F(LogTail, ReadsALogThatReplacesAnother) {
  Log(3);
  EventTail tail(std::nullopt);
  EXPECT_THAT(Read(tail), IsEmpty());
  ReplaceLog();
  Log(2);
  EXPECT_THAT(Read(tail), ElementsAre(1, 2));
}

TEST_F(LogTail, StartsAtTheEndOfALogThatWasReplacedEarlier) {
  Log(3);
  EventTail tail(500);
  EXPECT_THAT(Read(tail), IsEmpty());
  Log(1);
  EXPECT_THAT(Read(tail), ElementsAre(4));
}

}  // namespace
