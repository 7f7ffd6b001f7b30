#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "service/Snapshot.h"

namespace {

using Console::Deadline;
using Service::Snapshot;
using Service::SnapshotPtr;
using Service::SnapshotStore;
using std::chrono::milliseconds;

Snapshot WithReason(const char* reason) {
  Snapshot snapshot;
  snapshot.m_Plugin.m_Reason = reason;
  return snapshot;
}

TEST(SnapshotStore, StartsWithAnEmptySnapshot) {
  const SnapshotStore store;
  EXPECT_EQ(0U, store.Get()->m_Number);
  EXPECT_FALSE(store.Get()->m_Plugin.m_IsUp);
}

TEST(SnapshotStore, NumbersTheSnapshots) {
  SnapshotStore store;
  const SnapshotPtr before = store.Get();
  store.Publish(WithReason("first"));
  store.Publish(WithReason("second"));
  EXPECT_EQ(2U, store.Get()->m_Number);
  EXPECT_EQ("second", store.Get()->m_Plugin.m_Reason);
  EXPECT_EQ(0U, before->m_Number);  // a reader keeps its snapshot
}

TEST(SnapshotStore, PublishesAgainWhenTheKnownCardsOrFormatsChange) {
  SnapshotStore store;
  Console::CardRecords records;
  records.m_Known.resize(1);
  records.m_Known[0].m_SerialNumber = "S1";
  store.SetKnownCards(records);
  EXPECT_EQ(0U, store.Get()->m_Number);  // nothing was reported yet
  Snapshot snapshot;
  snapshot.m_Info.m_File = "plug-in";
  store.Publish(snapshot);
  ASSERT_EQ(1U, store.Get()->m_Cards.m_Known.size());
  EXPECT_EQ("S1", store.Get()->m_Cards.m_Known[0].m_SerialNumber);
  store.SetKnownCards(records);
  EXPECT_EQ(1U, store.Get()->m_Number);
  store.SetBusy({{"S1", PI::Value::BUSY}});
  EXPECT_EQ(2U, store.Get()->m_Number);
  EXPECT_EQ((std::vector<std::string>{"S1"}), store.Get()->m_Cards.m_Formatting);
  records.m_Known[0].m_LastSeen = 5;
  store.SetKnownCards(records);
  EXPECT_EQ(3U, store.Get()->m_Number);
  records.m_Known[0].m_IsPresent = true;
  store.SetKnownCards(records);
  records.m_Known[0].m_LastSeen = 6;  // of a present card: written once a minute
  store.SetKnownCards(records);
  EXPECT_EQ(4U, store.Get()->m_Number);
}

TEST(SnapshotStore, WaitsForANewerSnapshot) {
  SnapshotStore store;
  std::thread publisher([&store] { store.Publish(WithReason("first")); });
  EXPECT_EQ(1U, store.AwaitNewer(0, Deadline())->m_Number);
  publisher.join();
}

TEST(SnapshotStore, CallsTheListenerAfterEachSnapshot) {
  SnapshotStore store;
  std::uint64_t seen = 0;
  store.OnPublish([&] { seen = store.Get()->m_Number; });
  store.Publish(WithReason("first"));
  EXPECT_EQ(1U, seen);
  store.OnPublish(nullptr);
  store.Publish(WithReason("second"));
  EXPECT_EQ(1U, seen);
}

TEST(SnapshotStore, GivesUpAtTheDeadline) {
  SnapshotStore store;
  store.Publish(WithReason("first"));
  EXPECT_EQ(1U, store.AwaitNewer(1, Deadline(milliseconds(1)))->m_Number);
}

}  // namespace
