// The plug-in's objects as plain values, with readable names.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "console/model/CardTimes.h"
#include "host/PluginInterface.h"

namespace Console {

enum class Kind { Plugin, Adapter, Drive, Other };

// Returns "plugin", "adapter", "drive" or "other".
const char* KindName(Kind kind);

// Returns the plug-in's number for objects of that kind; 0 for `Kind::Other`.
std::uint32_t ObjectTypeOf(Kind kind);

struct Object {
  Kind m_Kind = Kind::Other;
  std::string m_Selector;  // "plugin", "a0", "a0/d0"; the id for an object outside the tree
  std::uint64_t m_ID = 0;
  std::vector<std::uint64_t> m_Parents;
  std::vector<std::uint64_t> m_Children;
  bool m_Locked = false;
  std::vector<PI::CProperty> m_Properties;
  std::vector<PI::COperation> m_Operations;
  std::optional<std::size_t> m_Owner;  // index of the object above this one
  // Adapters: when the card was last read, in milliseconds since the epoch; 0: unknown.
  std::uint64_t m_LastRead = 0;

  // Returns the first property with that number, or null.
  const PI::CProperty* Find(std::uint32_t property) const;
  // Whether the plug-in lists an operation with that number.
  bool SupportsOperation(std::uint32_t operation) const;
};

// Formats an object id as 0x and sixteen hexadecimal digits.
std::string IdText(std::uint64_t id);

class Model {
 public:
  explicit Model(const std::vector<PI::CObject>& topology, const CardTimes& times = {});

  // In the order of the tree: the plug-in, then each adapter followed by its drives, then objects
  // outside the tree.
  const std::vector<Object>& Objects() const { return m_Objects; }
  // Returns the object with that id, or null.
  const Object* Find(std::uint64_t id) const;
  // Returns the object above one of these objects, or null.
  const Object* OwnerOf(const Object& object) const;
  // Returns the selector of the object with that id, or the id as text if no object has it.
  std::string SelectorOf(std::uint64_t id) const;

 private:
  void Add(const PI::CObject& record, Kind kind, std::string selector,
           std::optional<std::size_t> owner);

  std::vector<Object> m_Objects;
};

// Returns the adapter of a drive, `object` itself if it is an adapter, or null.
const Object* AdapterOf(const Model& model, const Object& object);

}  // namespace Console
