// The parameters of a format with their defaults. No drive lists them, so the function is tested
// directly.

#include <gmock/gmock.h>

#include <ostream>

#include "Corvane/Src/FormatParameters.h"
#include "tests/support/SimulatedHost.h"

namespace CorvaneTest {
namespace {

using NAMESPACE_Corvane::CFusionIOPhysicalDrive;
using testing::ElementsAre;

struct SectorCase {
  const char* name;
  std::uint32_t current;
  std::uint32_t minimum;
  std::uint32_t maximum;
  std::uint32_t multiplier;
  bool powersOfTwo;
  const char* expected;
};

std::ostream& operator<<(std::ostream& out, const SectorCase& sectorCase) {
  return out << sectorCase.name;
}

class FormatParameters : public testing::TestWithParam<SectorCase> {
 protected:
  static std::vector<std::string> ParametersOfDrive() {
    CFusionIOPhysicalDrive drive;
    drive.m_SectorSize = GetParam().current;
    drive.m_MinSectorSize = GetParam().minimum;
    drive.m_MaxSectorSize = GetParam().maximum;
    drive.m_SectorSizeMultiplier = GetParam().multiplier;
    drive.m_PowerOfTwoSectors = GetParam().powersOfTwo;
    std::vector<PI::CProperty> parameters;
    NAMESPACE_Corvane::AppendFormatParameters(drive, parameters);
    std::vector<std::string> texts;
    for (const PI::CProperty& parameter : parameters) texts.push_back(Render(parameter));
    return texts;
  }
};

TEST_P(FormatParameters, OfferCapacitySizeAndSectorSize) {
  EXPECT_THAT(
      ParametersOfDrive(),
      ElementsAre("CHOICE_PARAM = FACTORY_CAPACITY of [MAXIMUM_CAPACITY FACTORY_CAPACITY "
                  "IMPROVED_PERFORMANCE HIGH_PERFORMANCE CUSTOM] (label FORMATTING, writable 1)",
                  "RANGE_PARAM = 100 in 10..100 step 1 (label SIZE, unit 21010, writable 1)",
                  GetParam().expected));
}

const SectorCase SECTOR_CASES[] = {
    {"Range", 4096, 512, 4096, 512, false,
     "RANGE_PARAM = 4096 in 512..4096 step 512 (label BLOCK_SIZE, unit 21025, writable 1)"},
    {"MinimumAboveMaximum", 520, 1024, 512, 8, false,
     "RANGE_PARAM = 520 in 1024..512 step 8 (label BLOCK_SIZE, unit 21025, writable 1)"},
    {"From512To4096", 512, 512, 4096, 512, true,
     "CHOICE_PARAM = 512B of [512B 1K 2K 4K] (label BLOCK_SIZE, writable 1)"},
    {"All", 8192, 512, 8192, 512, true,
     "CHOICE_PARAM = 8K of [512B 1K 2K 4K 8K] (label BLOCK_SIZE, writable 1)"},
    {"LimitsBetweenSizes", 2048, 513, 4095, 1, true,
     "CHOICE_PARAM = 2K of [1K 2K] (label BLOCK_SIZE, writable 1)"},
    {"SingleSize", 4096, 4096, 4096, 512, true,
     "CHOICE_PARAM = 4K of [4K] (label BLOCK_SIZE, writable 1)"},
    {"AboveAll", 16384, 16384, 32768, 512, true,
     "CHOICE_PARAM = 512B of [512B] (label BLOCK_SIZE, writable 1)"},
    {"BelowAll", 256, 0, 256, 1, true,
     "CHOICE_PARAM = 512B of [512B] (label BLOCK_SIZE, writable 1)"},
    {"UnsupportedCurrentSize", 520, 1024, 8192, 8, true,
     "CHOICE_PARAM = 512B of [1K 2K 4K 8K] (label BLOCK_SIZE, writable 1)"},
    {"CurrentSizeBelowMinimum", 1024, 2048, 8192, 512, true,
     "CHOICE_PARAM = 1K of [2K 4K 8K] (label BLOCK_SIZE, writable 1)"},
    {"NoLimits", 0, 0, 0, 0, true, "CHOICE_PARAM = 512B of [512B] (label BLOCK_SIZE, writable 1)"},
};

INSTANTIATE_TEST_SUITE_P(Drives, FormatParameters, testing::ValuesIn(SECTOR_CASES),
                         [](const auto& test) { return std::string(test.param.name); });

}  // namespace
}  // namespace CorvaneTest
