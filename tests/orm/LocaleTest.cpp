// Numbers in cells and statements, in a process whose locale groups digits and has a decimal comma.

#include <gtest/gtest.h>

#include <cstdlib>
#include <locale>
#include <string>
#include <vector>

#include "tests/orm/Database.h"
#include "tests/orm/Rows.h"
#include "tests/support/GroupingLocale.h"

namespace {

bool g_HasDecimalComma = false;

}  // namespace

// Replaces the C library's function. If `g_HasDecimalComma` is set, parsing stops at a decimal
// point, so the tests do not need an installed locale with a decimal comma.
extern "C" double strtod(const char* text, char** end) {
  static const locale_t plain = newlocale(LC_ALL_MASK, "C", nullptr);
  if (!g_HasDecimalComma) return strtod_l(text, end, plain);
  const std::string integerPart(text, std::string(text).find('.'));
  char* stop = nullptr;
  const double value = strtod_l(integerPart.c_str(), &stop, plain);
  if (end != nullptr) *end = const_cast<char*>(text) + (stop - integerPart.c_str());
  return value;
}

namespace {

using namespace DatabaseORM;

class Locale : public testing::Test {
 protected:
  Locale() : m_Before(std::locale::global(CorvaneTest::GroupingLocale())) {
    g_HasDecimalComma = true;
  }
  ~Locale() override {
    g_HasDecimalComma = false;
    std::locale::global(m_Before);
  }

  const std::locale m_Before;
  const std::shared_ptr<ScriptedDatabase> m_Database = std::make_shared<ScriptedDatabase>();
};

TEST_F(Locale, CellsAreReadWithADecimalPoint) {
  auto storage = StorageOf<Everything>(m_Database);
  m_Database->Answer({"1234", "me", "a", "22", "2.5", "5", "33", "x", "1234.75", "y"});
  const Everything row = storage.get_all<Everything>(where(is_equal(&Everything::id, 1))).at(0);
  EXPECT_EQ(row.id, 1234);
  EXPECT_EQ(row.ratio, 2.5);
  EXPECT_EQ(row.load, 1234.75);
}

TEST_F(Locale, TheLargestKeyIsReadWithoutGrouping) {
  auto storage = StorageOf<Item>(m_Database);
  m_Database->Answer({"1.234"});
  EXPECT_EQ(storage.max(&Item::id), 1);
  m_Database->Answer({"1234"});
  EXPECT_EQ(storage.max(&Item::id), 1234);
}

TEST_F(Locale, NumbersInStatementsAreNotGrouped) {
  auto storage = StorageOf<Item>(m_Database);
  Item item;
  item.id = 1234567;
  storage.update(item);
  EXPECT_EQ(m_Database->sent.back(), "UPDATE T1 SET ID=1234567, Name=NULL WHERE ID = 1234567;");
}

}  // namespace
