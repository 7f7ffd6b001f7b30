// Conversion of the cells of a result into the fields of a row.
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "tests/orm/Database.h"
#include "tests/orm/Rows.h"

namespace {

using namespace DatabaseORM;

// Reads a valid row of `Everything` with one cell replaced: cell 0 is an int, 3 an unsigned long, 4
// a double.
Everything RowWith(std::size_t column, const std::string& cell) {
  std::vector<std::string> cells = {"1", "me", "a", "22", "2.5", "5", "33", "x", "0.5", "y"};
  cells.at(column) = cell;
  const auto database = std::make_shared<ScriptedDatabase>();
  auto storage = StorageOf<Everything>(database);
  database->Answer(cells);
  return storage.get_all<Everything>(where(is_equal(&Everything::id, 1))).at(0);
}

// Returns the type and message of the exception, or an empty string.
std::string ExceptionOf(std::size_t column, const std::string& cell) {
  try {
    RowWith(column, cell);
  } catch (const std::invalid_argument& exception) {
    return std::string("invalid ") + exception.what();
  } catch (const std::out_of_range& exception) {
    return std::string("range ") + exception.what();
  }
  return "";
}

TEST(Cells, ThrowStandardExceptionsForInvalidNumbers) {
  EXPECT_EQ(ExceptionOf(0, ""), "invalid stoi");
  EXPECT_EQ(ExceptionOf(0, "abc"), "invalid stoi");
  EXPECT_EQ(ExceptionOf(0, "2147483648"), "range stoi");
  EXPECT_EQ(ExceptionOf(0, "-2147483649"), "range stoi");
  EXPECT_EQ(ExceptionOf(3, ""), "invalid stoll");
  EXPECT_EQ(ExceptionOf(3, "9223372036854775808"), "range stoll");
  EXPECT_EQ(ExceptionOf(3, "-9223372036854775809"), "range stoll");
  EXPECT_EQ(ExceptionOf(4, ""), "invalid stod");
  EXPECT_EQ(ExceptionOf(4, "1e999"), "range stod");
  EXPECT_EQ(ExceptionOf(4, "1e-310"), "range stod");
}

TEST(Cells, AreReadUpToTheEndOfTheNumber) {
  EXPECT_EQ(RowWith(0, "12 of 13").id, 12);
  EXPECT_EQ(RowWith(3, "9223372036854775807").size, 9223372036854775807UL);
  EXPECT_EQ(RowWith(4, "1.5x").ratio, 1.5);
}

TEST(Cells, KeepTextUnchanged) {
  EXPECT_EQ(RowWith(1, "").owner, "");
  EXPECT_EQ(RowWith(1, "a?b \"c\"").owner, "a?b \"c\"");
  EXPECT_EQ(RowWith(1, "null").owner, "null");
}

TEST(Cells, AreAbsentOnlyIfTheirTextIsNull) {
  EXPECT_EQ(RowWith(0, "NULL").id, null_int);
  EXPECT_EQ(ExceptionOf(0, "null"), "invalid stoi");
}

TEST(Cells, AreReadInOrderRegardlessOfIndexes) {
  const auto database = std::make_shared<ScriptedDatabase>();
  auto storage = StorageOf<Item>(database);
  MapOf<Item>({})->intFields.front().index = 17;
  database->Answer({"4", "abc"});
  EXPECT_EQ(storage.get_all<Item>(where(is_equal(&Item::id, 4))).at(0).id, 4);
}

TEST(Cells, AreSkippedIfTheyHaveNoField) {
  const auto database = std::make_shared<ScriptedDatabase>();
  auto storage = StorageOf<Item>(database);
  MapOf<Item>({})->stringFields.clear();
  database->Answer({"4", "abc"});
  const auto rows = storage.get_all<Item>(where(is_equal(&Item::id, 4)));
  EXPECT_EQ(rows.at(0).id, 4);
  EXPECT_EQ(rows.at(0).name, "NULL");
}

}  // namespace
