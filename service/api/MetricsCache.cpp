#include "service/api/MetricsCache.h"

#include <algorithm>
#include <utility>

namespace Service {
namespace {

bool AreEqual(const HostKit::EventCount& left, const HostKit::EventCount& right) {
  return left.m_EventID == right.m_EventID && left.m_Severity == right.m_Severity &&
         left.m_Count == right.m_Count && left.m_SerialNumber == right.m_SerialNumber;
}

bool AreEqual(const MetricsKey& left, const MetricsKey& right) {
  const auto areEqual = [](const auto& one, const auto& other) { return AreEqual(one, other); };
  return left.m_SnapshotNumber == right.m_SnapshotNumber && left.m_Second == right.m_Second &&
         std::equal(left.m_Counts.begin(), left.m_Counts.end(), right.m_Counts.begin(),
                    right.m_Counts.end(), areEqual);
}

}  // namespace

Http::Response MetricsCache::Get(MetricsKey key, const std::function<Http::Response()>& render) {
  const Base::MutexLock lock(m_Lock);
  if (m_Response.m_Body != nullptr && AreEqual(m_Key, key)) return m_Response;
  m_Response = {};
  Http::Response response = render();
  if (response.m_Status != 200) return response;
  m_Key = std::move(key);
  m_Response = std::move(response);
  return m_Response;
}

}  // namespace Service
