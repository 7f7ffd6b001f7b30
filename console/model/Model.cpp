#include "console/model/Model.h"

#include <fmt/format.h>

#include <algorithm>
#include <set>
#include <utility>

#include "console/model/CardLayout.h"
#include "console/model/EffectiveState.h"
#include "console/model/FieldTable.h"

namespace Console {
namespace {

bool Contains(const std::vector<std::uint64_t>& ids, std::uint64_t id) {
  return std::find(ids.begin(), ids.end(), id) != ids.end();
}

// A link in either direction is sufficient.
bool BelongsTo(const PI::CObject& drive, const PI::CObject& adapter) {
  return Contains(drive.m_Parents, adapter.m_ID) || Contains(adapter.m_Children, drive.m_ID);
}

// On a machine without cards, the plug-in's object has no type and is recognized as the first one.
bool IsPlugin(const std::vector<PI::CObject>& topology, std::size_t i) {
  const std::uint32_t type = topology[i].m_ObjectType;
  return type == PI::OBJECT_PLUGIN ||
         (i == 0 && type != PI::OBJECT_ADAPTER && type != PI::OBJECT_PHYSICAL_DRIVE);
}

Object ObjectOf(const PI::CObject& record, Kind kind, std::string selector) {
  Object object;
  object.m_Kind = kind;
  object.m_Selector = std::move(selector);
  object.m_ID = record.m_ID;
  object.m_Parents = record.m_Parents;
  object.m_Children = record.m_Children;
  object.m_Locked = record.m_Locked;
  object.m_Properties = record.m_Properties;
  object.m_Operations = record.m_Operations;
  return object;
}

// The plug-in counts its ids up from 0, so these do not collide with them.
Object UnreportedCard(const CardPlace& place) {
  constexpr std::uint64_t kLargestId = ~std::uint64_t{0};
  Object card;
  card.m_Kind = Kind::Adapter;
  card.m_ID = kLargestId - static_cast<std::uint64_t>(place.m_Position);
  card.m_IsReported = false;
  return card;
}

}  // namespace

const char* KindName(Kind kind) {
  switch (kind) {
    case Kind::Plugin:
      return "plugin";
    case Kind::Adapter:
      return "adapter";
    case Kind::Drive:
      return "drive";
    case Kind::Other:
      break;
  }
  return "other";
}

std::uint32_t ObjectTypeOf(Kind kind) {
  switch (kind) {
    case Kind::Plugin:
      return PI::OBJECT_PLUGIN;
    case Kind::Adapter:
      return PI::OBJECT_ADAPTER;
    case Kind::Drive:
      return PI::OBJECT_PHYSICAL_DRIVE;
    case Kind::Other:
      break;
  }
  return 0;
}

std::string IdText(std::uint64_t id) {
  return fmt::format("0x{:016x}", id);
}

std::string IdText(const Object& object) {
  return object.m_IsReported ? IdText(object.m_ID) : "-";
}

const PI::CProperty* Object::Find(std::uint32_t property) const {
  const auto found =
      std::find_if(m_Properties.begin(), m_Properties.end(),
                   [&](const PI::CProperty& p) { return p.m_PropertyID == property; });
  return found == m_Properties.end() ? nullptr : &*found;
}

const Value* Object::FindDerived(const char* field) const {
  const auto found = std::find_if(m_Derived.begin(), m_Derived.end(),
                                  [field](const auto& each) { return each.first == field; });
  return found == m_Derived.end() ? nullptr : &found->second;
}

void Object::Derive(const char* field, Value value) {
  const auto found = std::find_if(m_Derived.begin(), m_Derived.end(),
                                  [field](const auto& each) { return each.first == field; });
  if (found == m_Derived.end()) {
    m_Derived.emplace_back(field, std::move(value));
  } else {
    found->second = std::move(value);
  }
}

bool Object::SupportsOperation(std::uint32_t operation) const {
  return std::any_of(m_Operations.begin(), m_Operations.end(),
                     [&](const PI::COperation& o) { return o.m_OperationID == operation; });
}

Model::Model(const std::vector<PI::CObject>& topology, const CardTimes& times,
             const CardRecords& records) {
  AddPlugin(topology);
  AddCards(topology, times, records);
  AddOthers(topology);
}

void Model::AddPlugin(const std::vector<PI::CObject>& topology) {
  for (std::size_t i = 0; i < topology.size(); ++i) {
    if (!IsPlugin(topology, i)) continue;
    m_Objects.push_back(ObjectOf(topology[i], Kind::Plugin, "plugin"));
    return;
  }
}

// Each drive belongs to the first adapter that it is linked with.
void Model::AddCards(const std::vector<PI::CObject>& topology, const CardTimes& times,
                     const CardRecords& records) {
  std::vector<Object> adapters;
  std::vector<std::vector<const PI::CObject*>> drives;
  std::set<const PI::CObject*> placed;
  for (const PI::CObject& record : topology) {
    if (record.m_ObjectType != PI::OBJECT_ADAPTER) continue;
    adapters.push_back(ObjectOf(record, Kind::Adapter, ""));
    adapters.back().m_LastRead = times.LastReadTime(record.m_ID);
    drives.emplace_back();
    for (const PI::CObject& drive : topology) {
      if (drive.m_ObjectType != PI::OBJECT_PHYSICAL_DRIVE || !BelongsTo(drive, record)) continue;
      if (placed.insert(&drive).second) drives.back().push_back(&drive);
    }
  }
  for (const CardPlace& place : PlaceCards(adapters, records)) {
    const bool isReported = place.m_pReported != nullptr;
    AddCard(place,
            isReported ? drives[static_cast<std::size_t>(place.m_pReported - adapters.data())]
                       : std::vector<const PI::CObject*>(),
            times, records);
  }
}

void Model::AddCard(const CardPlace& place, const std::vector<const PI::CObject*>& drives,
                    const CardTimes& times, const CardRecords& records) {
  const bool hasPlugin = !m_Objects.empty() && m_Objects.front().m_Kind == Kind::Plugin;
  const std::size_t at = m_Objects.size();
  m_Objects.push_back(place.m_pReported == nullptr ? UnreportedCard(place) : *place.m_pReported);
  m_Objects.back().m_Selector = fmt::format("a{}", place.m_Position);
  if (hasPlugin) m_Objects.back().m_Owner = 0;
  for (std::size_t i = 0; i < drives.size(); ++i) {
    const std::string name = fmt::format("{}/d{}", m_Objects[at].m_Selector, i);
    m_Objects.push_back(ObjectOf(*drives[i], Kind::Drive, name));
    m_Objects.back().m_Owner = at;
  }
  std::vector<const Object*> owned;
  for (std::size_t i = at + 1; i < m_Objects.size(); ++i) owned.push_back(&m_Objects[i]);
  Object& adapter = m_Objects[at];
  DeriveAdapter(adapter, place, owned, times);
  DeriveLocateLed(adapter, records.m_LocateLeds);
  const std::string serial = FieldText(adapter, "serial_number");
  const auto& formatting = records.m_Formatting;
  const bool isFormatting = !serial.empty() && std::find(formatting.begin(), formatting.end(),
                                                         serial) != formatting.end();
  for (std::size_t i = at + 1; i < m_Objects.size(); ++i) {
    DeriveDrive(m_Objects[i], adapter, isFormatting);
  }
}

void Model::AddOthers(const std::vector<PI::CObject>& topology) {
  const std::size_t inTree = m_Objects.size();
  const auto isInTree = [&](const PI::CObject& record) {
    return std::any_of(
        m_Objects.begin(), m_Objects.begin() + static_cast<std::ptrdiff_t>(inTree),
        [&](const Object& object) { return object.m_IsReported && object.m_ID == record.m_ID; });
  };
  for (const PI::CObject& record : topology) {
    if (isInTree(record)) continue;
    const bool isDrive = record.m_ObjectType == PI::OBJECT_PHYSICAL_DRIVE;
    m_Objects.push_back(ObjectOf(record, isDrive ? Kind::Drive : Kind::Other, IdText(record.m_ID)));
  }
}

const Object* Model::Find(std::uint64_t id) const {
  const auto found = std::find_if(m_Objects.begin(), m_Objects.end(),
                                  [&](const Object& object) { return object.m_ID == id; });
  return found == m_Objects.end() ? nullptr : &*found;
}

const Object* Model::OwnerOf(const Object& object) const {
  return object.m_Owner ? &m_Objects[*object.m_Owner] : nullptr;
}

std::string Model::SelectorOf(std::uint64_t id) const {
  const Object* object = Find(id);
  return object == nullptr ? IdText(id) : object->m_Selector;
}

const Object* AdapterOf(const Model& model, const Object& object) {
  if (object.m_Kind == Kind::Adapter) return &object;
  return object.m_Kind == Kind::Drive ? model.OwnerOf(object) : nullptr;
}

}  // namespace Console
