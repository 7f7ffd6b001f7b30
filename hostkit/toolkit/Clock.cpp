#include <ctime>

#include "host/Toolkit.h"
#include "hostkit/Scheduler.h"
#include "hostkit/toolkit/Monitor.h"

using HostKit::Monitor;

namespace HostKit {

namespace {

class NeverMet final : public Condition {
 public:
  bool IsMet() const override { return false; }
  bool Take(ThreadRecord&) override { return false; }
  std::string Text() const override { return "time to pass"; }
};

}  // namespace

std::int64_t SteadyNowNs() {
  Monitor::Get().SwitchPoint();
  return Monitor::Get().Scheduler().SteadyNs();
}

void SleepUntilNs(std::int64_t deadlineNs) {
  NeverMet condition;
  Monitor::Get().WaitPoint();
  Monitor::Get().WaitUntil(condition, deadlineNs);
}

}  // namespace HostKit

namespace MBX::Misc {

unsigned long now() {
  Monitor::Get().SwitchPoint();
  return static_cast<unsigned long>(Monitor::Get().Scheduler().EpochMs());
}

}  // namespace MBX::Misc

namespace MBX::Threading {

namespace {

constexpr std::uint64_t kNoDeadline = ~std::uint64_t{0};

std::uint64_t SteadyNowMs() {
  return static_cast<std::uint64_t>(HostKit::SteadyNowNs() / HostKit::kNsPerMs);
}

std::uint64_t DeadlineAfter(unsigned int durationMs) {
  return durationMs == WAIT_INFINITE ? kNoDeadline : SteadyNowMs() + durationMs;
}

}  // namespace

CWaitInterval::CWaitInterval(unsigned int durationMs) : m_DeadlineMs(DeadlineAfter(durationMs)) {}

void CWaitInterval::Restart(unsigned int durationMs) {
  m_DeadlineMs = DeadlineAfter(durationMs);
}

CWaitInterval::operator unsigned int() const {
  if (m_DeadlineMs == kNoDeadline) return WAIT_INFINITE;
  const std::uint64_t now = SteadyNowMs();
  return now < m_DeadlineMs ? static_cast<unsigned int>(m_DeadlineMs - now) : 0;
}

}  // namespace MBX::Threading

namespace MBXX {

void CSystemTime_Lx::GetDate(unsigned long milliseconds, CSystemDate_Lx& date) {
  const auto seconds = static_cast<std::time_t>(milliseconds / 1000);
  std::tm parts{};
  gmtime_r(&seconds, &parts);
  const auto number = [](int part) { return static_cast<std::uint32_t>(part); };
  date = {number(parts.tm_year + 1900),
          number(parts.tm_mon + 1),
          number(parts.tm_mday),
          number(parts.tm_wday),
          number(parts.tm_yday + 1),
          number(parts.tm_hour),
          number(parts.tm_min),
          number(parts.tm_sec),
          static_cast<std::uint32_t>(milliseconds % 1000)};
}

}  // namespace MBXX
