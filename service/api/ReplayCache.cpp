#include "service/api/ReplayCache.h"

#include <algorithm>
#include <utility>

namespace Service {
namespace {

constexpr std::size_t kMaxEntries = 1000;

}  // namespace

// Releases a claimed key when the request has ended, even if it has thrown.
class ReplayCache::Claim {
 public:
  Claim(ReplayCache& cache, const std::string& key) : m_Cache(cache), m_Key(key) {}
  ~Claim() {
    const Base::MutexLock lock(m_Cache.m_Lock);
    m_Cache.m_Claimed.erase(m_Key);
    m_Cache.m_Changed.NotifyAll();
  }
  Claim(const Claim&) = delete;
  Claim& operator=(const Claim&) = delete;

 private:
  ReplayCache& m_Cache;
  const std::string& m_Key;
};

Http::Response ReplayCache::Answer(const std::string& key, const std::string& content,
                                   const std::function<Http::Response()>& answer) {
  if (auto known = FindOrClaim(key, content)) return *std::move(known);
  const Claim claim(*this, key);
  Http::Response response = answer();
  if (response.m_Status < 300) Keep({key, content, response});
  return response;
}

// Returns empty if the key is new, and claims it for the caller.
std::optional<Http::Response> ReplayCache::FindOrClaim(const std::string& key,
                                                       const std::string& content) {
  Base::MutexLock lock(m_Lock);
  while (m_Claimed.count(key) > 0) m_Changed.Wait(lock);
  const auto known = std::find_if(m_Entries.begin(), m_Entries.end(),
                                  [&key](const Entry& each) { return each.m_Key == key; });
  if (known == m_Entries.end()) {
    m_Claimed.insert(key);
    return std::nullopt;
  }
  if (known->m_Content == content) return known->m_Response;
  return Http::MakeProblem(422, "IDEMPOTENCY_KEY_REUSED",
                           "the Idempotency-Key was used for another request");
}

void ReplayCache::Keep(const Entry& entry) {
  const Base::MutexLock lock(m_Lock);
  if (m_Entries.size() == kMaxEntries) m_Entries.pop_front();
  m_Entries.push_back(entry);
}

}  // namespace Service
