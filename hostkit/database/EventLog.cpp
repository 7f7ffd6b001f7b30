#include "hostkit/EventLog.h"

#include <algorithm>
#include <limits>

#include "hostkit/Texts.h"
#include "hostkit/database/HostDatabase.h"
#include "hostkit/database/OwnTables.h"

namespace HostKit {

namespace {

constexpr std::int64_t kMaxEvents = 20000;

constexpr const char* kAppend =
    "INSERT INTO host_event_log (time, severity, event_id, object_id, name, message, "
    "serial_number, object_type) VALUES (?, ?, ?, ?, ?, ?, ?, ?)";
constexpr const char* kTrim =
    "DELETE FROM host_event_log WHERE number <= (SELECT MAX(number) FROM host_event_log) - ?";
#define EVENT_COLUMNS \
  "number, time, severity, event_id, object_id, name, message, serial_number, object_type"
constexpr const char* kNewest =
    "SELECT " EVENT_COLUMNS " FROM host_event_log WHERE time >= ? ORDER BY number DESC LIMIT ?";
constexpr const char* kAfter =
    "SELECT " EVENT_COLUMNS " FROM host_event_log WHERE number > ? ORDER BY number LIMIT ?";
#undef EVENT_COLUMNS
constexpr const char* kNumbers =
    "SELECT IFNULL((SELECT MIN(number) FROM host_event_log), 0), "
    "IFNULL((SELECT MAX(number) FROM host_event_log), 0)";
// Correct even if the log was emptied.
constexpr const char* kNewestNumber =
    "SELECT seq FROM sqlite_sequence WHERE name = 'host_event_log'";

// SQLite's integers are signed; the conversion preserves the bits.
std::int64_t ToSigned(std::uint64_t value) {
  return static_cast<std::int64_t>(value);
}

std::int64_t ClampToInt64(std::uint64_t value) {
  constexpr auto kLargest = std::numeric_limits<std::int64_t>::max();
  return value > static_cast<std::uint64_t>(kLargest) ? kLargest : ToSigned(value);
}

LoggedEvent EventFromRow(const Statement& row) {
  LoggedEvent event;
  event.m_Number = row.Integer(0);
  event.m_Time = static_cast<std::uint64_t>(row.Integer(1));
  event.m_Severity = static_cast<std::uint32_t>(row.Integer(2));
  event.m_EventID = static_cast<std::uint32_t>(row.Integer(3));
  event.m_ObjectID = static_cast<std::uint64_t>(row.Integer(4));
  event.m_SourceName = row.Text(5);
  event.m_Message = row.Text(6);
  event.m_SerialNumber = row.Text(7);
  event.m_ObjectType = static_cast<std::uint32_t>(row.Integer(8));
  return event;
}

std::vector<LoggedEvent> FetchEvents(Statement& statement) {
  std::vector<LoggedEvent> events;
  while (statement.Step()) events.push_back(EventFromRow(statement));
  return events;
}

void Append(Connection& connection, const LoggedEvent& event) {
  Statement statement = connection.Prepare(kAppend);
  statement.Bind(ClampToInt64(event.m_Time)).Bind(event.m_Severity).Bind(event.m_EventID);
  statement.Bind(ToSigned(event.m_ObjectID)).Bind(event.m_SourceName).Bind(event.m_Message);
  statement.Bind(event.m_SerialNumber).Bind(event.m_ObjectType).Step();
}

}  // namespace

LoggedEvent LogEntryFor(const PI::CEvent& event) {
  LoggedEvent entry{};
  entry.m_Time = event.m_Time;
  entry.m_Severity = event.m_Severity;
  entry.m_EventID = event.m_EventID;
  entry.m_ObjectID = event.m_ObjectID;
  entry.m_SourceName = event.m_SourceName;
  entry.m_Message = MessageOf(event);
  return entry;
}

void AppendEvents(Connection& connection, const std::vector<LoggedEvent>& events) {
  for (const LoggedEvent& event : events) Append(connection, event);
  connection.Prepare(kTrim).Bind(kMaxEvents).Step();
}

// Uses one transaction, to wait at most once for another process's lock.
void AppendEvents(const std::vector<LoggedEvent>& events) {
  if (events.empty()) return;
  TheDatabase()->With([&](Connection& connection) {
    InTransaction(connection, [&] { AppendEvents(connection, events); });
  });
}

std::vector<LoggedEvent> ReadEvents(std::uint64_t sinceMs, std::size_t limit) {
  return TheDatabase()->WithReadAccess([&](Connection& connection) {
    Statement statement = connection.Prepare(kNewest);
    statement.Bind(ClampToInt64(sinceMs)).Bind(ClampToInt64(limit));
    std::vector<LoggedEvent> events = FetchEvents(statement);
    std::reverse(events.begin(), events.end());
    return events;
  });
}

std::vector<LoggedEvent> ReadEventsAfter(Connection& connection, std::int64_t number) {
  Statement statement = connection.Prepare(kAfter);
  constexpr std::int64_t kNoLimit = -1;
  return FetchEvents(statement.Bind(number).Bind(kNoLimit));
}

std::int64_t NewestEventNumber(Connection& connection) {
  Statement statement = connection.Prepare(kNewestNumber);
  return statement.Step() ? statement.Integer(0) : 0;
}

std::int64_t NewestEventNumber() {
  return TheDatabase()->WithReadAccess(
      [](Connection& connection) { return NewestEventNumber(connection); });
}

std::vector<LoggedEvent> ReadEventsAfter(std::int64_t number, std::size_t limit) {
  return TheDatabase()->WithReadAccess([&](Connection& connection) {
    Statement statement = connection.Prepare(kAfter);
    statement.Bind(number).Bind(ClampToInt64(limit));
    return FetchEvents(statement);
  });
}

EventNumbers ReadEventNumbers() {
  return TheDatabase()->WithReadAccess([](Connection& connection) {
    Statement statement = connection.Prepare(kNumbers);
    statement.Step();
    return EventNumbers{statement.Integer(0), statement.Integer(1)};
  });
}

}  // namespace HostKit
