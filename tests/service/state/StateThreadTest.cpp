#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <future>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

#include "service/state/StateThread.h"
#include "tests/service/state/StateFixture.h"

namespace {

using Service::StateOutcome;
using Service::StateStore;
using StateTest::kMinute;
using StateTest::kStart;

class StateThread : public HostDatabaseTest {
 private:
  template <class Post, class Work>
  auto Await(Post post, Work) {
    using Result = std::invoke_result_t<Work&, StateStore&>;
    auto promise = std::make_shared<std::promise<StateOutcome<Result>>>();
    EXPECT_TRUE(post([promise](StateOutcome<Result> outcome) { promise->set_value(outcome); }));
    return promise->get_future().get();
  }

 protected:
  // `Change` and `Read` run `work` on the state thread and wait for its outcome.
  template <class Work>
  auto Change(Work work) {
    return Await([&](auto done) { return m_Thread.QueueChange(work, done); }, work);
  }
  template <class Work>
  auto Read(Work work) {
    return Await([&](auto done) { return m_Thread.QueueRead(work, done); }, work);
  }

  auto Record(std::uint64_t timeMs) {
    return Change([timeMs](StateStore& store) {
      StateTest::Card card;
      card.m_Serial = "S0";
      return store.Record(StateTest::Observe(timeMs, {card}));
    });
  }
  auto ReadCards() {
    return Read([](StateStore& store) { return store.Cards(); });
  }

  // Keeps the thread busy until `Release`.
  void Block() {
    m_Thread.QueueRead([this](StateStore&) { return m_Released.get_future().get(), 0; },
                       [](auto) {});
  }
  void Release() { m_Released.set_value(); }

  std::promise<void> m_Released;
  std::vector<std::string> m_Reported;  // written by the state thread before it delivers a result
  Service::StateThread m_Thread{[this](const std::string& cause) { m_Reported.push_back(cause); }};
};

TEST_F(StateThread, DeliversTheResult) {
  EXPECT_TRUE(Record(kStart).m_Result);
  const auto cards = ReadCards();
  EXPECT_EQ(cards.m_Failure, "");
  ASSERT_TRUE(cards.m_Result);
  EXPECT_EQ(cards.m_Result->at(0).m_SerialNumber, "S0");
}

TEST_F(StateThread, RunsItsCallsOnOneThreadInOrder) {
  std::vector<int> order;
  std::set<std::thread::id> threads;
  for (int i = 0; i < 5; ++i) {
    m_Thread.QueueChange(
        [&, i](StateStore&) {
          threads.insert(std::this_thread::get_id());
          return i;
        },
        [&](StateOutcome<int> outcome) {
          threads.insert(std::this_thread::get_id());
          order.push_back(*outcome.m_Result);
        });
  }
  m_Thread.Stop();
  EXPECT_THAT(order, testing::ElementsAre(0, 1, 2, 3, 4));
  EXPECT_EQ(threads.size(), 1U);
  EXPECT_EQ(threads.count(std::this_thread::get_id()), 0U);
}

TEST_F(StateThread, RefusesWorkWhenItsQueueIsFull) {
  std::promise<void> started;
  m_Thread.QueueRead([&](StateStore&) { return started.set_value(), 0; }, [](auto) {});
  started.get_future().wait();
  Block();
  std::size_t accepted = 0;
  std::size_t done = 0;
  while (m_Thread.QueueRead([](StateStore&) { return 0; }, [&](auto) { ++done; })) ++accepted;
  // The blocking function has left the queue, or is about to.
  EXPECT_GE(accepted, Service::StateThread::kMaxQueued - 2);
  EXPECT_LE(accepted, Service::StateThread::kMaxQueued);
  Release();
  m_Thread.Stop();
  EXPECT_EQ(done, accepted);
}

TEST_F(StateThread, FinishesTheQueueWhenItStops) {
  Block();
  int done = 0;
  for (int i = 0; i < 10; ++i)
    m_Thread.QueueRead([](StateStore&) { return 0; }, [&](auto) { ++done; });
  std::thread stopper([this] { m_Thread.Stop(); });
  Release();
  stopper.join();
  EXPECT_EQ(done, 10);
  EXPECT_FALSE(m_Thread.QueueRead([](StateStore&) { return 0; }, [&](auto) { ++done; }));
  EXPECT_EQ(done, 10);
}

TEST_F(StateThread, AcceptsWorkFromAResultCallback) {
  std::promise<int> second;
  m_Thread.QueueRead([](StateStore&) { return 1; },
                     [&](StateOutcome<int> outcome) {
                       const int first = *outcome.m_Result;
                       m_Thread.QueueRead(
                           [first](StateStore&) { return first + 1; },
                           [&](StateOutcome<int> next) { second.set_value(*next.m_Result); });
                     });
  EXPECT_EQ(second.get_future().get(), 2);
}

TEST_F(StateThread, DeliversTheReasonOfAFailure) {
  const auto outcome = Change([](StateStore&) -> int { throw std::runtime_error("no luck"); });
  EXPECT_FALSE(outcome.m_Result);
  EXPECT_EQ(outcome.m_Failure, "no luck");
}

TEST_F(StateThread, ReportsACauseOnceUntilAChangeSucceeds) {
  Record(kStart);
  OtherProgram other(File());
  other.Run("BEGIN IMMEDIATE");
  EXPECT_EQ(Record(kStart + kMinute).m_Failure, "database is locked");
  EXPECT_TRUE(ReadCards().m_Result);  // reading still works
  EXPECT_EQ(Record(kStart + 2 * kMinute).m_Failure, "database is locked");
  EXPECT_THAT(m_Reported, testing::ElementsAre("database is locked"));
  other.Run("COMMIT");
  EXPECT_TRUE(Record(kStart + 3 * kMinute).m_Result);
  other.Run("BEGIN IMMEDIATE");
  Record(kStart + 4 * kMinute);
  EXPECT_THAT(m_Reported, testing::ElementsAre("database is locked", "database is locked"));
  other.Run("COMMIT");
}

}  // namespace
