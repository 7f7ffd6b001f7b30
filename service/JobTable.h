// Operations started by clients.
#pragma once

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

namespace Service {

enum class JobState { Running, Succeeded, Failed };

// The request that started a job: one for an operation, or a command of the plug-in interface.
enum class JobOrigin { Api, Session };

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
  Clock::time_point m_Ended;  // set when the job has ended
  // A console document or a problem document. Null while the job is running, and after the success
  // of a command of the plug-in interface.
  nlohmann::ordered_json m_Result;
};

// Allows one running job per card. Keeps the newest thousand jobs. Thread-safe.
class JobTable {
 public:
  // Receives the cards that are being attached, detached or formatted.
  using OnBusy = std::function<void(const BusyCards&)>;

  // Receives a job that has ended.
  using OnEnd = std::function<void(const Job&)>;

  // `onBusy` is called after each start or end of a job, and `onEnd` after each end, if set. They
  // must be thread-safe.
  explicit JobTable(OnBusy onBusy = nullptr, OnEnd onEnd = nullptr);

  // Adds a running job. Throws `Console::Failure` if one is already running on the card.
  Job Begin(const std::string& serial, const std::string& operation, bool isDryRun,
            const JobClient& client = {});
  // Throws `Console::Failure`, as `Begin` does, if this operation is running on the card.
  void RequireNotRunning(const std::string& serial, const std::string& operation) const;
  // Records the end of a running job.
  void End(const std::string& id, JobState state, nlohmann::ordered_json result);
  // Removes a job that could not be started.
  void Drop(const std::string& id);

  // Newest first.
  std::vector<Job> List() const;
  std::optional<Job> Find(const std::string& id) const;
  bool HasRunning() const;

 private:
  void DropOldest() HOST_REQUIRES(m_Lock);
  BusyCards Busy() const;
  void ReportBusy() const;

  const std::uint64_t m_Run;
  const OnBusy m_OnBusy;
  const OnEnd m_OnEnd;
  mutable Base::Mutex m_Lock;
  std::deque<Job> m_Jobs HOST_GUARDED_BY(m_Lock);  // oldest first
  std::uint64_t m_Last HOST_GUARDED_BY(m_Lock) = 0;
};

}  // namespace Service
