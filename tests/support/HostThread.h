// Threads of a host, and the schedules in which they meet the plug-in's.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <optional>

#include "host/Toolkit.h"
#include "hostkit/Scheduler.h"

namespace CorvaneTest {

// A thread of the host. It belongs to the kit from the start, so that a schedule can be repeated,
// and is waited for at the end of the scope.
class HostThread {
 public:
  explicit HostThread(std::function<void()> body) : m_Body(std::move(body)) {
    EXPECT_EQ(m_Thread.Create(Delegate(this, &HostThread::Run), false), 1);
  }
  ~HostThread() { m_Thread.Wait(MBX::Threading::WAIT_INFINITE); }
  HostThread(const HostThread&) = delete;
  HostThread& operator=(const HostThread&) = delete;

 private:
  using Delegate = MBX::Delegates_and_Calls::TDelegateR0<HostThread, unsigned int>;

  unsigned int Run() {
    m_Body();
    return 1;
  }

  const std::function<void()> m_Body;
  MBX::Threading::CThread m_Thread;
};

// Native threads in virtual time, or the schedule of a seed.
using Schedule = std::optional<std::uint64_t>;
constexpr Schedule NATIVE = std::nullopt;

inline std::function<void()> TimeOf(Schedule schedule) {
  if (!schedule) return HostKit::UseVirtualTime;
  return [seed = *schedule] { HostKit::UseSeededSchedule(seed); };
}

}  // namespace CorvaneTest
