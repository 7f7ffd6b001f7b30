#include "hostkit/EventCounts.h"

#include "hostkit/database/HostDatabase.h"

namespace HostKit {

std::vector<EventCount> CountEvents() {
  return TheDatabase()->With([](Connection& connection) {
    Statement statement = connection.Prepare(
        "SELECT event_id, severity, count FROM host_event_counts ORDER BY event_id, severity");
    std::vector<EventCount> counts;
    while (statement.Step()) {
      counts.push_back({static_cast<std::uint32_t>(statement.Integer(0)),
                        static_cast<std::uint32_t>(statement.Integer(1)),
                        static_cast<std::uint64_t>(statement.Integer(2))});
    }
    return counts;
  });
}

}  // namespace HostKit
