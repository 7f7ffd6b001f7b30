// The tables and field maps that the host offers to plug-ins, compared with each other and with the
// database file.
#include <algorithm>

#include "tests/hostkit/database/Fixture.h"

namespace {

using namespace RaidDataModels;
using DatabaseORM::table_t;

// The field map and the table of a row type, looked up as a plug-in does.
template <class Row>
struct TableAndMap {
  std::shared_ptr<dbModelFieldsMap<Row>> map;
  std::shared_ptr<table_t<Row>> table;

  TableAndMap() {
    const auto storage = getDatabasePointer();
    for (const auto& entry : storage->modelMaps) {
      if (!map) map = std::dynamic_pointer_cast<dbModelFieldsMap<Row>>(entry);
    }
    for (const auto& entry : storage->tables) {
      if (!table) table = std::dynamic_pointer_cast<table_t<Row>>(entry);
    }
  }

  // Returns the type letter of each column according to the field maps, with "-" for a missing
  // index and "!" for a duplicate.
  std::string LettersOfFields() const {
    std::string letters(static_cast<std::size_t>(map->columnCount), '-');
    const auto mark = [&](const auto& fields, char character) {
      for (const auto& field : fields) {
        char& letter = letters.at(static_cast<std::size_t>(field.index));
        letter = letter == '-' ? character : '!';
      }
    };
    mark(map->stringFields, 'S');
    mark(map->listFields, 'L');
    mark(map->intFields, 'I');
    mark(map->ulongFields, 'U');
    mark(map->doubleFields, 'D');
    return letters;
  }

  std::string LettersOfColumns() const {
    std::string letters;
    for (const auto& column : table->columns) letters += "SLIUD"[column->kind];
    return letters;
  }

  std::vector<std::string> Names() const {
    std::vector<std::string> names(static_cast<std::size_t>(map->columnCount));
    DatabaseORM::for_each_field(*map, [&](const auto& field) {
      names.at(static_cast<std::size_t>(field.index)) = field.name;
    });
    return names;
  }
};

template <class Fields>
bool IndexesAscend(const Fields& fields) {
  return std::is_sorted(fields.begin(), fields.end(),
                        [](const auto& a, const auto& b) { return a.index < b.index; });
}

template <class Row>
class TableShape : public HostDatabaseTest {};

using RowTypes = testing::Types<Adapter, PD, Plugin>;

struct RowNames {
  template <class Row>
  static std::string GetName(int) {
    if (std::is_same_v<Row, Adapter>) return "Adapter";
    return std::is_same_v<Row, PD> ? "PD" : "Plugin";
  }
};

TYPED_TEST_SUITE(TableShape, RowTypes, RowNames);

TYPED_TEST(TableShape, IsTheSameInTablesAndMaps) {
  const TableAndMap<TypeParam> found;
  ASSERT_TRUE(found.map && found.table);
  EXPECT_EQ(found.LettersOfFields(), found.LettersOfColumns());
}

TYPED_TEST(TableShape, ListsFieldsInColumnOrder) {
  const auto map = TableAndMap<TypeParam>().map;
  EXPECT_TRUE(IndexesAscend(map->intFields) && IndexesAscend(map->ulongFields) &&
              IndexesAscend(map->stringFields) && IndexesAscend(map->listFields) &&
              IndexesAscend(map->doubleFields));
}

TYPED_TEST(TableShape, StartsWithAnAutomaticKey) {
  const TableAndMap<TypeParam> found;
  EXPECT_EQ(found.map->intFields.at(0).name, "ID");
  EXPECT_EQ(found.map->intFields.at(0).index, 0);
  EXPECT_EQ(found.map->intFields.at(0).member, &TypeParam::id);
  const auto& columns = found.table->columns;
  EXPECT_TRUE(columns.front()->autoIncrement);
  EXPECT_EQ(std::count_if(columns.begin(), columns.end(),
                          [](const auto& column) { return column->autoIncrement; }),
            1);
  EXPECT_FALSE(found.table->foreignKeys);
}

// The persistence layer would mistake an unsigned long in the last column for the key.
TYPED_TEST(TableShape, DoesNotEndWithAnUnsignedLong) {
  EXPECT_NE(TableAndMap<TypeParam>().LettersOfColumns().back(), 'U');
}

TYPED_TEST(TableShape, MatchesTheFile) {
  const TableAndMap<TypeParam> found;
  std::string expected;
  const char* const types[] = {"TEXT", "TEXT", "INTEGER", "INTEGER", "REAL"};
  const auto names = found.Names();
  for (std::size_t i = 0; i < names.size(); ++i) {
    expected += (i == 0 ? "" : " ") + names[i] + "|" + types[found.table->columns[i]->kind];
  }
  const std::string name = found.table->name;
  EXPECT_EQ(
      OtherProgram(this->File()).Run("SELECT name, type FROM pragma_table_info('" + name + "')"),
      expected);
  EXPECT_EQ(OtherProgram(this->File()).Run("SELECT strict FROM pragma_table_list('" + name + "')"),
            "1");
}

TEST(Tables, HaveTheirNamesAndColumnCounts) {
  EXPECT_EQ(TableAndMap<Adapter>().table->name, "host_adapter_rows");
  EXPECT_EQ(TableAndMap<PD>().table->name, "host_drive_rows");
  EXPECT_EQ(TableAndMap<Plugin>().table->name, "host_plugin_rows");
  EXPECT_EQ(TableAndMap<Adapter>().map->columnCount, 149);
  EXPECT_EQ(TableAndMap<PD>().map->columnCount, 69);
  EXPECT_EQ(TableAndMap<Plugin>().map->columnCount, 11);
}

TEST(FieldMaps, NameTheColumnsAndTheAlias) {
  const std::vector<std::string> expected = {"ID",
                                             "pi_api_version",
                                             "pi_object_id",
                                             "pi_plugin_name",
                                             "pi_poll_interval",
                                             "pi_plugin_state",
                                             "pi_instance_number",
                                             "pi_process_number",
                                             "pi_module_id",
                                             "pi_vendor",
                                             "pi_plugin_version"};
  EXPECT_EQ(TableAndMap<Plugin>().Names(), expected);
  EXPECT_EQ(TableAndMap<Adapter>().map->alias, "ad");
  EXPECT_EQ(TableAndMap<PD>().Names().at(7), "pd_boot_state");
}

}  // namespace
