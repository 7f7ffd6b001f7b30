#include <pthread.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "hostkit/Database.h"
#include "hostkit/EventLog.h"
#include "hostkit/database/OwnTables.h"
#include "tests/hostkit/database/Fixture.h"

namespace {

constexpr int kThreads = 4;
constexpr int kRounds = 50;

template <class Work>
void RunOnThreads(Work work) {
  std::vector<std::thread> threads;
  for (int number = 0; number < kThreads; ++number) threads.emplace_back(work, number);
  for (auto& thread : threads) thread.join();
}

class Threads : public HostDatabaseTest {};

TEST_F(Threads, ShareOneStorage) {
  std::atomic<int> different = 0;
  RunOnThreads([&](int) { different += getDatabasePointer() == m_pStorage ? 0 : 1; });
  EXPECT_EQ(different, 0);
}

TEST_F(Threads, RunStatementsAndLogEventsConcurrently) {
  RunOnThreads([&](int number) {
    for (int round = 0; round < kRounds; ++round) {
      m_pStorage->dao->query("INSERT INTO host_adapter_rows (ad_adapter_number) VALUES (" +
                             std::to_string(number) + ")");
      AppendEvent(PI::CEvent());
      HostKit::ReadEvents(0, 3);
    }
  });
  EXPECT_EQ(Counts(), "adapters 200 drives 0 plugins 0");
  EXPECT_EQ(HostKit::ReadEvents(0, 1000).size(), 200U);
}

TEST_F(Threads, LogEventsDuringRestarts) {
  RunOnThreads([&](int number) {
    for (int round = 0; round < kRounds; ++round) {
      if (number == 0) {
        HostKit::ReopenDatabase();
      } else {
        AppendEvent(PI::CEvent());
      }
    }
  });
  EXPECT_EQ(HostKit::ReadEvents(0, 1000).size(), 150U);
}

std::thread::id ThreadOfStatements() {
  std::thread::id thread;
  HostKit::WithOwnTables([&](HostKit::Connection&) { thread = std::this_thread::get_id(); });
  return thread;
}

TEST_F(Threads, LeaveAllStatementsToTheDatabaseThread) {
  const std::thread::id self = std::this_thread::get_id();
  EXPECT_EQ(ThreadOfStatements(), self);
  {
    const HostKit::DatabaseThread databaseThread;
    const std::thread::id thread = ThreadOfStatements();
    EXPECT_NE(thread, self);
    std::atomic<int> others = 0;
    RunOnThreads([&](int) {
      for (int round = 0; round < kRounds; ++round) others += ThreadOfStatements() != thread;
    });
    EXPECT_EQ(others, 0);
  }
  EXPECT_EQ(ThreadOfStatements(), self);
}

TEST_F(Threads, GetResultsAndFailuresFromTheDatabaseThread) {
  const HostKit::DatabaseThread databaseThread;
  EXPECT_EQ(FailureOf("no statement"), "near \"no\": syntax error");
  AppendEvent(PI::CEvent());
  EXPECT_EQ(HostKit::ReadEvents(0, 1000).size(), 1U);
}

// Statements that are waiting when the database thread is stopped are not lost.
TEST_F(Threads, LogEventsWhileTheDatabaseThreadStartsAndStops) {
  RunOnThreads([&](int number) {
    for (int round = 0; round < kRounds; ++round) {
      if (number == 0) {
        const HostKit::DatabaseThread databaseThread;
        std::this_thread::yield();
      } else {
        AppendEvent(PI::CEvent());
      }
    }
  });
  EXPECT_EQ(HostKit::ReadEvents(0, 1000).size(), 150U);
}

void OpenAndWrite(DatabaseORM::storage_t& storage) {
  HostKit::ReopenDatabase();
  storage.dao->query("INSERT INTO host_plugin_rows (pi_vendor) VALUES (\"Skatra\")");
}

// A plug-in's job may be canceled at any point.
void* WriteForever(void* storage) {
  for (;;) {
    OpenAndWrite(*static_cast<DatabaseORM::storage_t*>(storage));
    pthread_testcancel();
  }
}

TEST_F(Threads, FinishAStatementBeforeACancellation) {
  for (int round = 0; round < 20; ++round) {
    pthread_t thread;
    ASSERT_EQ(pthread_create(&thread, nullptr, WriteForever, m_pStorage.get()), 0);
    std::this_thread::sleep_for(std::chrono::microseconds(100 * round));
    pthread_cancel(thread);
    pthread_join(thread, nullptr);
    EXPECT_EQ(FailureOf("DELETE FROM host_plugin_rows"), "");
  }
  EXPECT_EQ(OtherProgram(File()).Run("PRAGMA integrity_check"), "ok");
}

}  // namespace
