// Responses to requests that clients may send again because they have not seen the response.
#pragma once

#include <deque>
#include <functional>
#include <string>

#include "base/Mutex.h"
#include "service/http/Message.h"

namespace Service {

// Keeps the newest thousand responses. Any thread may call it.
class ReplayCache {
 public:
  // The response of `answer` for a new key, the first response for a known one, and a 422 if the
  // key was used with another `content`. Only successful responses are kept. `answer` must not
  // wait, and must not call the cache.
  Http::Response Answer(const std::string& key, const std::string& content,
                        const std::function<Http::Response()>& answer);

 private:
  struct Entry {
    std::string m_Key;
    std::string m_Content;
    Http::Response m_Response;
  };

  Base::Mutex m_Lock;
  std::deque<Entry> m_Entries HOST_GUARDED_BY(m_Lock);  // oldest first
};

}  // namespace Service
