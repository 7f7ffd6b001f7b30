// Access to the host's event log. Events are logged with the card's serial number and the object's
// type.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "console/base/Output.h"
#include "console/model/Model.h"
#include "hostkit/EventCounts.h"
#include "hostkit/EventLog.h"

namespace Console {

using HostKit::LoggedEvent;

// The id of messages about an event log that cannot be used.
constexpr const char* kNoEventLog = "NO_EVENT_LOG";

// A source of logged events. The members throw `Failure` or `DBEXCEPTION::DatabaseException`.
class EventSource {
 public:
  virtual ~EventSource() = default;

  // Like `HostKit::ReadEvents`.
  virtual std::vector<LoggedEvent> ReadEvents(std::uint64_t sinceMs, std::size_t limit) = 0;
  // Like `HostKit::CountEvents`.
  virtual std::vector<HostKit::EventCount> CountEvents() = 0;
};

// Reads and writes the event log. Unless stated otherwise, the first failure is reported as a note
// and later ones are not. Not thread-safe.
class EventLogClient {
 public:
  // A limit that includes all events; larger than any log.
  static constexpr std::size_t kAll = 1'000'000'000;

  explicit EventLogClient(Diagnostics& diagnostics) : m_Diagnostics(diagnostics) {}

  // Selects the source of `Read`, `ReadOrThrow` and `Count`, or this host's database if `source` is
  // null. The caller keeps ownership of `source`.
  void ReadFrom(EventSource* source) { m_pSource = source; }

  // Remembers the serial numbers and types of these objects, so that events of a removed card are
  // still logged with its serial number.
  void RememberObjects(const std::vector<PI::CObject>& topology);
  // Whether the objects of all events have been remembered.
  bool KnowsObjectsOf(const std::vector<PI::CEvent>& events) const;
  // Appends the events to the log and returns them as logged, even if the log cannot be written.
  // In that case, the newest 1,000 are kept, and the next call appends them.
  std::vector<LoggedEvent> Record(const std::vector<PI::CEvent>& events);
  // Whether some recorded events have not been logged yet.
  bool HasUnlogged() const { return !m_Unlogged.empty(); }
  // Tries again to append the events that could not be logged, then drops those that remain.
  // Call before starting a plug-in: the service finds missing events afterwards, by comparing the
  // cards with the log.
  void AppendOrDropUnlogged();
  // Returns the newest `limit` events that are not older than `sinceMs`, in the order of the log.
  // Throws `Failure` if the log cannot be read.
  std::vector<LoggedEvent> ReadOrThrow(std::uint64_t sinceMs, std::size_t limit);
  // Like `ReadOrThrow`, but returns no events if the log cannot be read.
  std::vector<LoggedEvent> Read(std::uint64_t sinceMs, std::size_t limit);
  // Returns the number of events of each kind that were ever logged. If they cannot be counted,
  // adds a note on each call and returns no counts.
  std::vector<HostKit::EventCount> Count();

 private:
  struct Origin {
    std::string m_SerialNumber;
    std::uint32_t m_ObjectType = 0;
  };

  static constexpr std::ptrdiff_t kMaxUnlogged = 1000;

  std::vector<LoggedEvent> ReadSource(std::uint64_t sinceMs, std::size_t limit);
  void AppendUnlogged();
  void ReportUnusable(const std::string& why);

  Diagnostics& m_Diagnostics;
  std::map<std::uint64_t, Origin> m_Origins;
  EventSource* m_pSource = nullptr;
  std::vector<LoggedEvent> m_Unlogged;
  bool m_IsReportedUnusable = false;
};

// Returns advice for a database failure: the database file, and how to select another one.
std::vector<std::string> DatabaseAdvice();

}  // namespace Console
