#include "service/JobTable.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "console/base/Failure.h"
#include "host/PluginInterface.h"

namespace Service {
namespace {

constexpr std::size_t kMaxJobs = 1000;

// An operation that keeps a card busy after the request.
struct JobRow {
  const char* m_Operation;
  std::uint32_t m_Activity;  // of the card during the job
  const char* m_End;         // condition of the command wait that holds after a success
};

constexpr JobRow kJobs[] = {
    {"attach", PI::Value::ATTACHING, "attached"},
    {"detach", PI::Value::DETACHING, "detached"},
    {"format", PI::Value::BUSY, "activity=IDLE"},
};

// Returns null for an operation that ends with the request.
const JobRow* FindRow(const std::string& operation) {
  const auto* const found =
      std::find_if(std::begin(kJobs), std::end(kJobs),
                   [&](const JobRow& row) { return operation == row.m_Operation; });
  return found == std::end(kJobs) ? nullptr : found;
}

std::string Advice(const Job& job) {
  const JobRow* const row = FindRow(job.m_Operation);
  if (row == nullptr || job.m_IsDryRun) return "Wait until this is done, then try again.";
  return fmt::format("Wait until this is done: corvane-host wait {} {}", job.m_Serial, row->m_End);
}

Console::Failure RunningFailure(const Job& job) {
  return Console::Failure(
      Console::ExitCode::Refused, "JOB_RUNNING",
      fmt::format("another job is running on card {} ({})", job.m_Serial, job.m_Operation),
      std::vector<std::string>{Advice(job)});
}

}  // namespace

JobTable::JobTable(OnBusy onBusy, OnEnd onEnd)
    : m_Run(static_cast<std::uint64_t>(Job::Clock::now().time_since_epoch().count())),
      m_OnBusy(std::move(onBusy)),
      m_OnEnd(std::move(onEnd)) {}

BusyCards JobTable::Busy() const {
  const Base::MutexLock lock(m_Lock);
  BusyCards cards;
  for (const Job& each : m_Jobs) {
    const JobRow* const row = FindRow(each.m_Operation);
    const bool isBusy = each.m_State == JobState::Running && !each.m_IsDryRun && row != nullptr;
    if (isBusy) cards.push_back({each.m_Serial, row->m_Activity});
  }
  return cards;
}

void JobTable::ReportBusy() const {
  if (m_OnBusy) m_OnBusy(Busy());
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
  ReportBusy();
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
  Job ended;
  {
    const Base::MutexLock lock(m_Lock);
    const auto found = std::find_if(m_Jobs.begin(), m_Jobs.end(),
                                    [&id](const Job& each) { return each.m_Id == id; });
    if (found == m_Jobs.end()) return;
    found->m_State = state;
    found->m_Ended = Job::Clock::now();
    found->m_Result = std::move(result);
    ended = *found;
  }
  ReportBusy();
  if (m_OnEnd) m_OnEnd(ended);
}

void JobTable::Drop(const std::string& id) {
  {
    const Base::MutexLock lock(m_Lock);
    const auto isDropped = [&id](const Job& each) { return each.m_Id == id; };
    m_Jobs.erase(std::remove_if(m_Jobs.begin(), m_Jobs.end(), isDropped), m_Jobs.end());
  }
  ReportBusy();
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
