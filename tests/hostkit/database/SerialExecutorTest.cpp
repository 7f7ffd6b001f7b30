// Functions that run one at a time, with and without the executor's own thread.

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <future>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "hostkit/database/SerialExecutor.h"

namespace {

using HostKit::SerialExecutor;

enum class Mode { CallingThreads, OwnThread };

class Executor : public testing::TestWithParam<Mode> {
 protected:
  Executor() {
    if (GetParam() == Mode::OwnThread) m_Executor.Start();
  }

  bool RunsHere() {
    return m_Executor.Run([] { return std::this_thread::get_id(); }) == std::this_thread::get_id();
  }

  SerialExecutor m_Executor;
};

TEST_P(Executor, ReturnsTheResult) {
  EXPECT_EQ(m_Executor.Run([] { return std::string("result"); }), "result");
  int calls = 0;
  m_Executor.Run([&calls] { ++calls; });
  EXPECT_EQ(calls, 1);
}

TEST_P(Executor, ThrowsTheExceptionOfTheFunctionAndContinues) {
  const auto fail = []() -> int { throw std::runtime_error("a failure"); };
  try {
    m_Executor.Run(fail);
    ADD_FAILURE() << "no exception";
  } catch (const std::runtime_error& failure) {
    EXPECT_STREQ(failure.what(), "a failure");
  }
  EXPECT_EQ(m_Executor.Run([] { return 3; }), 3);
}

TEST_P(Executor, RunsFunctionsOnTheExpectedThread) {
  EXPECT_EQ(RunsHere(), GetParam() == Mode::CallingThreads);
}

TEST_P(Executor, RunsOneFunctionAtATime) {
  std::atomic<int> running{0}, most{0}, total{0};
  const auto work = [&] {
    most = std::max(most.load(), ++running);
    std::this_thread::yield();
    --running;
    ++total;
  };
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      for (int each = 0; each < 100; ++each) m_Executor.Run(work);
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(most, 1);
  EXPECT_EQ(total, 400);
}

INSTANTIATE_TEST_SUITE_P(Modes, Executor, testing::Values(Mode::CallingThreads, Mode::OwnThread),
                         [](const auto& each) {
                           return each.param == Mode::OwnThread ? "OwnThread" : "CallingThreads";
                         });

// Blocks the executor until `Release`.
class Blocked {
 public:
  explicit Blocked(SerialExecutor& executor)
      : m_Thread([this, &executor] {
          executor.Run([this] {
            m_Begun.set_value();
            m_End.get_future().wait();
          });
        }) {
    m_Begun.get_future().wait();
  }
  ~Blocked() { m_Thread.join(); }
  Blocked(const Blocked&) = delete;
  Blocked& operator=(const Blocked&) = delete;
  void Release() { m_End.set_value(); }

 private:
  std::promise<void> m_Begun, m_End;
  std::thread m_Thread;
};

TEST(SerialExecutor, StartsOnceAndRunsOnCallingThreadsAfterItsStop) {
  SerialExecutor executor;
  const auto thread = [&executor] {
    return executor.Run([] { return std::this_thread::get_id(); });
  };
  executor.Stop();  // there is no thread
  EXPECT_EQ(thread(), std::this_thread::get_id());
  executor.Start();
  const std::thread::id first = thread();
  executor.Start();
  EXPECT_EQ(thread(), first);
  executor.Stop();
  EXPECT_EQ(thread(), std::this_thread::get_id());
  executor.Start();
  EXPECT_NE(thread(), std::this_thread::get_id());
}

// On a slow machine, some of the functions may start to wait only after the stop; they then run on
// their own threads.
TEST(SerialExecutor, RunsTheWaitingFunctionsBeforeItStops) {
  SerialExecutor executor;
  executor.Start();
  std::atomic<int> calls{0};
  std::vector<std::thread> threads;
  {
    Blocked blocked(executor);
    for (int i = 0; i < 20; ++i) {
      threads.emplace_back([&] { executor.Run([&calls] { ++calls; }); });
    }
    std::thread stop([&executor] { executor.Stop(); });
    EXPECT_EQ(calls, 0);
    blocked.Release();
    stop.join();
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(calls, 20);
}

// A function that began on a calling thread keeps the executor's thread waiting.
TEST(SerialExecutor, WaitsForAFunctionThatBeganBeforeItsStart) {
  SerialExecutor executor;
  Blocked blocked(executor);
  executor.Start();
  std::atomic<bool> hasRun{false};
  std::thread later([&] { executor.Run([&] { hasRun = true; }); });
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  EXPECT_FALSE(hasRun);
  blocked.Release();
  later.join();
  EXPECT_TRUE(hasRun);
}

}  // namespace
