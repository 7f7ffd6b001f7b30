// The plug-in's objects as plain values, with readable names.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "console/model/CardRecords.h"
#include "console/model/CardTimes.h"
#include "console/model/Value.h"
#include "host/PluginInterface.h"

namespace Console {

struct CardPlace;

enum class Kind { Plugin, Adapter, Drive, Other };

// Returns "plugin", "adapter", "drive" or "other".
const char* KindName(Kind kind);

// Returns the plug-in's number for objects of that kind; 0 for `Kind::Other`.
std::uint32_t ObjectTypeOf(Kind kind);

// Whether a card can be read. A drive is always `Readable`; its card decides.
enum class Access { Readable, Unreadable, Missing };

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
  // Whether the plug-in reports the object. If not, its id is only valid within its model, and no
  // command of the plug-in accepts it.
  bool m_IsReported = true;
  // Adapters only. Times are in milliseconds since the epoch; 0: unknown.
  Access m_Access = Access::Readable;
  std::uint64_t m_LastRead = 0;  // when the card was last read
  std::uint64_t m_LastSeen = 0;  // when the card was last in the machine and readable
  // Values that replace those of the properties, by name of the field.
  std::vector<std::pair<std::string, Value>> m_Derived;

  // Returns the first property with that number, or null.
  const PI::CProperty* Find(std::uint32_t property) const;
  // Whether the plug-in lists an operation with that number.
  bool SupportsOperation(std::uint32_t operation) const;
  // Returns the value that replaces the property of this field, or null.
  const Value* FindDerived(const char* field) const;
  // Sets the value of this field.
  void Derive(const char* field, Value value);
};

// Formats an object id as 0x and sixteen hexadecimal digits.
std::string IdText(std::uint64_t id);
// Returns the id of an object as text; "-" if the plug-in does not report the object.
std::string IdText(const Object& object);

class Model {
 public:
  // Combines the plug-in's report with the records of the cards.
  explicit Model(const std::vector<PI::CObject>& topology, const CardTimes& times = {},
                 const CardRecords& records = {});

  // In the order of the tree: the plug-in, then each adapter followed by its drives, then objects
  // outside the tree. Adapters are ordered by position, and include missing and unreadable cards.
  const std::vector<Object>& Objects() const { return m_Objects; }
  // Returns the object with that id, or null.
  const Object* Find(std::uint64_t id) const;
  // Returns the object above one of these objects, or null.
  const Object* OwnerOf(const Object& object) const;
  // Returns the selector of the object with that id, or the id as text if no object has it.
  std::string SelectorOf(std::uint64_t id) const;

 private:
  void AddPlugin(const std::vector<PI::CObject>& topology);
  void AddCards(const std::vector<PI::CObject>& topology, const CardTimes& times,
                const CardRecords& records);
  void AddCard(const CardPlace& place, const std::vector<const PI::CObject*>& drives,
               const CardTimes& times, const CardRecords& records);
  void AddOthers(const std::vector<PI::CObject>& topology);

  std::vector<Object> m_Objects;
};

// Returns the adapter of a drive, `object` itself if it is an adapter, or null.
const Object* AdapterOf(const Model& model, const Object& object);

}  // namespace Console
