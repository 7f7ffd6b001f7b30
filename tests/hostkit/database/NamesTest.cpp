// SQLite interprets a string in double quotes as a column if a column has that name.
#include <algorithm>
#include <boost/algorithm/string.hpp>

#include "host/Identifiers.h"
#include "tests/hostkit/database/Fixture.h"

namespace {

// The strings that a plug-in writes for any card.
std::vector<std::string> FixedStrings() {
#define VALUE_NAME(name, number, text, ...) text,
  return {PI_VALUES(VALUE_NAME) "localhost",
          "SanDisk",
          "Skatra",
          "SanDisk-Plugin",
          "7.7.0",
          "3.16.0",
          "Plugin:ID=304",
          "NULL",
          "iomemory_vsl",
          "iomemory_vsl4",
          "MOLT EP PX600",
          "2026-01-01",
          ""};
#undef VALUE_NAME
}

class Names : public HostDatabaseTest {
 protected:
  // Returns the names of tables and columns, SQLite's aliases of the key, and the aliases of the
  // tables.
  std::vector<std::string> ReservedNames() {
    const std::string found = OtherProgram(File()).Run(
        "SELECT name FROM sqlite_schema UNION "
        "SELECT c.name FROM sqlite_schema AS s JOIN pragma_table_info(s.name) AS c");
    std::vector<std::string> names;
    boost::split(names, found, [](char character) { return character == ' '; });
    names.insert(names.end(), {"rowid", "oid", "_rowid_", "ad", "pd", "pi"});
    return names;
  }
};

TEST_F(Names, DifferFromFixedStrings) {
  const auto taken = ReservedNames();
  EXPECT_GT(taken.size(), 149U + 69U + 11U - 3U);
  for (const std::string& text : FixedStrings()) {
    EXPECT_TRUE(std::none_of(taken.begin(), taken.end(), [&](const auto& name) {
      return boost::iequals(name, text);
    })) << text;
  }
}

// Checks the same through the statements that plug-ins use.
TEST_F(Names, DoNotChangeFixedStrings) {
  m_pStorage->insert(AnAdapter(1));
  auto row = Find(*m_pStorage, 1).at(0);
  for (const std::string& text : FixedStrings()) {
    row.statusName = text;
    row.statusReasonNames = {text};
    m_pStorage->update(row);
    const auto read = Find(*m_pStorage, 1).at(0);
    EXPECT_EQ(read.statusName, text);
    EXPECT_EQ(read.statusReasonNames, row.statusReasonNames.front().empty()
                                          ? std::vector<std::string>()
                                          : row.statusReasonNames);
  }
}

}  // namespace
