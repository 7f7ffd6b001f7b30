#include "service/EventFeed.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <optional>
#include <utility>

#include "base/ThreadName.h"
#include "console/model/Model.h"
#include "console/render/CommandResult.h"
#include "console/report/EventMatcher.h"
#include "console/report/EventRows.h"
#include "host/Database.h"

namespace Service {
namespace {

using Console::Json;
using HostKit::LoggedEvent;

// Size of a stream's queue, for one part and a few heartbeats.
constexpr std::size_t kStreamBytes = 1U << 20U;

std::string Message(const char* event, std::int64_t number, const std::string& line) {
  return "id: " + std::to_string(number) + "\nevent: " + event + "\ndata: " + line + "\n\n";
}

// Writes events as `events -o jsonl` does, with the objects of one snapshot.
class Writer {
 public:
  explicit Writer(const Snapshot& snapshot)
      : m_Envelope{"events", std::nullopt, {}, Console::ExitCode::Done},
        m_Model(ModelOf(snapshot)),
        m_Matcher(m_Model) {
    if (snapshot.HasReport()) m_Envelope.m_Plugin = snapshot.m_Info;
    m_Envelope.m_ObservedAt = snapshot.m_Times.m_ObservedAt;
  }

  std::string Write(const LoggedEvent& event) const {
    const Json row = Console::EventJson(m_Matcher.Find(event), event);
    std::string line = Console::RenderEnvelope({{"events", Json::array({row})}}, m_Envelope, true);
    line.pop_back();  // the line break
    return Message("event", event.m_Number, line);
  }

 private:
  Console::Envelope m_Envelope;
  const Console::Model m_Model;
  const Console::EventMatcher m_Matcher;
};

std::string SnapshotMessage(const Snapshot& snapshot, std::int64_t number) {
  Json json = {{"number", snapshot.m_Number}};
  json["observed_at"] = Console::TimeJson(snapshot.m_Times.m_ObservedAt);
  json["up"] = snapshot.m_Plugin.m_IsUp;
  return Message("snapshot", number, json.dump());
}

// Streaming continues with the oldest remaining event.
std::string GapMessage(std::int64_t after, std::int64_t first) {
  const Json json = {{"after", after}, {"first", first}};
  return Message("gap", first - 1, json.dump());
}

}  // namespace

EventFeed::EventFeed(SnapshotStore& store, EventFeedSettings settings)
    : m_Settings(settings), m_Store(store) {
  try {
    m_Newest = m_BeforeRecent = HostKit::ReadEventNumbers().m_Newest;
  } catch (const DBEXCEPTION::DatabaseException&) {
    // Retried with the first snapshot; streams then start at the beginning of the log.
  }
  store.OnPublish([this] {
    const Base::MutexLock lock(m_Lock);
    m_HasWork = true;
    m_Changed.NotifyAll();
  });
  m_Thread = std::thread(&EventFeed::Run, this);
}

EventFeed::~EventFeed() {
  m_Store.OnPublish(nullptr);
  {
    const Base::MutexLock lock(m_Lock);
    m_IsStopping = true;
  }
  m_Changed.NotifyAll();
  m_Thread.join();
}

// The callbacks hold weak pointers: the reader owns the stream, and the stream owns the callbacks.
std::shared_ptr<Http::Stream> EventFeed::Open(std::optional<std::int64_t> after) {
  auto reader = std::make_shared<Reader>();
  reader->m_Stream = std::make_shared<Http::Stream>(kStreamBytes);
  reader->m_After = after;
  const std::weak_ptr<Reader> weak = reader;
  reader->m_Stream->OnDrained([this, weak] { Wake(weak); });
  reader->m_Stream->OnEnd([this, weak] { Remove(weak); });
  const Base::MutexLock lock(m_Lock);
  m_Readers.push_back(reader);
  m_HasWork = true;
  m_Changed.NotifyAll();
  return reader->m_Stream;
}

void EventFeed::ReadLog() {
  const Base::MutexLock lock(m_Lock);
  m_HasWork = m_MustReadLog = true;
  m_Changed.NotifyAll();
}

bool EventFeed::ConsumeReadRequest() {
  const Base::MutexLock lock(m_Lock);
  return std::exchange(m_MustReadLog, false);
}

void EventFeed::Wake(const std::weak_ptr<Reader>& reader) {
  const ReaderPtr owned = reader.lock();
  const Base::MutexLock lock(m_Lock);
  if (owned != nullptr) owned->m_IsDrained = true;
  m_HasWork = true;
  m_Changed.NotifyAll();
}

void EventFeed::Remove(const std::weak_ptr<Reader>& reader) {
  const ReaderPtr owned = reader.lock();
  const Base::MutexLock lock(m_Lock);
  m_Readers.erase(std::remove(m_Readers.begin(), m_Readers.end(), owned), m_Readers.end());
}

std::vector<EventFeed::ReaderPtr> EventFeed::Readers() const {
  const Base::MutexLock lock(m_Lock);
  return m_Readers;
}

// Returns whether the client has taken all text, so that more may be sent. Clears the flag.
bool EventFeed::ConsumeDrained(Reader& reader) {
  const Base::MutexLock lock(m_Lock);
  return std::exchange(reader.m_IsDrained, false);
}

// Waits for work until `until`. Returns false if the feed is stopping.
bool EventFeed::Await(Clock::time_point until) {
  Base::MutexLock lock(m_Lock);
  while (!m_HasWork && !m_IsStopping && m_Changed.WaitUntil(lock, until)) continue;
  m_HasWork = false;
  return !m_IsStopping;
}

void EventFeed::Run() {
  Base::NameThread("event-stream");
  auto beat = Clock::now() + m_Settings.m_Heartbeat;
  std::uint64_t seen = 0;
  while (Await(beat)) {
    const SnapshotPtr snapshot = m_Store.Get();
    const bool isRequested = ConsumeReadRequest();
    if (isRequested || snapshot->m_Number != seen) ReadNewEvents(snapshot);
    seen = snapshot->m_Number;
    const bool isHeartbeatDue = Clock::now() >= beat;
    if (isHeartbeatDue) beat = Clock::now() + m_Settings.m_Heartbeat;
    try {
      for (const ReaderPtr& reader : Readers()) {
        if (isHeartbeatDue) SendHeartbeat(*reader);
        Serve(*reader, snapshot);
      }
    } catch (const std::exception&) {
      // Out of memory: the other readers continue at the next heartbeat.
    }
  }
}

// Retries with the next snapshot if the log cannot be read.
void EventFeed::ReadNewEvents(const SnapshotPtr& snapshot) {
  try {
    RestartIfLogWasReplaced();
    std::optional<Writer> writer;  // copies the objects, so it is created only if there are events
    for (;;) {
      const auto events = HostKit::ReadEventsAfter(m_Newest, m_Settings.m_EventsPerPart);
      if (events.empty()) return;
      if (!writer) writer.emplace(*snapshot);
      for (const LoggedEvent& event : events) {
        m_Recent.push_back({event.m_Number, writer->Write(event)});
        m_Newest = event.m_Number;
      }
      while (m_Recent.size() > m_Settings.m_RecentEvents) {
        m_BeforeRecent = m_Recent.front().m_Number;
        m_Recent.pop_front();
      }
    }
  } catch (const std::exception&) {
  }
}

// The events of a new database are numbered from 1 again.
void EventFeed::RestartIfLogWasReplaced() {
  if (HostKit::ReadEventNumbers().m_Newest >= m_Newest) return;
  m_Recent.clear();
  m_BeforeRecent = 0;
  m_Newest = 0;
}

void EventFeed::Serve(Reader& reader, const SnapshotPtr& snapshot) {
  if (!ConsumeDrained(reader)) return;
  reader.m_Missed = 0;
  std::string part;
  try {
    part = NextPart(reader, snapshot);
    if (!part.empty()) {
      reader.m_Stream->Send(part);
      return;
    }
  } catch (const std::exception&) {
    reader.m_Stream->Abort();  // the client can resume when the log is readable again
    return;
  }
  const Base::MutexLock lock(m_Lock);
  reader.m_IsDrained = true;  // nothing was sent
}

// The snapshot is sent after the events that preceded it.
std::string EventFeed::NextPart(Reader& reader, const SnapshotPtr& snapshot) {
  if (!reader.m_After) reader.m_After = m_Newest;
  std::string part;
  const bool isRecent = *reader.m_After >= m_BeforeRecent && *reader.m_After <= m_Newest;
  if (*reader.m_After != m_Newest) {
    part = isRecent ? RecentPart(reader) : OlderPart(reader, snapshot);
  }
  if (*reader.m_After == m_Newest && reader.m_Snapshot != snapshot->m_Number) {
    part += SnapshotMessage(*snapshot, m_Newest);
    reader.m_Snapshot = snapshot->m_Number;
  }
  return part;
}

std::string EventFeed::RecentPart(Reader& reader) const {
  const auto isBefore = [](std::int64_t number, const Line& line) {
    return number < line.m_Number;
  };
  auto next = std::upper_bound(m_Recent.begin(), m_Recent.end(), *reader.m_After, isBefore);
  std::string part;
  for (std::size_t i = 0; i < m_Settings.m_EventsPerPart && next != m_Recent.end(); ++i, ++next) {
    part += next->m_Text;
    reader.m_After = next->m_Number;
  }
  return part;
}

// A number above that of the newest event comes from an earlier database.
std::string EventFeed::OlderPart(Reader& reader, const SnapshotPtr& snapshot) const {
  const std::int64_t oldest = std::max<std::int64_t>(HostKit::ReadEventNumbers().m_Oldest, 1);
  std::string part;
  if (*reader.m_After < oldest - 1 || *reader.m_After > m_Newest) {
    part = GapMessage(*reader.m_After, oldest);
    reader.m_After = oldest - 1;
  }
  const Writer writer(*snapshot);
  for (const LoggedEvent& event :
       HostKit::ReadEventsAfter(*reader.m_After, m_Settings.m_EventsPerPart)) {
    if (event.m_Number > m_Newest) break;
    part += writer.Write(event);
    reader.m_After = event.m_Number;
  }
  return part;
}

// Sends a heartbeat to a client that has taken all text. Disconnects a client that has missed too
// many heartbeats.
void EventFeed::SendHeartbeat(Reader& reader) {
  if (reader.m_Missed >= m_Settings.m_MissedHeartbeats) return reader.m_Stream->Abort();
  ++reader.m_Missed;
  if (ConsumeDrained(reader)) {
    reader.m_Missed = 0;
    reader.m_Stream->Send(":\n\n");
  }
}

}  // namespace Service
