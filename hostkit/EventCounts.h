// Counts of all events ever logged, including those since removed from the log.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "base/HeldLocks.h"
#include "host/Visibility.h"

namespace HostKit {

// The number of events with one id and severity on one card.
struct EventCount {
  std::uint32_t m_EventID;   // a `PI::_EVENT_ID`
  std::uint32_t m_Severity;  // a `PI::_SEVERITY`
  std::uint64_t m_Count;     // at least 1
  // Of the card; empty for events of other objects, and for events that an older version counted.
  std::string m_SerialNumber;
};

// Returns the counts, ordered by event, severity and serial number, without entries for events that
// never occurred. Counts never decrease, and last as long as the database. Thread-safe. Throws
// `DBEXCEPTION::DatabaseException` if the database cannot be used.
HOST_API std::vector<EventCount> CountEvents() HOST_BLOCKS;

}  // namespace HostKit
