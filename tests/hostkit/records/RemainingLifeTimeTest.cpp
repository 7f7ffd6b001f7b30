#include <gtest/gtest.h>

#include <climits>
#include <cstdint>

#include "host/PluginInterface.h"
#include "tests/hostkit/records/Cases.h"

namespace {

constexpr unsigned long kTByte = 1099511627776;
constexpr unsigned long kMaxHours = 61360000;

unsigned long Remaining(unsigned long usedHours, unsigned long bytesWritten,
                        unsigned int usedPercent, unsigned long ratedTBytes) {
  unsigned long hours = 0xDEAD;
  PI::CPluginHelper::ComputeRemainingLifeTime(usedHours, bytesWritten, usedPercent, ratedTBytes,
                                              hours);
  return hours;
}

struct Case {
  const char* name;
  unsigned long usedHours;
  unsigned long bytesWritten;
  unsigned int usedPercent;
  unsigned long ratedTBytes;
  unsigned long hours;

  friend void PrintTo(const Case& row, std::ostream* out) { *out << row.name; }
};

class RemainingLifeTime : public testing::TestWithParam<Case> {};

TEST_P(RemainingLifeTime, IsTheSmallerOfTheTwoEstimates) {
  const Case& card = GetParam();
  EXPECT_EQ(Remaining(card.usedHours, card.bytesWritten, card.usedPercent, card.ratedTBytes),
            card.hours);
}

INSTANTIATE_TEST_SUITE_P(
    , RemainingLifeTime,
    testing::Values(Case{"WearIsFaster", 1000, 1 * kTByte, 10, 100, 9000},
                    Case{"WritingIsFaster", 1000, 50 * kTByte, 10, 100, 1000},
                    Case{"PartsOfAnHourAreDropped", 10, 0, 3, 100, 323},
                    Case{"WithoutRating", 1000, 50 * kTByte, 10, 0, 9000},
                    Case{"WithoutRatingAndWear", 1000, 50 * kTByte, 0, 0, kMaxHours},
                    Case{"OnlyWritingSeen", 1000, 1 * kTByte, 0, 100, 99000},
                    Case{"OnlyWearSeen", 100, 0, 25, 100, 300},
                    Case{"NothingSeen", 1000, 0, 0, 100, kMaxHours},
                    Case{"NewAndWriting", 0, 1 * kTByte, 0, 100, 99},
                    Case{"NewAndWearing", 0, 0, 1, 100, 99},
                    Case{"NewAndUntouched", 0, 0, 0, 0, kMaxHours},
                    Case{"AllWorn", 1000, 1 * kTByte, 100, 100, 0},
                    Case{"MoreThanWorn", 1000, 1 * kTByte, 101, 100, 0},
                    Case{"AllWritten", 1000, 100 * kTByte, 10, 100, 0},
                    Case{"MoreThanRatedWritten", 1000, 101 * kTByte, 10, 100, 0},
                    Case{"MoreThanAllLeft", 1000, 1 * kTByte, 0xFFFFFFFF, 100, 99000},
                    Case{"SlowEnoughForTheMaximum", 100000000, 1, 1, 100, kMaxHours},
                    Case{"FirstUseInTheFuture", ULONG_MAX / 3600000, 1, 1, 1, kMaxHours}),
    NameOfCase());

TEST(RemainingLifeTimeOfExtremeCards, IsAtMostTheMaximum) {
  const unsigned long numbers[] = {0, 1, 99, 100, 101, INT_MAX, UINT_MAX, LONG_MAX, ULONG_MAX};
  for (const unsigned long age : numbers) {
    for (const unsigned long bytes : numbers) {
      for (const unsigned long percent : numbers) {
        for (const unsigned long rated : numbers) {
          EXPECT_LE(Remaining(age, bytes, static_cast<unsigned int>(percent), rated), kMaxHours);
        }
      }
    }
  }
}

TEST(MaximumLifeTime, EndsInAFourDigitYear) {
  const std::uint64_t endOfYear2999 = 32503679999999;
  const std::uint64_t endOfYear9999 = 253402300799999;
  EXPECT_LE(endOfYear2999 + Remaining(1000, 0, 0, 100) * 3600000, endOfYear9999);
}

}  // namespace
