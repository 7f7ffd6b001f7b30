// Responses for clients that repeat a request because they have not received its response.
#pragma once

#include <deque>
#include <functional>
#include <optional>
#include <set>
#include <string>

#include "base/Mutex.h"
#include "service/http/Message.h"

namespace Service {

// Keeps the newest thousand responses. Thread-safe.
class ReplayCache {
 public:
  // Returns the response of `answer` for a new key, the first response for a known key, or a 422 if
  // the key was used with another `content`. Keeps only successful responses. Two requests with
  // the same new key do not both run: one waits for the other. `answer` must not call the cache.
  Http::Response Answer(const std::string& key, const std::string& content,
                        const std::function<Http::Response()>& answer);

 private:
  class Claim;
  struct Entry {
    std::string m_Key;
    std::string m_Content;
    Http::Response m_Response;
  };

  std::optional<Http::Response> FindOrClaim(const std::string& key, const std::string& content);
  void Keep(const Entry& entry);

  Base::Mutex m_Lock;  // not held while `answer` runs
  Base::ConditionVariable m_Changed;
  std::set<std::string> m_Claimed HOST_GUARDED_BY(m_Lock);  // keys of requests that are running
  std::deque<Entry> m_Entries HOST_GUARDED_BY(m_Lock);      // oldest first
};

}  // namespace Service
