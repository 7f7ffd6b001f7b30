// Counts of all events ever logged, including those since removed from the log.
#pragma once

#include <cstdint>
#include <vector>

#include "base/HeldLocks.h"
#include "host/Visibility.h"

namespace HostKit {

// The number of events with one id and severity.
struct EventCount {
  std::uint32_t m_EventID;   // a `PI::_EVENT_ID`
  std::uint32_t m_Severity;  // a `PI::_SEVERITY`
  std::uint64_t m_Count;     // at least 1
};

// Returns the counts, ordered by event and severity, without entries for events that never
// occurred. Counts never decrease, and last as long as the database. Thread-safe. Throws
// `DBEXCEPTION::DatabaseException` if the database cannot be used.
HOST_API std::vector<EventCount> CountEvents() HOST_BLOCKS;

}  // namespace HostKit
