#include "service/api/ReplayCache.h"

#include <algorithm>
#include <utility>
#include <variant>

#include "console/base/Timestamp.h"
#include "service/http/PendingResponse.h"

namespace Service {
namespace {

constexpr std::size_t kMaxEntries = 1000;
constexpr std::size_t kMaxBytes = 4U << 20U;
constexpr std::chrono::hours kMaxAge(24);

Http::Response FromStored(const StoredResponse& stored) {
  Http::Response response =
      Http::MakeResponse(stored.m_Status, stored.m_ContentType, stored.m_Body);
  if (!stored.m_Location.empty()) response.m_Headers.emplace_back("Location", stored.m_Location);
  return response;
}

}  // namespace

std::optional<std::string> ReplayKey(const Http::Request& request) {
  const std::string* const key = Http::Find(request.m_Headers, "idempotency-key");
  if (key == nullptr) return std::nullopt;
  return std::to_string(request.m_Peer.m_User) + " " + *key;
}

void SetResponse(StoredResponse& stored, const Http::Response& response) {
  stored.m_Status = response.m_Status;
  stored.m_ContentType = response.m_ContentType;
  stored.m_Body = response.m_Body == nullptr ? std::string() : *response.m_Body;
  for (const auto& [name, value] : response.m_Headers) {
    if (name == "Location") stored.m_Location = value;
  }
}

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
    entry->m_BegunMs = Console::NowMs();
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
  if (entry->m_Response) {
    m_Bytes -= entry->Size();
    if (m_pStore != nullptr) m_Removed.push_back(entry->m_Key);
  }
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

// The age is taken from the time of day, because the cache's own clock does not continue after a
// restart of the machine. A time in the future counts as now.
void ReplayCache::Restore() {
  if (m_pStore == nullptr) return;
  const std::vector<StoredResponse> responses = m_pStore->Responses();
  const std::uint64_t nowMs = Console::NowMs();
  const Base::MutexLock lock(m_Lock);
  for (const StoredResponse& stored : responses) {
    const auto entry = std::make_shared<Entry>();
    entry->m_Key = stored.m_Key;
    entry->m_Content = stored.m_Content;
    entry->m_BegunMs = stored.m_Begun;
    entry->m_Begun = m_Now() - std::chrono::milliseconds(nowMs - std::min(nowMs, stored.m_Begun));
    entry->m_Response = FromStored(stored);
    m_Bytes += entry->Size();
    m_Entries.push_back(entry);
  }
  RemoveOld();
}

std::optional<StoredResponse> ReplayCache::Pending(const Http::Request& request) {
  const auto key = ReplayKey(request);
  if (!key) return std::nullopt;
  const Base::MutexLock lock(m_Lock);
  const EntryPtr entry = Find(*key);
  if (entry == nullptr) return std::nullopt;
  StoredResponse stored;
  stored.m_Key = entry->m_Key;
  stored.m_Content = entry->m_Content;
  stored.m_Begun = entry->m_BegunMs;
  return stored;
}

// If the response cannot be stored, the change has still been made, and the key is kept until the
// service is restarted.
void ReplayCache::Store(const EntryPtr& entry, const Http::Response& response) {
  if (m_pStore == nullptr || response.m_Status >= 300) return;
  StoredResponse stored;
  std::vector<std::string> removed;
  {
    const Base::MutexLock lock(m_Lock);
    stored.m_Key = entry->m_Key;
    stored.m_Content = entry->m_Content;
    stored.m_Begun = entry->m_BegunMs;
    removed.swap(m_Removed);
  }
  SetResponse(stored, response);
  if (m_pStore->Write(stored, removed).empty()) return;
  const Base::MutexLock lock(m_Lock);
  m_Removed.insert(m_Removed.end(), removed.begin(), removed.end());
}

void ReplayCache::Complete(const EntryPtr& entry, const Http::Response& response) {
  Store(entry, response);
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
