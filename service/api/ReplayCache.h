// Responses for clients that repeat a request because they have not received its response.
#pragma once

#include <chrono>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/Mutex.h"
#include "service/http/Route.h"
#include "service/state/JobStore.h"

namespace Service {

// Copies a response into a record of it.
void SetResponse(StoredResponse& stored, const Http::Response& response);

// Returns the key under which the response to a request is kept, or empty if the request has none.
// Different users may use the same key.
std::optional<std::string> ReplayKey(const Http::Request& request);

// Keeps the newest thousand responses, for a day and in at most 4 MiB, also in the database if
// there is one. Thread-safe.
class ReplayCache {
 public:
  using Clock = std::chrono::steady_clock;

  // `store` may be null and is not owned.
  explicit ReplayCache(std::function<Clock::time_point()> now = &Clock::now,
                       JobStore* store = nullptr)
      : m_Now(std::move(now)), m_pStore(store) {}
  ReplayCache(const ReplayCache&) = delete;
  ReplayCache& operator=(const ReplayCache&) = delete;

  // Returns the reply of `answer` for a new key, the first response for a known key, or a 422 if
  // the key was used with another `content`. If the first response is not complete, a repeated
  // request waits for it. Keeps only successful responses, including those to clients that have
  // disconnected.
  //
  // A successful response is stored before it is sent, on the thread that completes it.
  //
  // `answer` must not block, and returns a response or a promise, which must be completed before
  // the cache is destroyed. Throws what `answer` throws.
  Http::Reply Answer(const std::string& key, const std::string& content,
                     const std::function<Http::Reply()>& answer);

  // Reads the stored responses. Call before the first `Answer`.
  void Restore() HOST_BLOCKS;
  // Returns the record, still without a response, of the request that `Answer` is answering; empty
  // if the request has no key. Lets the handler store the response together with its change.
  std::optional<StoredResponse> Pending(const Http::Request& request);

 private:
  struct Entry {
    // Returns the approximate size in bytes.
    std::size_t Size() const;

    std::string m_Key;
    std::string m_Content;
    Clock::time_point m_Begun;
    std::uint64_t m_BegunMs = 0;               // the same, since the epoch
    std::optional<Http::Response> m_Response;  // empty until it is complete
    std::vector<Http::Responder> m_Waiting;    // for the response
    // The promise of the request that makes the change. Null until it is known, and once the entry
    // is complete.
    std::shared_ptr<const Http::PendingResponse> m_pFirst;
  };
  using EntryPtr = std::shared_ptr<Entry>;

  std::optional<Http::Reply> Begin(const EntryPtr& entry);
  Http::Reply CompleteLater(const EntryPtr& entry, const Http::ResponsePromise& first);
  static Http::ResponsePromise Defer(Entry& entry);
  EntryPtr Find(const std::string& key) const HOST_REQUIRES(m_Lock);
  void Remove(const EntryPtr& entry) HOST_REQUIRES(m_Lock);
  void RemoveOld() HOST_REQUIRES(m_Lock);
  void Complete(const EntryPtr& entry, const Http::Response& response);
  void Store(const EntryPtr& entry, const Http::Response& response);

  const std::function<Clock::time_point()> m_Now;
  JobStore* const m_pStore;

  Base::Mutex m_Lock;                                          // also guards the entries
  std::deque<EntryPtr> m_Entries HOST_GUARDED_BY(m_Lock);      // oldest first
  std::size_t m_Bytes HOST_GUARDED_BY(m_Lock) = 0;             // of complete entries
  std::vector<std::string> m_Removed HOST_GUARDED_BY(m_Lock);  // keys to remove from the store
};

}  // namespace Service
