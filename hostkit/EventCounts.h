// How many events were ever logged, also those that have left the log since.
#pragma once

#include <cstdint>
#include <vector>

#include "host/Visibility.h"

namespace HostKit {

struct EventCount {
  std::uint32_t m_EventID;
  std::uint32_t m_Severity;
  std::uint64_t m_Count;
};

// By event and severity; nothing for what never happened. The counts only grow, and last as long
// as the database. From any thread; throws `DBEXCEPTION::DatabaseException` when the database
// cannot be used.
HOST_API std::vector<EventCount> CountEvents();

}  // namespace HostKit
