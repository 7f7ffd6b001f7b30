// The names of the host's values as the rows of the database have them.

#include <gtest/gtest.h>

#include "Corvane/Src/ValueNames.h"

namespace CorvaneTest {
namespace {

struct Named {
  int number;
  const char* name;
};

constexpr Named NAMES[] = {
    {40024, "OK"},
    {40025, "BUSY"},
    {40046, "512B"},
    {40047, "1K"},
    {40048, "2K"},
    {40049, "4K"},
    {40050, "8K"},
    {40095, "FAILED"},
    {40099, "AVAILABLE"},
    {40102, "IDLE"},
    {40128, "STOPPED"},
    {40150, "WARNING"},
    {40180, "AVAILABLE_SMART"},
    {40199, "PCI_X"},
    {40200, "PCI_EXPRESS"},
    {40252, "NONE"},
    {40266, "LOGICAL_DRIVE_DEGRADED"},
    {40292, "HDD"},
    {40293, "SSD"},
    {40300, "CUSTOM"},
    {40387, "DETACHED"},
    {40388, "ATTACHING"},
    {40389, "MISSING_MIDPROM"},
    {40390, "UNSUPPORTED_NAND"},
    {40391, "DETACHING"},
    {40392, "DRIVER_OUT_OF_DATE"},
    {40393, "ATTACHED"},
    {40394, "FIRMWARE_OUT_OF_DATE"},
    {40395, "INSUFFICIENT_POWER"},
    {40396, "DUAL_PLANE_FAIL"},
    {40397, "FORCED"},
    {40398, "INTERNAL"},
    {40399, "CARD_LIMIT_EXCEEDED"},
    {40400, "UNSUPPORTED_OS"},
    {40401, "INSUFFICIENT_MEMORY"},
    {40402, "SMP_BOOTLOADER_MODE"},
    {40403, "MINIMAL_MODE"},
    {40404, "MAXIMUM_CAPACITY"},
    {40405, "FACTORY_CAPACITY"},
    {40406, "IMPROVED_PERFORMANCE"},
    {40407, "HIGH_PERFORMANCE"},
    {40410, "PARTIAL"},
    {40411, "COMPLETE"},
    {40412, "THROT_BY_USER"},
    {40413, "THROT_NO_METADATA_BLOCKS"},
    {40414, "THROT_NO_MEMORY"},
    {40415, "THROT_CHIP_FAILURE"},
    {40416, "THROT_WEAROUT"},
    {40417, "THROT_POWER"},
    {40418, "THROT_INTERNAL"},
    {40419, "THROT_POWER_LIMIT"},
    {40420, "THROT_GROOMER_FAILURE"},
    {40421, "HARDWARE_FAILURE"},
    {40422, "GENERAL_CHANNEL_INIT_FAIL"},
    {40449, "INTERNAL_ERROR"},
    {40450, "INCOMPATIBLE_PCI_BANDWIDTH"},
    {40451, "PARTIAL_WRITE_THROTTLING"},
    {40452, "COMPLETE_WRITE_THROTTLING"},
    {40453, "TEMPERATURE_NEAR_ERROR"},
    {40454, "TEMPERATURE_ABOVE_ERROR"},
    {40455, "INTERNAL_VOLTAGE_OUT_OF_RANGE"},
    {40456, "AUXILIARY_VOLTAGE_OUT_OF_RANGE"},
    {40457, "FLASHBACK"},
    {40458, "NONCORRECTABLE_PCI_ERRORS"},
    {40459, "TEMPERATURE_ABOVE_WARN"},
    {40460, "NEAR_WEARING_OUT"},
    {40461, "NONOPTIMAL_PCI_BANDWIDTH"},
    {40462, "CORRECTABLE_PCI_ERRORS"},
    {40463, "NO_POWERLOSS_PROTECTION"},
    {40464, "POWER_WRITE_REGULATION"},
    {40465, "TEMPERATURE_WRITE_REGULATION"},
    {40466, "LIFESPAN_WRITE_REGULATION"},
    {40467, "MINIMAL"},
    {40468, "PCI_OVERPOWER"},
    {40469, "LEB_MAP_MISSING"},
    {40470, "UPDATE_IN_PROGRESS"},
    {40471, "RESERVES_DEPLETED"},
    {40473, "HEALTHY"},
    {40474, "DEPLETED"},
    {40479, "PINNED_CACHE"},
    {40480, "PCI_EXPRESS_SSD_AIC"},
    {40484, "OPTIONAL"},
    {40485, "REQUIRED"},
    {40486, "UNACTIVATED_FIRMWARE"},
};

TEST(ValueNames, AreThoseOfTheHostsVocabulary) {
  for (const Named& each : NAMES) {
    EXPECT_EQ(NAMESPACE_Corvane::ValueName(each.number), each.name) << each.number;
  }
  EXPECT_EQ(NAMESPACE_Corvane::kValueNames.size(), std::size(NAMES));
}

TEST(ValueNames, AreEmptyForAnyOtherNumber) {
  for (const int number :
       {0, 1, -1, 40000, 40023, 40026, 40408, 40472, 40487, 30017, 50002, 2147483647}) {
    EXPECT_EQ(NAMESPACE_Corvane::ValueName(number), "") << number;
  }
}

}  // namespace
}  // namespace CorvaneTest
