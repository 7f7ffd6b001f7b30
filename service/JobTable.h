// Operations started by clients.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "base/Mutex.h"
#include "service/BusyCard.h"
#include "service/state/JobStore.h"

namespace Service {

// `Interrupted`: the service has stopped during the job, and the outcome is unknown.
enum class JobState { Running, Succeeded, Failed, Interrupted };

// Returns the name of the state, such as "RUNNING".
const char* NameOf(JobState state);

// The request that started a job: one for an operation, or a command of the plug-in interface.
enum class JobOrigin { Api, Session };

// Returns the name of the origin, such as "API".
const char* NameOf(JobOrigin origin);

struct JobClient {
  JobOrigin m_Origin = JobOrigin::Api;
  std::string m_User;  // name of the user
};

struct Job {
  using Clock = std::chrono::system_clock;

  std::string m_Id;  // never reused, even after the service restarts
  std::string m_Serial;
  std::string m_Operation;
  bool m_IsDryRun = false;
  JobClient m_Client;
  JobState m_State = JobState::Running;
  Clock::time_point m_Started;
  Clock::time_point m_Ended;  // set when the job has ended, unless it was interrupted
  // A console document or a problem document. Null while the job is running, and after the success
  // of a command of the plug-in interface.
  nlohmann::ordered_json m_Result;
};

// Allows one running job per card. Keeps the newest thousand jobs, also in the database if there is
// one. Thread-safe.
class JobTable {
 public:
  // Receives the cards that are being attached, detached or formatted.
  using OnBusy = std::function<void(const BusyCards&)>;

  // Receives a job that has ended.
  using OnEnd = std::function<void(const Job&)>;

  // `onBusy` is called after each start or end of a job, and `onEnd` after each end, if set. They
  // must be thread-safe. `store` may be null and is not owned.
  explicit JobTable(OnBusy onBusy = nullptr, OnEnd onEnd = nullptr, JobStore* store = nullptr);

  // Reads the stored jobs. Those that were running when the service stopped are interrupted. Call
  // before the first `Begin`.
  void Restore() HOST_BLOCKS;
  // Returns the interrupted jobs that `Restore` has found, for the first caller.
  std::vector<Job> TakeInterrupted();

  // Adds a running job. Throws `Console::Failure` if one is already running on the card.
  Job Begin(const std::string& serial, const std::string& operation, bool isDryRun,
            const JobClient& client = {});
  // Throws `Console::Failure`, as `Begin` does, if this operation is running on the card.
  void RequireNotRunning(const std::string& serial, const std::string& operation) const;
  // Sets the user's name, and stores the job with the response to its request, if there is one.
  // Call before the job does anything. Returns an empty string, or the reason for a failure.
  std::string Store(const std::string& id, const std::string& user,
                    const StoredResponse* response = nullptr) HOST_BLOCKS;
  // Records the end of a job. It is stored before it is visible.
  void End(const std::string& id, JobState state, nlohmann::ordered_json result) HOST_BLOCKS;
  // From now on, a job that fails because the plug-in is not available counts as interrupted.
  void BeginStop();
  // Removes a job that could not be started and was not stored.
  void Drop(const std::string& id);

  // Newest first.
  std::vector<Job> List() const;
  std::optional<Job> Find(const std::string& id) const;
  bool HasRunning() const;

 private:
  void DropOldest() HOST_REQUIRES(m_Lock);
  Job* FindJob(const std::string& id) HOST_REQUIRES(m_Lock);
  BusyCards Busy() const;
  void ReportBusy() const;

  const std::uint64_t m_Run;
  const OnBusy m_OnBusy;
  const OnEnd m_OnEnd;
  JobStore* const m_pStore;
  std::atomic<bool> m_IsStopping{false};
  mutable Base::Mutex m_Lock;
  std::deque<Job> m_Jobs HOST_GUARDED_BY(m_Lock);  // oldest first
  std::vector<Job> m_Interrupted HOST_GUARDED_BY(m_Lock);
  std::uint64_t m_Last HOST_GUARDED_BY(m_Lock) = 0;
};

}  // namespace Service
