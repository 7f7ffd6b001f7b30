#include "service/api/ReplayCache.h"

#include <algorithm>
#include <utility>
#include <variant>

#include "service/http/PendingResponse.h"

namespace Service {
namespace {

constexpr std::size_t kMaxEntries = 1000;
constexpr std::size_t kMaxBytes = 4U << 20U;
constexpr std::chrono::hours kMaxAge(24);

}  // namespace

std::size_t ReplayCache::Entry::Size() const {
  const bool hasBody = m_Response && m_Response->m_Body != nullptr;
  return m_Key.size() + m_Content.size() + (hasBody ? m_Response->m_Body->size() : 0);
}

Http::Reply ReplayCache::Answer(const std::string& key, const std::string& content,
                                const std::function<Http::Reply()>& answer) {
  const auto entry = std::make_shared<Entry>();
  entry->m_Key = key;
  entry->m_Content = content;
  if (auto known = Begin(entry)) return std::move(*known);
  Http::Reply reply;
  try {
    reply = answer();
  } catch (...) {
    Complete(entry, Http::MakeProblem(500, "UNEXPECTED", "an unexpected error"));
    throw;
  }
  if (const auto* const response = std::get_if<Http::Response>(&reply)) {
    Complete(entry, *response);
    return reply;
  }
  return CompleteLater(entry, std::get<Http::ResponsePromise>(reply));
}

// Adds the entry. Returns the reply to the request if the key is known.
std::optional<Http::Reply> ReplayCache::Begin(const EntryPtr& entry) {
  const Base::MutexLock lock(m_Lock);
  RemoveOld();
  const EntryPtr known = Find(entry->m_Key);
  if (known == nullptr) {
    entry->m_Begun = m_Now();
    m_Entries.push_back(entry);
    return std::nullopt;
  }
  if (known->m_Content != entry->m_Content) {
    return Http::MakeProblem(422, "IDEMPOTENCY_KEY_REUSED",
                             "the Idempotency-Key was used for another request");
  }
  if (known->m_Response) return *known->m_Response;
  return Defer(*known);
}

// Returns a promise of the entry's response, with the timeout of the first promise. The timeout
// does not end the first promise, so that a later repetition still gets the response.
Http::ResponsePromise ReplayCache::Defer(Entry& entry) {
  Http::ResponsePromise promise = entry.m_Waiting.emplace_back().Promise();
  if (entry.m_pFirst != nullptr) promise.m_Response->CopyTimeout(*entry.m_pFirst);
  return promise;
}

// The client gets a second promise, because the response to a promise is dropped if its client has
// disconnected, and that client will repeat the request.
Http::Reply ReplayCache::CompleteLater(const EntryPtr& entry, const Http::ResponsePromise& first) {
  Http::Reply reply;
  {
    const Base::MutexLock lock(m_Lock);
    entry->m_pFirst = first.m_Response;
    reply = Defer(*entry);
  }
  first.m_Response->OnComplete(
      [this, entry](const Http::Response& response) { Complete(entry, response); });
  return reply;
}

ReplayCache::EntryPtr ReplayCache::Find(const std::string& key) const {
  const auto found = std::find_if(m_Entries.begin(), m_Entries.end(),
                                  [&key](const EntryPtr& each) { return each->m_Key == key; });
  return found == m_Entries.end() ? nullptr : *found;
}

void ReplayCache::Remove(const EntryPtr& entry) {
  if (entry->m_Response) m_Bytes -= entry->Size();
  m_Entries.erase(std::find(m_Entries.begin(), m_Entries.end(), entry));
}

// Incomplete entries remain; the number of requests that wait for a response is limited elsewhere.
void ReplayCache::RemoveOld() {
  const auto end = m_Now() - kMaxAge;
  const auto isComplete = [](const EntryPtr& each) { return each->m_Response.has_value(); };
  for (;;) {
    const auto oldest = std::find_if(m_Entries.begin(), m_Entries.end(), isComplete);
    if (oldest == m_Entries.end()) return;
    const bool isTooMuch = m_Entries.size() > kMaxEntries || m_Bytes > kMaxBytes;
    if (!isTooMuch && (*oldest)->m_Begun > end) return;
    Remove(EntryPtr(*oldest));
  }
}

void ReplayCache::Complete(const EntryPtr& entry, const Http::Response& response) {
  std::vector<Http::Responder> waiting;
  {
    const Base::MutexLock lock(m_Lock);
    waiting.swap(entry->m_Waiting);
    entry->m_pFirst = nullptr;
    if (response.m_Status < 300) {
      entry->m_Response = response;
      m_Bytes += entry->Size();
      RemoveOld();
    } else {
      Remove(entry);
    }
  }
  for (const Http::Responder& each : waiting) each.Complete(response);
}

}  // namespace Service
