// The three time modes as a test parameter, and a thread that runs a lambda.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <utility>

#include "host/Toolkit.h"
#include "hostkit/Inspect.h"
#include "hostkit/Scheduler.h"

// The results of waits, which the tests use by name.
static_assert(MBX::Threading::WAIT_FAILED == 0);
static_assert(MBX::Threading::WAIT_SUCCEEDED == 1);
static_assert(MBX::Threading::WAIT_TIMED_OUT == 130);

enum class TimeMode { Real, Virtual, Seeded };

inline void UseTimeMode(TimeMode mode) {
  switch (mode) {
    case TimeMode::Real:
      return HostKit::UseRealTime();
    case TimeMode::Virtual:
      return HostKit::UseVirtualTime();
    case TimeMode::Seeded:
      return HostKit::UseSeededSchedule(20260101);
  }
}

inline const char* NameOf(TimeMode mode) {
  const char* const names[] = {"RealTime", "VirtualTime", "SeededSchedule"};
  return names[static_cast<int>(mode)];
}

inline void PrintTo(TimeMode mode, std::ostream* out) {
  *out << NameOf(mode);
}

inline std::string TimeModeName(const testing::TestParamInfo<TimeMode>& info) {
  return NameOf(info.param);
}

// Tests that run in every time mode.
class EveryTimeMode : public testing::TestWithParam<TimeMode> {
 protected:
  void SetUp() override {
    UseTimeMode(GetParam());
    HostKit::ResetLedger();
  }
  void TearDown() override { HostKit::UseRealTime(); }
};

#define IN_EVERY_TIME_MODE(suite)                                                                \
  INSTANTIATE_TEST_SUITE_P(TimeModes, suite,                                                     \
                           testing::Values(TimeMode::Real, TimeMode::Virtual, TimeMode::Seeded), \
                           TimeModeName)

// A kit thread that runs `body`. The destructor waits for the thread to finish.
class Job {
 public:
  explicit Job(std::function<void()> body) : m_Body(std::move(body)) {
    EXPECT_EQ(1, m_Thread.Create(Delegate(this, &Job::Run), false));
  }
  ~Job() { m_Thread.Wait(MBX::Threading::WAIT_INFINITE); }
  Job(const Job&) = delete;
  Job& operator=(const Job&) = delete;

  MBX::Threading::CThread* operator->() { return &m_Thread; }

 private:
  using Delegate = MBX::Delegates_and_Calls::TDelegateR0<Job, unsigned int>;

  unsigned int Run() {
    m_Body();
    return 1;
  }

  std::function<void()> m_Body;
  MBX::Threading::CThread m_Thread;
};

// A lock and an event that are ready for use.
struct ReadyLock : MBX::Threading::Native_OS::CFastMutex {
  ReadyLock() { EXPECT_EQ(1, Init()); }
};

struct ReadyEvent : MBX::Threading::CEvent {
  explicit ReadyEvent(bool manualReset = false) { EXPECT_EQ(1, Init(false, manualReset)); }
};

inline void Sleep(long milliseconds) {
  HostKit::SleepUntilNs(HostKit::SteadyNowNs() + milliseconds * 1'000'000);
}
