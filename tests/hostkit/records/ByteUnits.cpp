#include <gtest/gtest.h>

#include <climits>

#include "host/PluginInterface.h"
#include "hostkit/Units.h"
#include "tests/hostkit/records/Cases.h"

namespace {

struct Case {
  const char* name;
  unsigned long bytes;
  float value;
  unsigned int unit;

  friend void PrintTo(const Case& row, std::ostream* out) { *out << row.name; }
};

class ByteUnits : public testing::TestWithParam<Case> {};

TEST_P(ByteUnits, TakeTheLargestUnitInWhichTheCountIsAtLeastOne) {
  float value = -1;
  PI::_UNITS unit = HostKit::UNITS_NONE;
  ASSERT_TRUE(PI::CPluginHelper::ConvertBytesToOtherUnit(GetParam().bytes, value, unit));
  EXPECT_FLOAT_EQ(value, GetParam().value);
  EXPECT_EQ(static_cast<unsigned int>(unit), GetParam().unit);
}

INSTANTIATE_TEST_SUITE_P(
    , ByteUnits,
    testing::Values(Case{"Nothing", 0, 0, 21025}, Case{"OneByte", 1, 1, 21025},
                    Case{"LastBytes", 1023, 1023, 21025}, Case{"FirstKiB", 1024, 1, 21001},
                    Case{"KiBAndAHalf", 1536, 1.5F, 21001},
                    Case{"LastKiB", 1048575, 1023.999F, 21001}, Case{"FirstMiB", 1048576, 1, 21002},
                    Case{"LastMiB", 1073741823, 1024, 21002},  // rounded to a float
                    Case{"FirstGiB", 1073741824, 1, 21003},
                    Case{"FirstTiB", 1099511627776, 1, 21004},
                    Case{"TiBAndAHalf", 1649267441664, 1.5F, 21004},
                    Case{"FirstPiB", 1125899906842624, 1, 21005},
                    Case{"Everything", ULONG_MAX, 16384, 21005}),
    NameOfCase());

}  // namespace
