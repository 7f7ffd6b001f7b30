#include "hostkit/EventLog.h"

#include <algorithm>
#include <limits>

#include "hostkit/Texts.h"
#include "hostkit/database/HostDatabase.h"

namespace HostKit {

namespace {

constexpr std::int64_t kMostEvents = 20000;

constexpr const char* kAppend =
    "INSERT INTO host_event_log (time, severity, event_id, object_id, name, message) "
    "VALUES (?, ?, ?, ?, ?, ?)";
constexpr const char* kTrim =
    "DELETE FROM host_event_log WHERE number <= (SELECT MAX(number) FROM host_event_log) - ?";
constexpr const char* kNewest =
    "SELECT number, time, severity, event_id, object_id, name, message FROM host_event_log "
    "WHERE time >= ? ORDER BY number DESC LIMIT ?";

// SQLite's integers are signed: the bits are kept.
std::int64_t Bits(std::uint64_t value) {
  return static_cast<std::int64_t>(value);
}

std::int64_t UpToLargest(std::uint64_t value) {
  constexpr auto kLargest = std::numeric_limits<std::int64_t>::max();
  return value > static_cast<std::uint64_t>(kLargest) ? kLargest : Bits(value);
}

LoggedEvent EventOf(const Statement& row) {
  LoggedEvent event;
  event.m_Number = row.Integer(0);
  event.m_Time = static_cast<std::uint64_t>(row.Integer(1));
  event.m_Severity = static_cast<std::uint32_t>(row.Integer(2));
  event.m_EventID = static_cast<std::uint32_t>(row.Integer(3));
  event.m_ObjectID = static_cast<std::uint64_t>(row.Integer(4));
  event.m_SourceName = row.Text(5);
  event.m_Message = row.Text(6);
  return event;
}

}  // namespace

void AppendEvent(const PI::CEvent& event) {
  const std::string message = MessageOf(event);
  TheDatabase()->With([&](Connection& connection) {
    Statement statement = connection.Prepare(kAppend);
    statement.Bind(UpToLargest(event.m_Time)).Bind(event.m_Severity).Bind(event.m_EventID);
    statement.Bind(Bits(event.m_ObjectID)).Bind(event.m_SourceName).Bind(message).Step();
    connection.Prepare(kTrim).Bind(kMostEvents).Step();
  });
}

std::vector<LoggedEvent> ReadEvents(std::uint64_t sinceMs, std::size_t limit) {
  return TheDatabase()->With([&](Connection& connection) {
    Statement statement = connection.Prepare(kNewest);
    statement.Bind(UpToLargest(sinceMs)).Bind(UpToLargest(limit));
    std::vector<LoggedEvent> events;
    while (statement.Step()) events.push_back(EventOf(statement));
    std::reverse(events.begin(), events.end());
    return events;
  });
}

}  // namespace HostKit
