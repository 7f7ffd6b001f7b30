// The response of GET /metrics, which takes far longer to render than to send.
#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "base/Mutex.h"
#include "hostkit/EventCounts.h"
#include "service/http/Message.h"

namespace Service {

// The inputs of the metrics. The second is one of them because the metrics contain ages in seconds.
struct MetricsKey {
  std::uint64_t m_SnapshotNumber = 0;
  std::uint64_t m_Second = 0;  // of the wall clock
  std::vector<HostKit::EventCount> m_Counts;
};

// Keeps the newest response. Thread-safe.
class MetricsCache {
 public:
  // Returns the last response if it was rendered for an equal key. Otherwise calls `render`, and
  // keeps its response if the status is 200. Other callers wait for `render`, which must not block.
  Http::Response Get(MetricsKey key, const std::function<Http::Response()>& render);

 private:
  Base::Mutex m_Lock;
  MetricsKey m_Key HOST_GUARDED_BY(m_Lock);
  // No body: no response is kept.
  Http::Response m_Response HOST_GUARDED_BY(m_Lock);
};

}  // namespace Service
