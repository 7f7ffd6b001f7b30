#include "service/Snapshot.h"

#include <utility>

namespace Service {

SnapshotStore::SnapshotStore() {
  Snapshot first;
  first.m_Run = static_cast<std::uint64_t>(Clock::now().time_since_epoch().count());
  m_Newest = std::make_shared<Snapshot>(std::move(first));
}

SnapshotPtr SnapshotStore::Get() const {
  const std::lock_guard<std::mutex> lock(m_Lock);
  return m_Newest;
}

void SnapshotStore::Publish(Snapshot snapshot) {
  {
    const std::lock_guard<std::mutex> lock(m_Lock);
    snapshot.m_Run = m_Newest->m_Run;
    snapshot.m_Number = m_Newest->m_Number + 1;
    m_Newest = std::make_shared<Snapshot>(std::move(snapshot));
  }
  m_Changed.notify_all();
}

SnapshotPtr SnapshotStore::AwaitNewer(std::uint64_t number,
                                      const Console::Deadline& deadline) const {
  std::unique_lock<std::mutex> lock(m_Lock);
  while (m_Newest->m_Number <= number && !deadline.IsOver()) {
    m_Changed.wait_for(lock, deadline.Left());
  }
  return m_Newest;
}

}  // namespace Service
