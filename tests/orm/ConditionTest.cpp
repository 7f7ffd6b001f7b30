// The conditions of statements, and the table alias in them.
#include <gtest/gtest.h>

#include <type_traits>
#include <vector>

#include "tests/orm/Database.h"
#include "tests/orm/Rows.h"

namespace {

using namespace DatabaseORM;

std::string TextOf(const storage_t& storage, bool useAlias,
                   const std::string& beginning = "BEGIN") {
  const naming_t naming{storage.modelMaps, useAlias};
  return process_single_condition(naming, beginning, where(is_equal(&Place::host, "localhost")));
}

TEST(Condition, ExposesItsParts) {
  const auto number = is_equal(&Place::number, 3);
  static_assert(std::is_same_v<decltype(number), const is_equal_t<int, int Place::*>>);
  const auto host = is_equal(&Place::host, "localhost");
  static_assert(
      std::is_same_v<decltype(host), const is_equal_t<const char*, std::string Place::*>>);
  const auto both = number and host;
  static_assert(
      std::is_same_v<decltype(both),
                     const and_condition_t<is_equal_t<int, int Place::*>,
                                           is_equal_t<const char*, std::string Place::*>>>);
  EXPECT_EQ(both.left.value, 3);
  EXPECT_EQ(both.left.member, &Place::number);
  EXPECT_STREQ(where(both).condition.right.value, "localhost");
}

TEST(Condition, IsAppendedToAStatement) {
  const auto storage = StorageOf<Place>(std::make_shared<ScriptedDatabase>());
  EXPECT_EQ(TextOf(storage, true), "BEGIN WHERE A.Host = 'localhost'");
  EXPECT_EQ(TextOf(storage, false), "BEGIN WHERE Host = 'localhost'");
}

TEST(Condition, ReportsTheColumnFirstIfTheMapIsMissing) {
  TableSetup setup;
  setup.hasMap = false;
  const auto storage = StorageOf<Place>(std::make_shared<ScriptedDatabase>(), setup);
  try {
    TextOf(storage, true);
    FAIL();
  } catch (const DBEXCEPTION::DatabaseException& exception) {
    EXPECT_STREQ(exception.what(), "Storage query exception thrown! No such model in map exist.");
  }
}

TEST(Condition, OmitsTheAliasWhenItIsOff) {
  const auto database = std::make_shared<ScriptedDatabase>();
  auto storage = StorageOf<Place>(database);
  storage.useAlias = false;
  storage.get_all<Place>(where(is_equal(&Place::name, "x")));
  EXPECT_EQ(database->sent.at(0), "SELECT * FROM T1 A  WHERE Name = 'x'");
}

TEST(Condition, KeepsTheAliasOffWhileADeletionRuns) {
  const auto database = std::make_shared<ScriptedDatabase>();
  auto storage = StorageOf<Place>(database);
  std::vector<bool> duringCalls;
  const auto record = [&] { duringCalls.push_back(storage.useAlias); };
  database->Call(record);
  storage.remove_all<Place>(where(is_equal(&Place::name, "x")));
  EXPECT_TRUE(storage.useAlias);
  database->Call(record);
  storage.get_all<Place>(where(is_equal(&Place::name, "x")));
  EXPECT_EQ(duringCalls, (std::vector<bool>{false, true}));
}

// The flag is toggled, not restored.
TEST(Condition, TurnsTheAliasOffIfItIsOnAtTheEndOfADeletion) {
  const auto database = std::make_shared<ScriptedDatabase>();
  auto storage = StorageOf<Place>(database);
  database->Call([&] { storage.useAlias = true; });
  storage.remove_all<Place>(where(is_equal(&Place::name, "x")));
  EXPECT_FALSE(storage.useAlias);
}

TEST(Condition, DoesNotChangeTheAliasFlagIfTheMapIsMissing) {
  TableSetup setup;
  setup.hasMap = false;
  for (const bool before : {false, true}) {
    auto storage = StorageOf<Place>(std::make_shared<ScriptedDatabase>(), setup);
    storage.useAlias = before;
    EXPECT_THROW(storage.remove_all<Place>(where(is_equal(&Place::name, "x"))),
                 DBEXCEPTION::DatabaseException);
    EXPECT_EQ(storage.useAlias, before);
  }
}

TEST(Condition, TurnsTheAliasOnAfterADeletion) {
  auto storage = StorageOf<Place>(std::make_shared<ScriptedDatabase>());
  storage.useAlias = false;
  storage.remove_all<Place>(where(is_equal(&Place::name, "x")));
  EXPECT_TRUE(storage.useAlias);
}

TEST(Condition, TurnsTheAliasOnAfterAFailedDeletion) {
  const auto database = std::make_shared<ScriptedDatabase>();
  auto storage = StorageOf<Place>(database);
  MapOf<Place>({})->stringFields.clear();
  EXPECT_THROW(storage.remove_all<Place>(where(is_equal(&Place::name, "x"))),
               DBEXCEPTION::DatabaseException);
  EXPECT_TRUE(storage.useAlias);
  EXPECT_TRUE(database->sent.empty());
}

}  // namespace
