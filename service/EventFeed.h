// The event log and the snapshots as server-sent events.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "base/Mutex.h"
#include "hostkit/EventLog.h"
#include "service/Snapshot.h"
#include "service/http/Stream.h"

namespace Service {

struct EventFeedSettings {
  std::chrono::milliseconds m_Heartbeat{15000};  // between comments that keep a connection alive
  // Number of heartbeats without progress after which a client is disconnected.
  unsigned m_MissedHeartbeats = 2;
  std::size_t m_RecentEvents = 1000;  // number kept in memory
  std::size_t m_EventsPerPart = 100;  // maximum number sent at a time
};

// Sends every event in the log to each stream, once and in order: first the events that the client
// has not received yet, then each new event as soon as the next snapshot is published. One thread
// sends old and new events, so none is lost or duplicated in between.
//
//     id: 7                 the number in the log
//     event: event          data: the document of `events -o jsonl`
//     event: snapshot       data: {"number", "observed_at", "up"}; the newest; also sent first
//     event: gap            data: {"after", "first"}: the oldest event in the log is `first`
class EventFeed {
 public:
  // The store must outlive the feed.
  explicit EventFeed(SnapshotStore& store, EventFeedSettings settings = {});
  // All streams must have ended.
  ~EventFeed();
  EventFeed(const EventFeed&) = delete;
  EventFeed& operator=(const EventFeed&) = delete;

  // Makes the thread send new events without waiting for the next snapshot. Thread-safe.
  void ReadLog();
  // Returns the number of the newest event available to streams, or 0 if there is none.
  // Thread-safe.
  std::int64_t Newest() const { return m_Newest; }
  // Returns the number of open streams. Thread-safe.
  std::size_t Count() const { return Readers().size(); }
  // Opens a stream of the events after number `after`, or only of new events if `after` is empty.
  // Thread-safe.
  std::shared_ptr<Http::Stream> Open(std::optional<std::int64_t> after);

 private:
  using Clock = std::chrono::steady_clock;

  struct Reader {
    std::shared_ptr<Http::Stream> m_Stream;
    // Number of the last event sent. Empty at first if the stream starts after the newest event.
    std::optional<std::int64_t> m_After;

    bool m_IsDrained = true;  // the client has taken all sent text; guarded by `m_Lock`

    // Used only by the thread.
    std::optional<std::uint64_t> m_Snapshot;  // number of the last one sent
    unsigned m_Missed = 0;                    // heartbeats since the client took all text
  };
  using ReaderPtr = std::shared_ptr<Reader>;

  // An event as sent.
  struct Line {
    std::int64_t m_Number;
    std::string m_Text;
  };

  void Run();
  bool Await(Clock::time_point until);
  bool ConsumeReadRequest();
  void ReadNewEvents(const SnapshotPtr& snapshot);
  void RestartIfLogWasReplaced();
  void Serve(Reader& reader, const SnapshotPtr& snapshot);
  std::string NextPart(Reader& reader, const SnapshotPtr& snapshot);
  std::string RecentPart(Reader& reader) const;
  std::string OlderPart(Reader& reader, const SnapshotPtr& snapshot) const;
  void SendHeartbeat(Reader& reader);
  std::vector<ReaderPtr> Readers() const;
  bool ConsumeDrained(Reader& reader);
  void Wake(const std::weak_ptr<Reader>& reader);
  void Remove(const std::weak_ptr<Reader>& reader);

  const EventFeedSettings m_Settings;
  SnapshotStore& m_Store;

  mutable Base::Mutex m_Lock;
  Base::ConditionVariable m_Changed;
  std::vector<ReaderPtr> m_Readers HOST_GUARDED_BY(m_Lock);
  bool m_HasWork HOST_GUARDED_BY(m_Lock) = true;
  bool m_MustReadLog HOST_GUARDED_BY(m_Lock) = false;  // even without a new snapshot
  bool m_IsStopping HOST_GUARDED_BY(m_Lock) = false;

  std::atomic<std::int64_t> m_Newest{0};  // changed only by the thread

  // Used only by the thread.
  std::deque<Line> m_Recent;        // the newest events, without gaps
  std::int64_t m_BeforeRecent = 0;  // number of the event before them

  std::thread m_Thread;
};

}  // namespace Service
