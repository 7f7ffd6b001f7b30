#include "service/Snapshot.h"

#include <algorithm>
#include <utility>

#include "console/model/FieldTable.h"

namespace Service {

const PI::CObject* Snapshot::Find(std::uint64_t id) const {
  const auto found = std::find_if(m_Objects.begin(), m_Objects.end(),
                                  [id](const PI::CObject& each) { return each.m_ID == id; });
  return found == m_Objects.end() ? nullptr : &*found;
}

Console::Model ModelOf(const Snapshot& snapshot) {
  return Console::Model(snapshot.m_Objects, snapshot.m_Times, snapshot.m_Cards);
}

std::string SerialOf(const Snapshot& snapshot, std::uint64_t object) {
  const Console::Model model = ModelOf(snapshot);
  const Console::Object* const found = model.Find(object);
  return found == nullptr ? std::string() : Console::SerialOf(model, *found);
}

const PI::CProperty* FindProperty(const PI::CObject& object, std::uint32_t property) {
  const auto found =
      std::find_if(object.m_Properties.begin(), object.m_Properties.end(),
                   [property](const PI::CProperty& each) { return each.m_PropertyID == property; });
  return found == object.m_Properties.end() ? nullptr : &*found;
}

SnapshotStore::SnapshotStore() {
  Snapshot first;
  first.m_Run = static_cast<std::uint64_t>(Clock::now().time_since_epoch().count());
  m_Newest = std::make_shared<Snapshot>(std::move(first));
}

SnapshotPtr SnapshotStore::Get() const {
  const Base::MutexLock lock(m_Lock);
  return m_Newest;
}

void SnapshotStore::Publish(Snapshot snapshot) {
  {
    const Base::MutexLock lock(m_Lock);
    snapshot.m_Run = m_Newest->m_Run;
    snapshot.m_Number = m_Newest->m_Number + 1;
    snapshot.m_Cards.m_Known = m_Records.m_Known;
    snapshot.m_Cards.m_NextPosition = m_Records.m_NextPosition;
    snapshot.m_Cards.m_Formatting = m_Records.m_Formatting;
    m_Newest = std::make_shared<Snapshot>(std::move(snapshot));
  }
  NotifyPublished();
}

void SnapshotStore::SetKnownCards(const Console::CardRecords& records) {
  ChangeRecords([&](Console::CardRecords& current) {
    const bool isNew = Console::Differ(current.m_Known, records.m_Known) ||
                       current.m_NextPosition != records.m_NextPosition;
    current.m_Known = records.m_Known;
    current.m_NextPosition = records.m_NextPosition;
    return isNew;
  });
}

void SnapshotStore::SetFormatting(const std::vector<std::string>& serials) {
  ChangeRecords([&](Console::CardRecords& current) {
    const bool isNew = current.m_Formatting != serials;
    current.m_Formatting = serials;
    return isNew;
  });
}

// Before the first report, there is no snapshot to publish again.
void SnapshotStore::ChangeRecords(const std::function<bool(Console::CardRecords&)>& change) {
  Base::MutexLock lock(m_Lock);
  if (!change(m_Records) || !m_Newest->HasReport()) return;
  Snapshot snapshot = *m_Newest;
  ++snapshot.m_Number;
  snapshot.m_Cards.m_Known = m_Records.m_Known;
  snapshot.m_Cards.m_NextPosition = m_Records.m_NextPosition;
  snapshot.m_Cards.m_Formatting = m_Records.m_Formatting;
  m_Newest = std::make_shared<Snapshot>(std::move(snapshot));
  lock.Unlock();
  NotifyPublished();
}

void SnapshotStore::NotifyPublished() {
  m_Changed.NotifyAll();
  const Base::MutexLock lock(m_CallLock);
  if (m_OnPublish) m_OnPublish();
}

void SnapshotStore::OnPublish(std::function<void()> call) {
  const Base::MutexLock lock(m_CallLock);
  m_OnPublish = std::move(call);
}

SnapshotPtr SnapshotStore::AwaitNewer(std::uint64_t number,
                                      const Console::Deadline& deadline) const {
  Base::MutexLock lock(m_Lock);
  while (m_Newest->m_Number <= number && !deadline.HasPassed()) {
    m_Changed.WaitFor(lock, deadline.Remaining());
  }
  return m_Newest;
}

}  // namespace Service
