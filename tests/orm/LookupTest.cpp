// Finding the table, the columns and the alias of a row type.
#include <gtest/gtest.h>

#include "tests/orm/Database.h"
#include "tests/orm/Rows.h"

namespace {

using namespace DatabaseORM;

// Returns the message of the exception that the call throws, or an empty string.
template <class Call>
std::string ExceptionOf(Call call) {
  try {
    call();
  } catch (const DBEXCEPTION::DatabaseException& exception) {
    return exception.what();
  }
  return "";
}

TEST(Lookup, SkipsTablesAndMapsOfOtherRowTypes) {
  const auto database = std::make_shared<ScriptedDatabase>();
  auto storage = StorageOf<Place>(database);
  storage.tables.push_back(nullptr);
  storage.modelMaps.push_back(std::make_shared<RaidDataModels::dbModelFieldsMapBase>());
  TableSetup setup;
  setup.name = "T2";
  storage.tables.push_back(TableOf<Item>(setup));
  storage.modelMaps.push_back(MapOf<Item>(setup));
  storage.max(&Item::id);
  EXPECT_EQ(database->sent.at(0), "SELECT MAX(ID) FROM T2");
}

TEST(Lookup, UsesTheFirstTableOfTheRowType) {
  const auto database = std::make_shared<ScriptedDatabase>();
  auto storage = StorageOf<Item>(database);
  TableSetup second;
  second.name = "T2";
  storage.tables.push_back(TableOf<Item>(second));
  storage.max(&Item::id);
  EXPECT_EQ(database->sent.at(0), "SELECT MAX(ID) FROM T1");
}

TEST(Lookup, UsesTheLastColumnOfAMember) {
  auto storage = StorageOf<Item>(std::make_shared<ScriptedDatabase>());
  MapOf<Item>({})->intFields.push_back({&Item::id, "Second", 1});
  EXPECT_EQ(storage.stringFromExpression(&Item::id), "Second");
}

TEST(Lookup, FindsColumnsOfAllThreeTypes) {
  auto storage = StorageOf<Place>(std::make_shared<ScriptedDatabase>());
  EXPECT_EQ(storage.stringFromExpression(&Place::number), "Number");
  EXPECT_EQ(storage.stringFromExpression(&Place::size), "Size");
  EXPECT_EQ(storage.stringFromExpression(&Place::host), "Host");
}

TEST(Lookup, FailsForAMissingColumn) {
  auto storage = StorageOf<Item>(std::make_shared<ScriptedDatabase>());
  MapOf<Item>({})->intFields.clear();
  EXPECT_EQ(ExceptionOf([&] { storage.stringFromExpression(&Item::id); }),
            "Empty colName exception!");
}

TEST(Lookup, FailsWithDifferentMessagesForAliasAndColumn) {
  storage_t storage;
  EXPECT_EQ(ExceptionOf([&] { storage.extractAlias<Item>(); }),
            "Storage query exception thrown! No such model map exist.");
  EXPECT_EQ(ExceptionOf([&] { storage.stringFromExpression(&Item::id); }),
            "Storage query exception thrown! No such model in map exist.");
}

TEST(Lookup, FindsTheAlias) {
  TableSetup setup;
  setup.alias = "short";
  const auto storage = StorageOf<Item>(std::make_shared<ScriptedDatabase>(), setup);
  EXPECT_EQ(storage.extractAlias<Item>(), "short");
}

TEST(Lookup, UsesTheAliasByDefault) {
  EXPECT_TRUE(storage_t().useAlias);
}

}  // namespace
