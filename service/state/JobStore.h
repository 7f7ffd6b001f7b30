// Jobs and responses that must survive a restart of the service. They are stored in the host's
// database and survive a crash of the process at any time.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "base/Mutex.h"
#include "hostkit/database/OwnTables.h"

namespace Service {

// A job as stored. Times are in milliseconds since the epoch.
struct StoredJob {
  std::string m_Id;
  std::string m_SerialNumber;
  std::string m_Operation;
  bool m_IsDryRun = false;
  std::string m_Origin;
  std::string m_User;
  std::string m_State;
  std::uint64_t m_Started = 0;
  std::optional<std::uint64_t> m_Ended;  // empty: running, or the end is unknown
  std::string m_Result;                  // JSON
};

// The response to a request with an Idempotency-Key.
struct StoredResponse {
  std::string m_Key;
  std::string m_Content;      // in which requests with the same key can differ
  std::uint64_t m_Begun = 0;  // time of the request, in milliseconds since the epoch
  unsigned m_Status = 0;
  std::string m_ContentType;
  std::string m_Body;
  std::string m_Location;  // empty: none
};

// Each call is atomic, and has reached the disk when it returns. No function throws if the database
// cannot be used; all work again once the cause is removed. Thread-safe.
class JobStore {
 public:
  // Number of jobs that are kept, apart from running ones.
  static constexpr std::size_t kMaxJobs = 1000;

  // `onFailure` is called with the reason for a failure, if it is set. Each reason is reported
  // once, until a write succeeds. It must be thread-safe.
  explicit JobStore(std::function<void(const std::string&)> onFailure = nullptr)
      : m_OnFailure(std::move(onFailure)) {}

  // Adds the job or replaces it, and adds the response if it is not null. Removes the oldest jobs
  // beyond the limit. Returns an empty string, or the reason for a failure.
  std::string Write(const StoredJob& job, const StoredResponse* response = nullptr) HOST_BLOCKS;
  // Returns all jobs, oldest first; none if the database cannot be used.
  std::vector<StoredJob> Jobs() HOST_BLOCKS;

  // Removes the responses to these keys. Then adds the response, unless it was written with its
  // job. Returns an empty string, or the reason for a failure.
  std::string Write(const StoredResponse& response,
                    const std::vector<std::string>& removedKeys) HOST_BLOCKS;
  // Returns all responses, the oldest request first; none if the database cannot be used.
  std::vector<StoredResponse> Responses() HOST_BLOCKS;

 private:
  std::string Change(const HostKit::OwnTablesUse& use);
  void Read(const HostKit::OwnTablesUse& use);
  std::string Try(const std::function<void()>& work);
  void Prepare(HostKit::Connection& connection);

  const std::function<void(const std::string&)> m_OnFailure;
  // Used only while the host kit runs a function for this object, which it does one at a time.
  std::uint64_t m_Prepared = 0;  // number of the last connection prepared

  Base::Mutex m_Lock;
  std::set<std::string> m_Reported HOST_GUARDED_BY(m_Lock);
};

}  // namespace Service
