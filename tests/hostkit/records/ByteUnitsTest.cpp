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
  PI::_UNITS unit;

  friend void PrintTo(const Case& row, std::ostream* out) { *out << row.name; }
};

class ByteUnits : public testing::TestWithParam<Case> {};

TEST_P(ByteUnits, UseTheLargestUnitWithACountOfAtLeastOne) {
  float value = -1;
  PI::_UNITS unit = HostKit::UNITS_NONE;
  ASSERT_TRUE(PI::CPluginHelper::ConvertBytesToOtherUnit(GetParam().bytes, value, unit));
  EXPECT_FLOAT_EQ(value, GetParam().value);
  EXPECT_EQ(unit, GetParam().unit);
}

INSTANTIATE_TEST_SUITE_P(
    , ByteUnits,
    testing::Values(Case{"NoBytes", 0, 0, PI::UNITS_BYTES}, Case{"OneByte", 1, 1, PI::UNITS_BYTES},
                    Case{"LastByteCount", 1023, 1023, PI::UNITS_BYTES},
                    Case{"FirstKiB", 1024, 1, HostKit::UNITS_KILOBYTES},
                    Case{"KiBAndAHalf", 1536, 1.5F, HostKit::UNITS_KILOBYTES},
                    Case{"LastKiB", 1048575, 1023.999F, HostKit::UNITS_KILOBYTES},
                    Case{"FirstMiB", 1048576, 1, PI::UNITS_MEGABYTES},
                    Case{"LastMiB", 1073741823, 1024, PI::UNITS_MEGABYTES},  // rounded to a float
                    Case{"FirstGiB", 1073741824, 1, HostKit::UNITS_GIGABYTES},
                    Case{"FirstTiB", 1099511627776, 1, HostKit::UNITS_TERABYTES},
                    Case{"TiBAndAHalf", 1649267441664, 1.5F, HostKit::UNITS_TERABYTES},
                    Case{"FirstPiB", 1125899906842624, 1, HostKit::UNITS_PETABYTES},
                    Case{"LargestCount", ULONG_MAX, 16384, HostKit::UNITS_PETABYTES}),
    NameOfCase());

}  // namespace
