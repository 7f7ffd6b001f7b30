// Numbers are formatted the same in a host whose locale groups digits and has a decimal comma as in
// any other host.

#include <gmock/gmock.h>

#include <locale>
#include <regex>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/GroupingLocale.h"
#include "tests/support/OneCard.h"
#include "tests/support/RowView.h"

namespace CorvaneTest {
namespace {

using testing::Contains;
using testing::HasSubstr;

class Locale : public testing::Test {
 protected:
  Locale() : m_Before(std::locale::global(GroupingLocale())) {}
  ~Locale() override { std::locale::global(m_Before); }

  static std::string TextOf(OneCard& host, std::uint64_t object, std::uint32_t id) {
    PI::CProperty property(PI::Property::UNDEFINED, false);
    return host.Property(object, id, property) == 0 ? property.m_Value.m_String.m_Text : "none";
  }

  const std::locale m_Before;
};

TEST_F(Locale, ThePollIntervalIsWrittenWithoutGrouping) {
  OneCard host;
  ASSERT_EQ(host.Start(), 0U);
  EXPECT_EQ(host.SetPollInterval(4000, 2, 5000), 0U);
  EXPECT_EQ(host.ReadIni(), "PollInterval=4000\n");
}

TEST_F(Locale, ThePollIntervalIsReadWithoutGrouping) {
  for (const auto& [ini, seconds] :
       {std::pair("PollInterval=4000\n", 255), std::pair("PollInterval=1.000\n", 15)}) {
    OneCard host;
    host.WriteIni(ini);
    ASSERT_EQ(host.Initialize(), 0U);
    PI::CProperty property(PI::Property::UNDEFINED, false);
    ASSERT_EQ(host.Property(OneCard::PLUGIN, PI::Property::POLL_INTERVAL, property), 0U);
    EXPECT_EQ(property.m_Value.m_Integer, seconds) << ini;
  }
}

TEST_F(Locale, PropertiesAreNotGrouped) {
  OneCard host({
      {"pci_domain", "4660"},
      {"fw_current_major_ver", "1001"},
      {"fw_current_minor_ver", "2002"},
      {"fw_current_micro_ver", "3003"},
      {"fw_current_revision", "107006"},
      {"origin_ts", "1757462400"},
  });
  ASSERT_EQ(host.Initialize(), 0U);
  std::vector<PI::CAdapterID> numbers = host.m_AdapterIDs;
  ASSERT_EQ(numbers.size(), 1U);
  numbers[0].m_GlobalNumber = 12345;
  ASSERT_EQ(host.Execute(PI::CMD_SET_ADAPTER_IDS, 0, &numbers), 0U);
  EXPECT_EQ(TextOf(host, OneCard::PLUGIN, PI::Property::UNIQUE_ID), "Plugin:ID=304");
  EXPECT_THAT(TextOf(host, OneCard::ADAPTER, PI::Property::NAME), HasSubstr(" (12345)"));
  EXPECT_THAT(TextOf(host, OneCard::ADAPTER, PI::Property::UNIQUE_ID),
              HasSubstr("PCI:Segment=4660&Bus="));
  EXPECT_EQ(TextOf(host, OneCard::ADAPTER, PI::Property::FIRMWARE_VERSION),
            "1001.2002.3003 (107006)");
  EXPECT_EQ(TextOf(host, OneCard::ADAPTER, PI::Property::MANUFACTURE_DATE), "2025-09-10 00:00");
  EXPECT_THAT(TextOf(host, OneCard::ADAPTER, PI::Property::ESTIMATED_LIFETIME),
              testing::MatchesRegex("2[0-9][0-9][0-9]-[0-9][0-9]-[0-9][0-9]"));
}

TEST_F(Locale, RowsAreNotGrouped) {
  OneCard host;
  ASSERT_EQ(host.Initialize(), 0U);
  const std::vector<Cells> drives = DriveRows();
  ASSERT_FALSE(drives.empty());
  for (const std::string& cell : drives.back()) {
    EXPECT_FALSE(std::regex_search(cell, std::regex("[0-9][.][0-9]{3}(?![0-9])"))) << cell;
  }
  EXPECT_THAT(drives.back(), Contains(testing::MatchesRegex(
                                 "pd_end_of_life_date=2[0-9][0-9][0-9]-[0-9][0-9]-[0-9][0-9]")));
}

}  // namespace
}  // namespace CorvaneTest
