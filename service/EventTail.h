// The new entries of the event log.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "hostkit/EventLog.h"

namespace Service {

// Returns each entry of the log once, also those that other hosts have added. For one thread.
class EventTail {
 public:
  // Continues after the entry with this number; without one, after the newest entry of the first
  // reading.
  explicit EventTail(std::optional<std::int64_t> last) : m_Last(last) {}

  // The entries since the last reading, in order of logging; none of a log that was replaced before
  // the first reading. Throws `DBEXCEPTION::DatabaseException`.
  std::vector<HostKit::LoggedEvent> Read();
  // The number of the newest entry that has been read.
  std::optional<std::int64_t> Last() const { return m_Last; }

 private:
  std::vector<HostKit::LoggedEvent> ReadBack() const;

  std::optional<std::int64_t> m_Last;
  bool m_HasRead = false;
};

}  // namespace Service
