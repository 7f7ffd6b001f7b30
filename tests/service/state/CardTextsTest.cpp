#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "service/state/CardTexts.h"

namespace {

using Service::ParseDrives;
using Service::ParseReasons;
using Service::TextOf;
using testing::ElementsAre;
using testing::IsEmpty;

TEST(CardTexts, KeepReasons) {
  EXPECT_EQ("3 17 4294967295", TextOf(std::set<std::uint32_t>{17, 3, 4294967295}));
  EXPECT_THAT(ParseReasons("3 17 4294967295"), ElementsAre(3U, 17U, 4294967295U));
  EXPECT_THAT(ParseReasons(""), IsEmpty());
}

TEST(CardTexts, SkipWordsThatAreNotReasons) {
  EXPECT_THAT(ParseReasons("1 x 2"), ElementsAre(1U, 2U));
  EXPECT_THAT(ParseReasons("-1 4294967296 7x 5"), ElementsAre(5U));
}

TEST(CardTexts, KeepDrives) {
  const auto drives = ParseDrives("785000000000 512 - 4096");
  ASSERT_EQ(2U, drives.size());
  EXPECT_EQ(785000000000, drives[0].m_Format.m_SizeBytes);
  EXPECT_EQ(512, drives[0].m_Format.m_SectorSizeBytes);
  EXPECT_EQ(std::nullopt, drives[1].m_Format.m_SizeBytes);
  EXPECT_EQ("785000000000 512 - 4096", TextOf(drives));
}

TEST(CardTexts, TreatDamagedValuesOfDrivesAsUnknown) {
  EXPECT_EQ("- 512", TextOf(ParseDrives("785x 512")));
  EXPECT_EQ("- -", TextOf(ParseDrives("99999999999999999999 x 5")));
}

}  // namespace
