// Access to the host's event log. Adds the card's serial number and the object's type to events,
// and reports failures of the log as notes.
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

// The id of messages about a log that cannot be used.
constexpr const char* kNoEventLog = "NO_EVENT_LOG";

// Source of logged events. The members throw `Failure` or `DBEXCEPTION::DatabaseException`.
class EventSource {
 public:
  virtual ~EventSource() = default;

  // As `HostKit::ReadEvents`.
  virtual std::vector<LoggedEvent> ReadEvents(std::uint64_t sinceMs, std::size_t limit) = 0;
  // As `HostKit::CountEvents`.
  virtual std::vector<HostKit::EventCount> CountEvents() = 0;
};

// A log that cannot be written or read is reported once; later failures are ignored. For one
// thread.
class EventLogClient {
 public:
  // More events than a log can hold: no limit.
  static constexpr std::size_t kAll = 1'000'000'000;

  explicit EventLogClient(Diagnostics& diagnostics) : m_Diagnostics(diagnostics) {}

  // Reads from `source` instead of this host's database; null: the database. It remains the
  // caller's.
  void ReadFrom(EventSource* source) { m_pSource = source; }

  // Remembers the objects of these ids, so that events of a removed card still have its serial
  // number.
  void RememberObjects(const std::vector<PI::CObject>& topology);
  // Whether each event is about an object whose id is known.
  bool KnowsAll(const std::vector<PI::CEvent>& events) const;
  // Appends the events to the log and returns them as logged, even if the log cannot be written.
  std::vector<LoggedEvent> Record(const std::vector<PI::CEvent>& events);
  // The newest `limit` events among those not older than `sinceMs`, in order of logging; throws
  // `Failure` when the log cannot be read.
  std::vector<LoggedEvent> ReadOrThrow(std::uint64_t sinceMs, std::size_t limit);
  // The same, but returns no events if the log cannot be read.
  std::vector<LoggedEvent> Read(std::uint64_t sinceMs, std::size_t limit);
  // How many events were ever logged. Reports events that cannot be counted, and returns none then.
  std::vector<HostKit::EventCount> Count();

 private:
  struct Origin {
    std::string m_SerialNumber;
    std::uint32_t m_ObjectType = 0;
  };

  std::vector<LoggedEvent> ReadSource(std::uint64_t sinceMs, std::size_t limit);
  void ReportUnusable(const std::string& why);

  Diagnostics& m_Diagnostics;
  std::map<std::uint64_t, Origin> m_Origins;
  EventSource* m_pSource = nullptr;
  bool m_IsReportedUnusable = false;
};

// Advice for a database failure: where the database is, and how to select another one.
std::vector<std::string> DatabaseAdvice();

}  // namespace Console
