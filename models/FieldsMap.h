// Row types of the database, and the maps from their fields to the columns of a table.
//
// A row is a plain value; in a new one every field is null. The host fills a map when it builds its
// storage; after that maps are only read, by any thread.
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

// These values mean NULL; a field has no other way to express it. A list cannot be NULL; its
// default is the empty list.
constexpr int null_int = std::numeric_limits<int>::min();
constexpr unsigned long null_ulong = std::numeric_limits<unsigned long>::max();
constexpr double null_double = std::numeric_limits<float>::min();
inline const std::string null_text = "NULL";

static_assert(sizeof(unsigned long) == sizeof(std::uint64_t));

// Allows maps of different row types in one list.
class CORVANE_API dbModelFieldsMapBase {
 public:
  virtual ~dbModelFieldsMapBase() = default;
};

// Which column one field of a row belongs to.
template <class Row, class Field>
struct dbModelField {
  Field Row::*member;
  std::string name;  // of the column
  int index;         // of the column in the table, from 0
};

// The fields of one row type, by their types. Each column is in exactly one list, and each list is
// in the order of the table. A key of type int has index 0, a key of type unsigned long the last
// one.
template <class Row>
class CORVANE_API dbModelFieldsMap : public dbModelFieldsMapBase,
                                     public Singleton<dbModelFieldsMap<Row>> {
 public:
  std::string alias;    // of the table, in conditions
  int columnCount = 0;  // of the table
  std::vector<dbModelField<Row, int>> intFields;
  std::vector<dbModelField<Row, unsigned long>> ulongFields;
  std::vector<dbModelField<Row, std::string>> stringFields;
  std::vector<dbModelField<Row, string_list>> listFields;
  std::vector<dbModelField<Row, double>> doubleFields;

 private:
  friend class Singleton<dbModelFieldsMap<Row>>;
  dbModelFieldsMap() = default;
};

// The list of fields of type `Field`, by reference; const if `map` is.
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

// Declares one field of a row type from one row of its list.
#define DB_MODEL_FIELD(type, name, initial) type name = initial;
