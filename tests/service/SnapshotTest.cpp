#include <gtest/gtest.h>

#include <thread>

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
