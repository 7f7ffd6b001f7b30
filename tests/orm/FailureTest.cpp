// Failures of the database, of tables and of maps.
#include <gtest/gtest.h>

#include <functional>
#include <new>
#include <stdexcept>
#include <vector>

#include "tests/orm/Database.h"
#include "tests/orm/Rows.h"

namespace {

using namespace DatabaseORM;
using Call = std::function<void(storage_t&)>;

struct NamedCall {
  const char* name;
  Call call;
};

const std::vector<NamedCall> kCalls = {
    {"insert", [](storage_t& storage) { storage.insert(Item()); }},
    {"update", [](storage_t& storage) { storage.update(Item()); }},
    {"max", [](storage_t& storage) { storage.max(&Item::id); }},
    {"get_all",
     [](storage_t& storage) { storage.get_all<Item>(where(is_equal(&Item::name, "x"))); }},
    {"remove_all",
     [](storage_t& storage) { storage.remove_all<Item>(where(is_equal(&Item::name, "x"))); }}};

TEST(Failure, IsNotConvertedUnlessItIsADatabaseException) {
  for (const auto& [name, call] : kCalls) {
    SCOPED_TRACE(name);
    const auto database = std::make_shared<ScriptedDatabase>();
    auto storage = StorageOf<Item>(database);
    database->Call([] { throw std::bad_alloc(); });
    EXPECT_THROW(call(storage), std::bad_alloc);
    database->Call([] { throw std::runtime_error("other failure"); });
    EXPECT_THROW(
        try { call(storage); } catch (const std::runtime_error& error) {
          EXPECT_STREQ(error.what(), "other failure");
          throw;
        },
        std::runtime_error);
    EXPECT_TRUE(storage.useAlias);
  }
}

TEST(Failure, IsNotConvertedWhileReadingTheKeyUnlessItIsADatabaseException) {
  const auto database = std::make_shared<ScriptedDatabase>();
  TableSetup setup;
  setup.autoKey = true;
  auto storage = StorageOf<Item>(database, setup);
  database->Call([] { throw std::bad_alloc(); });
  EXPECT_THROW(storage.insert(Item()), std::bad_alloc);
  EXPECT_EQ(database->sent.size(), 1U);
}

TEST(Failure, DoesNotAffectTheNextStatement) {
  for (const auto& [name, call] : kCalls) {
    SCOPED_TRACE(name);
    const auto database = std::make_shared<ScriptedDatabase>();
    auto storage = StorageOf<Item>(database);
    database->Fail("gone");
    EXPECT_THROW(call(storage), DBEXCEPTION::DatabaseException);
    EXPECT_NO_THROW(call(storage));
  }
}

TEST(Failure, OccursForAnUnnamedKeyColumn) {
  TableSetup setup;
  setup.autoKey = true;
  auto storage = StorageOf<Item>(std::make_shared<ScriptedDatabase>(), setup);
  MapOf<Item>(setup)->intFields.front().name.clear();
  try {
    storage.insert(Item());
    FAIL();
  } catch (const DBEXCEPTION::DatabaseException& exception) {
    EXPECT_STREQ(exception.what(),
                 "Storage query exception thrown! Cannot read ID from database! "
                 "(Empty colName exception!)");
  }
}

TEST(Failure, OccursForAColumnOutsideItsTable) {
  auto storage = StorageOf<Item>(std::make_shared<ScriptedDatabase>());
  MapOf<Item>({})->stringFields.front().index = 2;
  EXPECT_THROW(storage.insert(Item()), std::out_of_range);
  EXPECT_THROW(storage.update(Item()), std::out_of_range);
}

}  // namespace
