#include "service/api/ReplayCache.h"

#include <algorithm>

namespace Service {
namespace {

constexpr std::size_t kMaxEntries = 1000;

}  // namespace

// The lock is held during `answer`, so that two requests with the same new key do not both run.
Http::Response ReplayCache::Answer(const std::string& key, const std::string& content,
                                   const std::function<Http::Response()>& answer) {
  const Base::MutexLock lock(m_Lock);
  const auto known = std::find_if(m_Entries.begin(), m_Entries.end(),
                                  [&key](const Entry& each) { return each.m_Key == key; });
  if (known != m_Entries.end()) {
    if (known->m_Content == content) return known->m_Response;
    return Http::MakeProblem(422, "IDEMPOTENCY_KEY_REUSED",
                             "the Idempotency-Key was used for another request");
  }
  Http::Response response = answer();
  if (response.m_Status >= 300) return response;
  if (m_Entries.size() == kMaxEntries) m_Entries.pop_front();
  m_Entries.push_back({key, content, response});
  return response;
}

}  // namespace Service
