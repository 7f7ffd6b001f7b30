#include "hostkit/EventCounts.h"

#include "hostkit/database/HostDatabase.h"

namespace HostKit {

std::vector<EventCount> CountEvents() {
  return TheDatabase()->With([](Connection& connection) {
    Statement statement = connection.Prepare(
        "SELECT event_id, severity, count, serial_number FROM host_event_totals "
        "ORDER BY event_id, severity, serial_number");
    std::vector<EventCount> counts;
    while (statement.Step()) {
      counts.push_back({static_cast<std::uint32_t>(statement.Integer(0)),
                        static_cast<std::uint32_t>(statement.Integer(1)),
                        static_cast<std::uint64_t>(statement.Integer(2)), statement.Text(3)});
    }
    return counts;
  });
}

}  // namespace HostKit
