// The operations that clients have started.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <cstdint>
#include <deque>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "base/Mutex.h"

namespace Service {

enum class JobState { Running, Succeeded, Failed };

struct Job {
  using Clock = std::chrono::system_clock;

  std::string m_Id;  // never used again, also after a restart of the service
  std::string m_Serial;
  std::string m_Operation;
  bool m_IsDryRun = false;
  JobState m_State = JobState::Running;
  Clock::time_point m_Started;
  Clock::time_point m_Ended;  // unless it is running
  // What the operation reported: a document of the console, or a problem document. Null while it is
  // running.
  nlohmann::ordered_json m_Result;
};

// One job per card runs at a time. Keeps the newest thousand jobs. Any thread may call its members.
class JobTable {
 public:
  JobTable();

  // A new job that is running; empty if one is already running on the card.
  std::optional<Job> Begin(const std::string& serial, const std::string& operation, bool isDryRun);
  // Ends a running job.
  void End(const std::string& id, JobState state, nlohmann::ordered_json result);
  // Forgets a job that could not be started.
  void Drop(const std::string& id);

  // Newest first.
  std::vector<Job> List() const;
  std::optional<Job> Find(const std::string& id) const;

 private:
  void DropOldest() HOST_REQUIRES(m_Lock);

  const std::uint64_t m_Run;
  mutable Base::Mutex m_Lock;
  std::deque<Job> m_Jobs HOST_GUARDED_BY(m_Lock);  // oldest first
  std::uint64_t m_Last HOST_GUARDED_BY(m_Lock) = 0;
};

}  // namespace Service
