// Reads the new entries of the event log.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "hostkit/EventLog.h"

namespace Service {

// Returns each entry of the log once, including entries added by other hosts. Not thread-safe.
class EventTail {
 public:
  // Continues after the entry with this number; if empty, after the newest entry at the first read.
  explicit EventTail(std::optional<std::int64_t> last) : m_Last(last) {}

  // Returns the entries since the last read, in the order of logging. If the log was replaced
  // before the first read, that read returns none. Throws `DBEXCEPTION::DatabaseException`.
  std::vector<HostKit::LoggedEvent> Read();
  // The number of the last entry that was read or skipped. Empty before the first read if the
  // constructor got none.
  std::optional<std::int64_t> Last() const { return m_Last; }

 private:
  std::optional<std::int64_t> m_Last;
  bool m_HasRead = false;
};

}  // namespace Service
