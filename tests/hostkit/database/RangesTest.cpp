// The values that columns accept from any program. A cell that the persistence layer cannot read
// would terminate the host.
#include <boost/algorithm/string.hpp>

#include "hostkit/EventLog.h"
#include "tests/hostkit/database/Fixture.h"

namespace {

using namespace RaidDataModels;

struct Range {
  std::vector<std::string> accepted;
  std::vector<std::string> rejected;
};

const Range kInt = {
    {"NULL", "-2147483648", "-1", "0", "2147483647", "2147483647.0"},
    {"-2147483649", "2147483648", "9223372036854775807", "0.5", "9e999", "''", "'warm'", "x'31'"}};
const Range kUnsignedLong = {
    {"NULL", "0", "9223372036854775807"},
    {"-1", "-9223372036854775808", "9223372036854775808", "''", "'much'", "0.5", "x'31'"}};
const Range kDouble = {
    {"NULL", "0", "-0.0", "12", "0.5", "2.2250738585073e-308", "-2.2250738585073e-308",
     "1.7976931348623e308", "-1.7976931348623e308"},
    {"2.2250738585072e-308", "-2.2250738585072e-308", "1e-310", "-1e-310", "4.9e-324",
     "1.79769313486232e308", "-1.79769313486232e308", "1.7976931348623157e308",
     "-1.7976931348623157e308", "9e999", "-9e999", "''", "'half'", "x'31'"}};
const Range kText = {{"NULL", "''", "'text'", "12", "'a?b'"}, {"x'31'"}};

const Range& RangeOf(DatabaseORM::column_kind_t kind) {
  switch (kind) {
    case DatabaseORM::int_column:
      return kInt;
    case DatabaseORM::ulong_column:
      return kUnsignedLong;
    case DatabaseORM::double_column:
      return kDouble;
    default:
      return kText;
  }
}

class Ranges : public HostDatabaseTest {
 protected:
  // Lets another program write each value to each column, and reads the row through the persistence
  // layer. Returns the number of columns.
  template <class Row>
  std::size_t ExpectRangeOfEachColumn(const std::string& table) {
    const auto map = dbModelFieldsMap<Row>::instance();
    std::size_t columns = 0;
    DatabaseORM::for_each_field(*map, [&](const auto& field) {
      ++columns;
      const Range& range = RangeOf(KindOf<Row>(field.index));
      const bool isKey = field.name == "ID";
      for (const auto& value : range.accepted) {
        if (isKey && value == "NULL") continue;  // NULL assigns the next key
        EXPECT_EQ(Put<Row>(table, field.name, value), "accepted") << field.name << " " << value;
      }
      for (const auto& value : range.rejected) {
        EXPECT_EQ(Put<Row>(table, field.name, value), "rejected") << field.name << " " << value;
      }
    });
    return columns;
  }

  template <class Row>
  DatabaseORM::column_kind_t KindOf(int index) {
    const auto table = DatabaseORM::find_table<Row>(m_pStorage->tables);
    return table->columns.at(static_cast<std::size_t>(index))->kind;
  }

  // Writes a value with INSERT and with UPDATE. Returns "accepted", "rejected", or "lost" if the
  // layer does not read the row; or both results if they differ.
  template <class Row>
  std::string Put(const std::string& table, const std::string& column, const std::string& value) {
    const std::string inserted = WriteAndRead<Row>(
        "INSERT INTO " + table + " (" + column + ") VALUES (" + value + ")", table);
    m_Other.Run("INSERT INTO " + table + " DEFAULT VALUES");
    const std::string updated =
        WriteAndRead<Row>("UPDATE " + table + " SET " + column + " = " + value, table);
    return inserted == updated ? inserted : inserted + " and " + updated;
  }

  template <class Row>
  std::string WriteAndRead(const std::string& sql, const std::string& table) {
    try {
      m_Other.Run(sql);
    } catch (const std::runtime_error&) {
      m_Other.Run("DELETE FROM " + table);
      return "rejected";
    }
    const auto cells = Query("SELECT * FROM " + table + " ad");
    const auto rows =
        DatabaseORM::read_rows(*dbModelFieldsMap<Row>::instance(),
                               *DatabaseORM::find_table<Row>(m_pStorage->tables), cells);
    m_Other.Run("DELETE FROM " + table);
    return rows.size() == 1 ? "accepted" : "lost";
  }

  OtherProgram m_Other{File()};
};

TEST_F(Ranges, ApplyToTheColumnsOfAnAdapter) {
  EXPECT_EQ(ExpectRangeOfEachColumn<Adapter>("host_adapter_rows"), 149U);
}

TEST_F(Ranges, ApplyToTheColumnsOfADrive) {
  EXPECT_EQ(ExpectRangeOfEachColumn<PD>("host_drive_rows"), 69U);
}

TEST_F(Ranges, ApplyToTheColumnsOfAPlugin) {
  EXPECT_EQ(ExpectRangeOfEachColumn<Plugin>("host_plugin_rows"), 11U);
}

// The next key that the database assigns is above the limit.
TEST_F(Ranges, LimitTheNextKey) {
  m_Other.Run("INSERT INTO host_adapter_rows (ID) VALUES (2147483647)");
  EXPECT_EQ(FailureOf("INSERT INTO host_adapter_rows (ad_name) VALUES (\"next\")"),
            "CHECK constraint failed: ID BETWEEN -2147483648 AND 2147483647");
  EXPECT_EQ(Counts(), "adapters 1 drives 0 plugins 0");
}

// Uses a table from the first schema version, with a key that is now out of range.
TEST_F(Ranges, ApplyToAFileWithTheFirstSchema) {
  AppendEvent(PI::CEvent());
  const auto sqlOf = [this](const std::string& table) {
    return m_Other.Run("SELECT sql FROM sqlite_schema WHERE name = '" + table + "'");
  };
  const std::string now = sqlOf("host_adapter_rows");
  std::string before = now;
  boost::replace_all(before, " CHECK (ID BETWEEN -2147483648 AND 2147483647)", "");
  ASSERT_NE(before, now);
  Use(":memory:");
  m_Other.Run("DROP TABLE host_adapter_rows; " + before +
              "; INSERT INTO host_adapter_rows (ID) VALUES (2147483648)");
  Use(File().string());
  EXPECT_EQ(Counts(), "adapters 0 drives 0 plugins 0");
  EXPECT_EQ(sqlOf("host_adapter_rows"), now);
  EXPECT_EQ(HostKit::ReadEvents(0, 10).size(), 1U);
}

}  // namespace
