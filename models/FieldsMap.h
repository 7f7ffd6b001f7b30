// Maps from the fields of a row type to the columns of a table in the host's database.
//
// A row is a plain value; each field of a new row has its default value. The host fills the maps
// while it builds its storage; afterwards they are only read, on any thread.
#pragma once

#include <cstdint>
#include <limits>
#include <string>
#include <type_traits>
#include <vector>

#include "models/Singleton.h"
#include "models/Visibility.h"

namespace RaidDataModels {

using string_list = std::vector<std::string>;

// Values that represent SQL NULL in a field. A list has no such value; its default is the empty
// list.
constexpr int null_int = std::numeric_limits<int>::min();
constexpr unsigned long null_ulong = std::numeric_limits<unsigned long>::max();
constexpr double null_double = std::numeric_limits<float>::min();
inline const std::string null_text = "NULL";

static_assert(sizeof(unsigned long) == sizeof(std::uint64_t));

// The base class of maps, so that one list can contain maps of different row types.
class CORVANE_API dbModelFieldsMapBase {
 public:
  virtual ~dbModelFieldsMapBase() = default;
};

// Maps one field of a row to its column.
template <class Row, class Field>
struct dbModelField {
  Field Row::*member;
  std::string name;  // column name
  int index;         // position of the column in the table, from 0
};

// The fields of one row type, in one list per field type. Each column is in exactly one list, and
// each list is in the order of the table's columns. The index of the key is 0 if the key is an int,
// or that of the last column if it is an unsigned long.
template <class Row>
class CORVANE_API dbModelFieldsMap : public dbModelFieldsMapBase,
                                     public Singleton<dbModelFieldsMap<Row>> {
 public:
  std::string alias;    // alias of the table in statements
  int columnCount = 0;  // number of columns in the table
  std::vector<dbModelField<Row, int>> intFields;
  std::vector<dbModelField<Row, unsigned long>> ulongFields;
  std::vector<dbModelField<Row, std::string>> stringFields;
  std::vector<dbModelField<Row, string_list>> listFields;
  std::vector<dbModelField<Row, double>> doubleFields;

 private:
  friend class Singleton<dbModelFieldsMap<Row>>;
  dbModelFieldsMap() = default;
};

// Returns a reference to the list of the fields of type `Field`.
template <class Field, class Map>
auto& fields_of(Map& map) {
  if constexpr (std::is_same_v<Field, int>)
    return map.intFields;
  else if constexpr (std::is_same_v<Field, unsigned long>)
    return map.ulongFields;
  else if constexpr (std::is_same_v<Field, std::string>)
    return map.stringFields;
  else if constexpr (std::is_same_v<Field, string_list>)
    return map.listFields;
  else
    return map.doubleFields;
}

}  // namespace RaidDataModels

// Declares one field of a row type from an entry of its field list.
#define DB_MODEL_FIELD(type, name, initial) type name = initial;
