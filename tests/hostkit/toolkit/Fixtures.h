// The three forms of time as a test parameter, and a thread that runs a lambda.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <utility>

#include "host/Toolkit.h"
#include "hostkit/Inspect.h"
#include "hostkit/Scheduler.h"

enum class Form { Real, Virtual, Seeded };

inline void Pick(Form form) {
  switch (form) {
    case Form::Real:
      return HostKit::UseRealTime();
    case Form::Virtual:
      return HostKit::UseVirtualTime();
    case Form::Seeded:
      return HostKit::UseSeededSchedule(20260101);
  }
}

inline const char* NameOf(Form form) {
  const char* const names[] = {"RealTime", "VirtualTime", "SeededSchedule"};
  return names[static_cast<int>(form)];
}

inline void PrintTo(Form form, std::ostream* out) {
  *out << NameOf(form);
}

inline std::string FormName(const testing::TestParamInfo<Form>& info) {
  return NameOf(info.param);
}

// What every form must do.
class EveryForm : public testing::TestWithParam<Form> {
 protected:
  void SetUp() override {
    Pick(GetParam());
    HostKit::ResetLedger();
  }
  void TearDown() override { HostKit::UseRealTime(); }
};

#define IN_EVERY_FORM(suite)                                                                       \
  INSTANTIATE_TEST_SUITE_P(Forms, suite, testing::Values(Form::Real, Form::Virtual, Form::Seeded), \
                           FormName)

// A thread of the kit that runs `body`; waited for at the end of the scope.
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
