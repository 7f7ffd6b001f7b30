// How many events were ever logged, including those that have since been removed from the log.
#pragma once

#include <cstdint>
#include <vector>

#include "host/Visibility.h"

namespace HostKit {

// The events of one kind and severity.
struct EventCount {
  std::uint32_t m_EventID;   // a `PI::_EVENT_ID`
  std::uint32_t m_Severity;  // a `PI::_SEVERITY`
  std::uint64_t m_Count;     // at least 1
};

// The counts, ordered by event and severity; an event that never occurred has none. Counts only
// grow, and last as long as the database. From any thread. Throws `DBEXCEPTION::DatabaseException`
// if the database cannot be used.
HOST_API std::vector<EventCount> CountEvents();

}  // namespace HostKit
