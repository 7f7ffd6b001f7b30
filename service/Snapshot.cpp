#include "service/Snapshot.h"

#include <algorithm>
#include <utility>

#include "console/model/FieldTable.h"

namespace Service {
namespace {

void SetActivity(PI::CObject& card, std::uint32_t activity) {
  const bool keepsState = activity == PI::Value::BUSY;
  for (PI::CProperty& property : card.m_Properties) {
    if (property.m_PropertyID == PI::Property::ACTIVITY) {
      property.m_Value.m_Choice.m_Value = static_cast<std::int32_t>(activity);
    }
    if (property.m_PropertyID != PI::Property::ADDITIONAL_STATUS || keepsState) continue;
    auto& reasons = property.m_Value.m_MultiValue.m_Values;
    const auto isState = [](std::int32_t reason) {
      return reason == PI::Value::ATTACHED || reason == PI::Value::DETACHED;
    };
    reasons.erase(std::remove_if(reasons.begin(), reasons.end(), isState), reasons.end());
  }
}

}  // namespace

const PI::CObject* Snapshot::Find(std::uint64_t id) const {
  const auto found = std::find_if(m_Objects.begin(), m_Objects.end(),
                                  [id](const PI::CObject& each) { return each.m_ID == id; });
  return found == m_Objects.end() ? nullptr : &*found;
}

std::vector<PI::CObject> ObjectsWithActivities(const Snapshot& snapshot) {
  std::vector<PI::CObject> objects = snapshot.m_Objects;
  if (snapshot.m_Busy.empty()) return objects;
  for (PI::CObject& object : objects) {
    if (object.m_ObjectType != PI::OBJECT_ADAPTER) continue;
    const std::string serial = SerialOf(snapshot, object.m_ID);
    for (const BusyCard& card : snapshot.m_Busy) {
      if (card.m_Serial == serial) SetActivity(object, card.m_Activity);
    }
  }
  return objects;
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
    snapshot.m_Busy = m_Busy;
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

void SnapshotStore::SetBusy(const BusyCards& cards) {
  std::vector<std::string> formatting;
  for (const BusyCard& card : cards) {
    if (card.m_Activity == PI::Value::BUSY) formatting.push_back(card.m_Serial);
  }
  ChangeRecords([&](Console::CardRecords& current) HOST_REQUIRES(m_Lock) {
    const bool isNew = cards.size() > m_Busy.size() || current.m_Formatting != formatting;
    m_Busy = cards;
    current.m_Formatting = formatting;
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
  snapshot.m_Busy = m_Busy;
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
