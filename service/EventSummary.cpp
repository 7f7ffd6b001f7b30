#include "service/EventSummary.h"

#include <algorithm>

#include "host/Database.h"
#include "hostkit/Paths.h"
#include "hostkit/database/OwnTables.h"

namespace Service {
namespace {

using HostKit::EventCount;
using HostKit::LoggedEvent;

// An event is dropped once this many events have been read after it, as in the log.
constexpr std::uint64_t kMaxAge = 20000;

template <class Read>
void IgnoreDatabaseFailure(Read read) {
  try {
    read();
  } catch (const DBEXCEPTION::DatabaseException&) {
    // The next update reads what this one could not.
  }
}

}  // namespace

class EventSummary::Turn {
 public:
  explicit Turn(EventSummary& summary) : m_Summary(summary) {
    Base::MutexLock lock(m_Summary.m_Lock);
    while (m_Summary.m_IsReading) m_Summary.m_Changed.Wait(lock);
    m_Summary.m_IsReading = true;
  }
  ~Turn() {
    const Base::MutexLock lock(m_Summary.m_Lock);
    m_Summary.m_IsReading = false;
    m_Summary.m_Changed.NotifyOne();
  }
  Turn(const Turn&) = delete;
  Turn& operator=(const Turn&) = delete;

 private:
  EventSummary& m_Summary;
};

// A read-only database may have no counts, but its events can still be read.
void EventSummary::Update() {
  const Turn turn(*this);
  IgnoreDatabaseFailure([this] { ReadNewEvents(); });
  IgnoreDatabaseFailure([this] { ReadCounts(); });
}

std::int64_t EventSummary::LastRead() {
  const Base::MutexLock lock(m_Lock);
  return m_Last;
}

// The events of a new database are numbered from 1 again.
void EventSummary::ReadNewEvents() {
  const std::int64_t last = LastRead();
  const std::int64_t start = HostKit::NewestEventNumber() < last ? 0 : last;
  const auto events = HostKit::ReadEventsAfter(start, Console::EventLogClient::kAll);
  const Base::MutexLock lock(m_Lock);
  m_Last = events.empty() ? start : events.back().m_Number;
  Add(events);
}

void EventSummary::Add(const std::vector<LoggedEvent>& events) {
  for (const LoggedEvent& event : events) {
    const bool hasSerial = !event.m_SerialNumber.empty();
    m_Newest[{event.m_EventID, event.m_ObjectType, event.m_SerialNumber,
              hasSerial ? std::string() : event.m_SourceName}] = {++m_Places, event};
  }
  for (auto each = m_Newest.begin(); each != m_Newest.end();) {
    const bool isOld = m_Places - each->second.m_Place >= kMaxAge;
    each = isOld ? m_Newest.erase(each) : std::next(each);
  }
}

// Counts never decrease, so a lower or missing count means that the database is new.
void EventSummary::ReadCounts() {
  Counts counts;
  for (const EventCount& each : HostKit::CountEvents()) {
    counts[{each.m_EventID, each.m_Severity, each.m_SerialNumber}] = each.m_Count;
  }
  const Base::MutexLock lock(m_Lock);
  const bool isReplaced =
      std::any_of(m_Counts.begin(), m_Counts.end(), [&counts](const auto& known) {
        const auto found = counts.find(known.first);
        return found == counts.end() || found->second < known.second;
      });
  if (isReplaced) {
    for (const auto& [kind, count] : m_Counts) m_Earlier[kind] += count;
  }
  m_Counts = std::move(counts);
  m_HasCounts = true;
}

std::vector<LoggedEvent> EventSummary::ReadEvents(std::uint64_t sinceMs, std::size_t limit) {
  std::vector<Entry> entries;
  {
    const Base::MutexLock lock(m_Lock);
    for (const auto& [kind, entry] : m_Newest) {
      if (entry.m_Event.m_Time >= sinceMs) entries.push_back(entry);
    }
  }
  std::sort(entries.begin(), entries.end(),
            [](const Entry& left, const Entry& right) { return left.m_Place < right.m_Place; });
  const std::size_t skipped = entries.size() - std::min(entries.size(), limit);
  std::vector<LoggedEvent> events;
  for (std::size_t i = skipped; i < entries.size(); ++i) events.push_back(entries[i].m_Event);
  return events;
}

std::vector<std::string> EventSummary::DatabaseAdvice() const {
  return Console::ServiceDatabaseAdvice(HostKit::DatabaseFile().string());
}

std::vector<EventCount> EventSummary::CountEvents() {
  const Base::MutexLock lock(m_Lock);
  if (!m_HasCounts) throw DBEXCEPTION::DatabaseException("the log has not been read yet");
  Counts sums = m_Earlier;
  for (const auto& [kind, count] : m_Counts) sums[kind] += count;
  std::vector<EventCount> counts;
  for (const auto& [kind, count] : sums) {
    const auto& [event, severity, serial] = kind;
    counts.push_back({event, severity, count, serial});
  }
  return counts;
}

}  // namespace Service
