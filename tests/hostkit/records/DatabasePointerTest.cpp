#include <gtest/gtest.h>

#include "host/Database.h"
#include "orm/storage.h"
#include "tests/support/Temporary.h"

namespace {

TEST(DatabasePointer, IsTheSameForEveryCall) {
  const ScopedVariable noFile("CORVANE_DATABASE", ":memory:");
  const auto storage = getDatabasePointer();
  ASSERT_NE(storage, nullptr);
  EXPECT_EQ(storage, getDatabasePointer());
}

TEST(DatabaseException, KeepsItsOwnCopyOfTheText) {
  std::string text = "no such table: Adapter";
  const DBEXCEPTION::DatabaseException exception(text);
  text.assign("another text");
  EXPECT_STREQ(exception.what(), "no such table: Adapter");
}

TEST(DatabaseException, IsCaughtAsAStandardException) {
  EXPECT_THROW(throw DBEXCEPTION::DatabaseException("text"), std::exception);
}

}  // namespace
