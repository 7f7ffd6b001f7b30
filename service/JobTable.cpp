#include "service/JobTable.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "console/base/Failure.h"

namespace Service {
namespace {

constexpr std::size_t kMaxJobs = 1000;

Console::Failure RunningFailure(const Job& job) {
  return Console::Failure(
      Console::ExitCode::Refused, "JOB_RUNNING",
      fmt::format("another job is running on card {} ({})", job.m_Serial, job.m_Operation),
      std::vector<std::string>{"Wait until this is done, then try again."});
}

}  // namespace

JobTable::JobTable(OnFormatting onFormatting)
    : m_Run(static_cast<std::uint64_t>(Job::Clock::now().time_since_epoch().count())),
      m_OnFormatting(std::move(onFormatting)) {}

std::vector<std::string> JobTable::Formatting() const {
  const Base::MutexLock lock(m_Lock);
  std::vector<std::string> serials;
  for (const Job& each : m_Jobs) {
    const bool isFormat = each.m_Operation == "format" && !each.m_IsDryRun;
    if (isFormat && each.m_State == JobState::Running) serials.push_back(each.m_Serial);
  }
  return serials;
}

void JobTable::ReportFormatting() const {
  if (m_OnFormatting) m_OnFormatting(Formatting());
}

Job JobTable::Begin(const std::string& serial, const std::string& operation, bool isDryRun,
                    const JobClient& client) {
  Base::MutexLock lock(m_Lock);
  const auto running = std::find_if(m_Jobs.begin(), m_Jobs.end(), [&serial](const Job& each) {
    return each.m_Serial == serial && each.m_State == JobState::Running;
  });
  if (running != m_Jobs.end()) throw RunningFailure(*running);
  DropOldest();
  Job job;
  job.m_Id = fmt::format("{:x}-{}", m_Run, ++m_Last);
  job.m_Serial = serial;
  job.m_Operation = operation;
  job.m_IsDryRun = isDryRun;
  job.m_Client = client;
  job.m_Started = Job::Clock::now();
  m_Jobs.push_back(job);
  lock.Unlock();
  ReportFormatting();
  return job;
}

void JobTable::RequireNotRunning(const std::string& serial, const std::string& operation) const {
  const Base::MutexLock lock(m_Lock);
  for (const Job& each : m_Jobs) {
    const bool isRunning = each.m_Serial == serial && each.m_State == JobState::Running;
    if (isRunning && each.m_Operation == operation) throw RunningFailure(each);
  }
}

// Running jobs are kept; there is at most one per card.
void JobTable::DropOldest() {
  if (m_Jobs.size() < kMaxJobs) return;
  const auto oldest = std::find_if(m_Jobs.begin(), m_Jobs.end(), [](const Job& each) {
    return each.m_State != JobState::Running;
  });
  if (oldest != m_Jobs.end()) m_Jobs.erase(oldest);
}

void JobTable::End(const std::string& id, JobState state, nlohmann::ordered_json result) {
  {
    const Base::MutexLock lock(m_Lock);
    const auto found = std::find_if(m_Jobs.begin(), m_Jobs.end(),
                                    [&id](const Job& each) { return each.m_Id == id; });
    if (found == m_Jobs.end()) return;
    found->m_State = state;
    found->m_Ended = Job::Clock::now();
    found->m_Result = std::move(result);
  }
  ReportFormatting();
}

void JobTable::Drop(const std::string& id) {
  {
    const Base::MutexLock lock(m_Lock);
    const auto isDropped = [&id](const Job& each) { return each.m_Id == id; };
    m_Jobs.erase(std::remove_if(m_Jobs.begin(), m_Jobs.end(), isDropped), m_Jobs.end());
  }
  ReportFormatting();
}

std::vector<Job> JobTable::List() const {
  const Base::MutexLock lock(m_Lock);
  return {m_Jobs.rbegin(), m_Jobs.rend()};
}

std::optional<Job> JobTable::Find(const std::string& id) const {
  const Base::MutexLock lock(m_Lock);
  const auto found = std::find_if(m_Jobs.begin(), m_Jobs.end(),
                                  [&id](const Job& each) { return each.m_Id == id; });
  if (found == m_Jobs.end()) return std::nullopt;
  return *found;
}

bool JobTable::HasRunning() const {
  const Base::MutexLock lock(m_Lock);
  return std::any_of(m_Jobs.begin(), m_Jobs.end(),
                     [](const Job& each) { return each.m_State == JobState::Running; });
}

}  // namespace Service
