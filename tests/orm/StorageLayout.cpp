// Order and types of the fields that the host fills in: the storage, its tables and the maps of the
// row types. They must match between a plug-in and a host that are built separately.
#include <cstddef>
#include <type_traits>

#include "models/Plugin.h"
#include "orm/storage.h"
#include "tests/support/FieldOrder.h"

// Records with virtual members are not standard-layout types, but both compilers support offsetof
// for them.
#pragma GCC diagnostic ignored "-Winvalid-offsetof"

namespace {

using namespace RaidDataModels;
using namespace DatabaseORM;
using CorvaneTest::AreAscending;

using Row = Plugin;

#define AT(field) offsetof(Record, field)
#define HAS_TYPE(field, ...) static_assert(std::is_same_v<decltype(Record::field), __VA_ARGS__>)

struct StorageLayout {
  using Record = storage_t;
  HAS_TYPE(useAlias, bool);
  HAS_TYPE(dao, std::shared_ptr<DatabaseWrapper::DatabaseDAO>);
  HAS_TYPE(tables, std::vector<std::shared_ptr<tableBase_t>>);
  HAS_TYPE(modelMaps, std::vector<std::shared_ptr<dbModelFieldsMapBase>>);
  static_assert(AreAscending(AT(useAlias), AT(dao), AT(tables), AT(modelMaps)));
  static_assert(AT(useAlias) == 0);
};

template <class Field>
using Fields = std::vector<dbModelField<Row, Field>>;

struct MapLayout {
  using Record = dbModelFieldsMap<Row>;
  HAS_TYPE(alias, std::string);
  HAS_TYPE(columnCount, std::int32_t);
  HAS_TYPE(intFields, Fields<int>);
  HAS_TYPE(ulongFields, Fields<unsigned long>);
  HAS_TYPE(stringFields, Fields<std::string>);
  HAS_TYPE(listFields, Fields<std::vector<std::string>>);
  HAS_TYPE(doubleFields, Fields<double>);
  static_assert(AreAscending(AT(alias), AT(columnCount), AT(intFields), AT(ulongFields),
                             AT(stringFields), AT(listFields), AT(doubleFields)));
  static_assert(AT(alias) == sizeof(dbModelFieldsMapBase));
  static_assert(std::is_base_of_v<dbModelFieldsMapBase, Record>);
  static_assert(std::is_base_of_v<Singleton<Record>, Record>);
};

struct FieldLayout {
  using Record = dbModelField<Row, std::string>;
  HAS_TYPE(member, std::string Row::*);
  HAS_TYPE(name, std::string);
  HAS_TYPE(index, std::int32_t);
  static_assert(AreAscending(AT(member), AT(name), AT(index)));
  static_assert(AT(member) == 0);
};

struct TableLayout {
  using Record = table_t<Row>;
  HAS_TYPE(foreignKeys, bool);
  HAS_TYPE(name, std::string);
  HAS_TYPE(columns, std::vector<std::shared_ptr<column_t<Row>>>);
  static_assert(AreAscending(AT(foreignKeys), AT(name), AT(columns)));
  static_assert(AT(foreignKeys) == sizeof(tableBase_t));
  static_assert(std::is_base_of_v<tableBase_t, Record>);
};

struct ColumnLayout {
  using Record = column_t<Row>;
  HAS_TYPE(autoIncrement, bool);
  static_assert(sizeof(Record::kind) == 4);
  static_assert(string_column == 0 && list_column == 1 && int_column == 2 && ulong_column == 3 &&
                double_column == 4);
};

// The base classes have no data members.
template <class Base>
constexpr bool IsEmpty() {
  return std::is_polymorphic_v<Base> && sizeof(Base) == sizeof(void*);
}

static_assert(IsEmpty<dbModelFieldsMapBase>() && IsEmpty<tableBase_t>());

}  // namespace
