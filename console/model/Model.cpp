#include "console/model/Model.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

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

const PI::CProperty* Object::Find(std::uint32_t property) const {
  const auto found =
      std::find_if(m_Properties.begin(), m_Properties.end(),
                   [&](const PI::CProperty& p) { return p.m_PropertyID == property; });
  return found == m_Properties.end() ? nullptr : &*found;
}

bool Object::SupportsOperation(std::uint32_t operation) const {
  return std::any_of(m_Operations.begin(), m_Operations.end(),
                     [&](const PI::COperation& o) { return o.m_OperationID == operation; });
}

Model::Model(const std::vector<PI::CObject>& topology, const CardTimes& times) {
  std::vector<bool> placed(topology.size(), false);
  std::optional<std::size_t> plugin;
  for (std::size_t i = 0; i < topology.size(); ++i) {
    if (plugin || !IsPlugin(topology, i)) continue;
    plugin = m_Objects.size();
    Add(topology[i], Kind::Plugin, "plugin", std::nullopt);
    placed[i] = true;
  }
  std::size_t adapters = 0;
  for (std::size_t i = 0; i < topology.size(); ++i) {
    if (topology[i].m_ObjectType != PI::OBJECT_ADAPTER) continue;
    const std::string name = fmt::format("a{}", adapters++);
    const std::size_t owner = m_Objects.size();
    Add(topology[i], Kind::Adapter, name, plugin);
    placed[i] = true;
    std::size_t drives = 0;
    for (std::size_t j = 0; j < topology.size(); ++j) {
      if (placed[j] || topology[j].m_ObjectType != PI::OBJECT_PHYSICAL_DRIVE) continue;
      if (!BelongsTo(topology[j], topology[i])) continue;
      Add(topology[j], Kind::Drive, fmt::format("{}/d{}", name, drives++), owner);
      placed[j] = true;
    }
  }
  for (std::size_t i = 0; i < topology.size(); ++i) {
    if (placed[i]) continue;
    const bool drive = topology[i].m_ObjectType == PI::OBJECT_PHYSICAL_DRIVE;
    Add(topology[i], drive ? Kind::Drive : Kind::Other, IdText(topology[i].m_ID), std::nullopt);
  }
  for (Object& object : m_Objects) object.m_LastRead = times.LastReadTime(object.m_ID);
}

void Model::Add(const PI::CObject& record, Kind kind, std::string selector,
                std::optional<std::size_t> owner) {
  Object object;
  object.m_Kind = kind;
  object.m_Selector = std::move(selector);
  object.m_ID = record.m_ID;
  object.m_Parents = record.m_Parents;
  object.m_Children = record.m_Children;
  object.m_Locked = record.m_Locked;
  object.m_Properties = record.m_Properties;
  object.m_Operations = record.m_Operations;
  object.m_Owner = owner;
  m_Objects.push_back(std::move(object));
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
