#include "service/JobTable.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "base/Lookup.h"
#include "console/base/Failure.h"
#include "console/base/Timestamp.h"
#include "host/PluginInterface.h"
#include "service/http/Message.h"

namespace Service {
namespace {

using Json = nlohmann::ordered_json;

constexpr std::size_t kMaxJobs = JobStore::kMaxJobs;
constexpr int kUnavailable = 503;

constexpr std::pair<JobState, const char*> kStates[] = {{JobState::Running, "RUNNING"},
                                                        {JobState::Succeeded, "SUCCEEDED"},
                                                        {JobState::Failed, "FAILED"},
                                                        {JobState::Interrupted, "INTERRUPTED"}};

constexpr std::pair<JobOrigin, const char*> kOrigins[] = {{JobOrigin::Api, "API"},
                                                          {JobOrigin::Session, "SESSION"}};

// Returns the key of a row by its name.
template <class Key, std::size_t count>
Key KeyOf(const std::pair<Key, const char*> (&rows)[count], const std::string& name,
          Key otherwise) {
  for (const auto& [key, text] : rows) {
    if (name == text) return key;
  }
  return otherwise;
}

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

// Returns the time with the precision of stored jobs, so that a restart does not change it.
Job::Clock::time_point Now() {
  return std::chrono::time_point_cast<std::chrono::milliseconds>(Job::Clock::now());
}

// What a client can do about a job whose outcome is unknown.
std::string InterruptionHint(const Job& job) {
  if (job.m_IsDryRun) return "Nothing was changed.";
  if (job.m_Operation == "format") {
    return "The card continues a format that it has started. Check its activity with show.";
  }
  return "The card may still be working, and nothing is rolled back. Check its state with show.";
}

void Interrupt(Job& job) {
  job.m_State = JobState::Interrupted;
  job.m_Result = Json::parse(*Http::MakeProblem(kUnavailable, "INTERRUPTED",
                                                "the service stopped while the job was running",
                                                InterruptionHint(job))
                                  .m_Body);
}

bool IsUnavailable(const Json& result) {
  return result.is_object() && result.value("status", 0) == kUnavailable;
}

StoredJob ToStored(const Job& job) {
  StoredJob stored;
  stored.m_Id = job.m_Id;
  stored.m_SerialNumber = job.m_Serial;
  stored.m_Operation = job.m_Operation;
  stored.m_IsDryRun = job.m_IsDryRun;
  stored.m_Origin = NameOf(job.m_Client.m_Origin);
  stored.m_User = job.m_Client.m_User;
  stored.m_State = NameOf(job.m_State);
  stored.m_Started = Console::ToMilliseconds(job.m_Started);
  const bool hasEnded = job.m_State == JobState::Succeeded || job.m_State == JobState::Failed;
  if (hasEnded) stored.m_Ended = Console::ToMilliseconds(job.m_Ended);
  stored.m_Result = job.m_Result.dump(-1, ' ', false, Json::error_handler_t::replace);
  return stored;
}

// An unknown state or an invalid result, which another program must have written, counts as an
// interruption.
Job FromStored(const StoredJob& stored) {
  Job job;
  job.m_Id = stored.m_Id;
  job.m_Serial = stored.m_SerialNumber;
  job.m_Operation = stored.m_Operation;
  job.m_IsDryRun = stored.m_IsDryRun;
  job.m_Client = {KeyOf(kOrigins, stored.m_Origin, JobOrigin::Api), stored.m_User};
  job.m_State = KeyOf(kStates, stored.m_State, JobState::Running);
  job.m_Started = Job::Clock::time_point(std::chrono::milliseconds(stored.m_Started));
  job.m_Ended = job.m_Started;
  if (stored.m_Ended) {
    job.m_Ended = Job::Clock::time_point(std::chrono::milliseconds(*stored.m_Ended));
  }
  job.m_Result = Json::parse(stored.m_Result, nullptr, false);
  if (job.m_State == JobState::Running || job.m_Result.is_discarded()) Interrupt(job);
  return job;
}

}  // namespace

const char* NameOf(JobState state) {
  return Base::Lookup(kStates, state, "");
}

const char* NameOf(JobOrigin origin) {
  return Base::Lookup(kOrigins, origin, "");
}

JobTable::JobTable(OnBusy onBusy, OnEnd onEnd, JobStore* store)
    : m_Run(static_cast<std::uint64_t>(Job::Clock::now().time_since_epoch().count())),
      m_OnBusy(std::move(onBusy)),
      m_OnEnd(std::move(onEnd)),
      m_pStore(store) {}

// An interrupted job is also written, so that its row does not say that it is running.
void JobTable::Restore() {
  if (m_pStore == nullptr) return;
  std::vector<Job> interrupted;
  for (const StoredJob& stored : m_pStore->Jobs()) {
    const Job job = FromStored(stored);
    if (stored.m_State != NameOf(job.m_State)) interrupted.push_back(job);
    const Base::MutexLock lock(m_Lock);
    m_Jobs.push_back(job);
  }
  for (const Job& job : interrupted) m_pStore->Write(ToStored(job));
  const Base::MutexLock lock(m_Lock);
  m_Interrupted = std::move(interrupted);
}

std::vector<Job> JobTable::TakeInterrupted() {
  const Base::MutexLock lock(m_Lock);
  return std::exchange(m_Interrupted, {});
}

void JobTable::BeginStop() {
  m_IsStopping = true;
}

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
  job.m_Started = Now();
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

Job* JobTable::FindJob(const std::string& id) {
  const auto found = std::find_if(m_Jobs.begin(), m_Jobs.end(),
                                  [&id](const Job& each) { return each.m_Id == id; });
  return found == m_Jobs.end() ? nullptr : &*found;
}

std::string JobTable::Store(const std::string& id, const std::string& user,
                            const StoredResponse* response) {
  Job stored;
  {
    const Base::MutexLock lock(m_Lock);
    Job* const job = FindJob(id);
    if (job == nullptr) return {};
    job->m_Client.m_User = user;
    stored = *job;
  }
  return m_pStore == nullptr ? std::string() : m_pStore->Write(ToStored(stored), response);
}

void JobTable::End(const std::string& id, JobState state, Json result) {
  auto ended = Find(id);
  if (!ended) return;
  ended->m_State = state;
  ended->m_Ended = Now();
  ended->m_Result = std::move(result);
  const bool isInterrupted =
      m_IsStopping && state == JobState::Failed && IsUnavailable(ended->m_Result);
  if (isInterrupted) Interrupt(*ended);
  if (m_pStore != nullptr) m_pStore->Write(ToStored(*ended));
  {
    const Base::MutexLock lock(m_Lock);
    if (Job* const job = FindJob(id)) *job = *ended;
  }
  ReportBusy();
  if (m_OnEnd) m_OnEnd(*ended);
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
