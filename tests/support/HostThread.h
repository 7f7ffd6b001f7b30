// Host threads, and schedules for them and the plug-in's threads.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <functional>
#include <optional>
#include <stdexcept>
#include <string>

#include "host/Toolkit.h"
#include "hostkit/Scheduler.h"

namespace CorvaneTest {

// A thread of the host, created through the kit so that a schedule can be repeated. The destructor
// waits for the thread to finish.
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

// The seed of a schedule, or `NATIVE` for native threads in virtual time.
using Schedule = std::optional<std::uint64_t>;
constexpr Schedule NATIVE = std::nullopt;

// Returns the function that selects this schedule, to be called before the host starts.
inline std::function<void()> TimeModeSetter(Schedule schedule) {
  if (!schedule) return HostKit::UseVirtualTime;
  return [seed = *schedule] { HostKit::UseSeededSchedule(seed); };
}

struct SeedRange {
  std::uint64_t m_First;
  std::uint64_t m_Last;
};

// Returns the seeds 1 to 100, or those in CORVANE_SCHEDULES: "40" for 1 to 40, "217-217" for 217
// only. Throws `std::invalid_argument` if a number is missing or the range is empty.
inline SeedRange SelectedSeeds() {
  const char* value = std::getenv("CORVANE_SCHEDULES");
  const std::string text = value == nullptr ? "100" : value;
  const std::size_t dash = text.find('-');
  const SeedRange seeds = dash == std::string::npos
                              ? SeedRange{1, std::stoull(text)}
                              : SeedRange{std::stoull(text), std::stoull(text.substr(dash + 1))};
  if (seeds.m_First > seeds.m_Last) throw std::invalid_argument("no schedule in " + text);
  return seeds;
}

// Runs the scenario in the schedule of each selected seed until the first failure, whose message
// contains the seed and the command that repeats it.
inline void RunInManySchedules(const std::function<void(Schedule)>& scenario) {
  const SeedRange seeds = SelectedSeeds();
  const testing::TestInfo& test = *testing::UnitTest::GetInstance()->current_test_info();
  for (std::uint64_t seed = seeds.m_First; seed <= seeds.m_Last; ++seed) {
    const std::string number = std::to_string(seed);
    SCOPED_TRACE("seed " + number + ", repeat with: CORVANE_SCHEDULES=" + number + "-" + number +
                 " " + testing::internal::GetArgvs().front() +
                 " --gtest_filter=" + test.test_suite_name() + "." + test.name());
    scenario(seed);
    if (testing::Test::HasFailure()) return;
  }
}

}  // namespace CorvaneTest
