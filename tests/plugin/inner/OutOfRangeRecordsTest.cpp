// Properties of records that no scan produces: unknown states, states that occur only in the lists
// of choices, and a card number that is negative as a signed integer.

#include <gmock/gmock.h>

#include "tests/plugin/inner/PrivateMember.h"
#include "tests/support/OneCard.h"

namespace CorvaneTest {
namespace {

using NAMESPACE_Corvane::CFusionIOAdapter;
using NAMESPACE_Corvane::CFusionIOPhysicalDrive;
PRIVATE_MEMBER(AdapterPropertiesMember, GetAdapterProperties,
               unsigned int (Plugin::*)(CFusionIOAdapter& adapter,
                                        std::vector<PI::CProperty>& properties,
                                        unsigned int propertyId));
PRIVATE_MEMBER(DrivePropertiesMember, GetPhysicalDriveProperties,
               unsigned int (Plugin::*)(CFusionIOPhysicalDrive& drive,
                                        std::vector<PI::CProperty>& properties,
                                        unsigned int propertyId));

using testing::ElementsAre;

class OutOfRangeRecords : public testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(m_Host.Initialize(), 0U); }

  static std::vector<std::string> RowsOf(CFusionIOAdapter& adapter, unsigned int propertyId) {
    std::vector<PI::CProperty> properties;
    EXPECT_EQ((ThePlugin().*PointerTo(AdapterPropertiesMember()))(adapter, properties, propertyId),
              0U);
    return RenderAll(properties);
  }
  static std::vector<std::string> RowsOf(CFusionIOPhysicalDrive& drive, unsigned int propertyId) {
    std::vector<PI::CProperty> properties;
    EXPECT_EQ((ThePlugin().*PointerTo(DrivePropertiesMember()))(drive, properties, propertyId), 0U);
    return RenderAll(properties);
  }

  OneCard m_Host;
};

TEST_F(OutOfRangeRecords, ShowAnIndicatorForEachDriveState) {
  const std::pair<std::uint32_t, const char*> cases[] = {
      {PI::Value::AVAILABLE,
       "STATUS = AVAILABLE of [AVAILABLE AVAILABLE_SMART FAILED] (sort 23324, indicator 24183)"},
      {PI::Value::AVAILABLE_SMART,
       "STATUS = AVAILABLE_SMART of [AVAILABLE AVAILABLE_SMART FAILED] (sort 23324, indicator "
       "24189)"},
      {PI::Value::FAILED,
       "STATUS = FAILED of [AVAILABLE AVAILABLE_SMART FAILED] (sort 23324, indicator 24177)"},
      {PI::Value::OK,
       "STATUS = OK of [AVAILABLE AVAILABLE_SMART FAILED] (sort 23324, indicator 24183)"},
      {7, "STATUS = 7 of [AVAILABLE AVAILABLE_SMART FAILED] (sort 23324, indicator 24183)"}};
  for (const auto& [state, status] : cases) {
    CFusionIOPhysicalDrive drive;
    drive.m_State = state;
    EXPECT_THAT(RowsOf(drive, PI::Property::STATUS), ElementsAre(status));
  }
}

TEST_F(OutOfRangeRecords, ShowTheHealthyIndicatorForOtherAdapterStatuses) {
  const std::pair<std::uint32_t, const char*> cases[] = {
      {PI::Value::OK, "STATUS = OK of [OK WARNING FAILED] (sort 23127, indicator 24000)"},
      {PI::Value::WARNING, "STATUS = WARNING of [OK WARNING FAILED] (sort 23127, indicator 24002)"},
      {PI::Value::FAILED, "STATUS = FAILED of [OK WARNING FAILED] (sort 23127, indicator 24001)"},
      {PI::Value::AVAILABLE,
       "STATUS = AVAILABLE of [OK WARNING FAILED] (sort 23127, indicator 24000)"},
      {7, "STATUS = 7 of [OK WARNING FAILED] (sort 23127, indicator 24000)"}};
  for (const auto& [status, row] : cases) {
    CFusionIOAdapter adapter;
    adapter.m_Status = status;
    EXPECT_THAT(RowsOf(adapter, PI::Property::STATUS), ElementsAre(row));
  }
}

TEST_F(OutOfRangeRecords, SignExtendTheAdapterNumber) {
  const std::pair<std::uint32_t, const char*> cases[] = {
      {2147483647, "ADAPTER_NUMBER = 2147483647 (label ID, sort 23003)"},
      {2147483648, "ADAPTER_NUMBER = 18446744071562067968 (label ID, sort 23003)"},
      {4294967295, "ADAPTER_NUMBER = 18446744073709551615 (label ID, sort 23003)"}};
  for (const auto& [number, row] : cases) {
    CFusionIOAdapter adapter;
    adapter.m_CardIndex = number;
    EXPECT_THAT(RowsOf(adapter, PI::Property::ADAPTER_NUMBER), ElementsAre(row));
  }
}

TEST_F(OutOfRangeRecords, ShowChoicesThatAreNotOnTheirList) {
  CFusionIOAdapter adapter;
  adapter.m_WriteThrottling = PI::Value::OK;
  adapter.m_Activity = PI::Value::STOPPED;
  adapter.m_ExternalPower = PI::Value::COMPLETE;
  adapter.m_StatusReasons = {PI::Value::UNACTIVATED_FIRMWARE, 3};
  EXPECT_THAT(RowsOf(adapter, PI::Property::WRITE_THROTTLING),
              ElementsAre("WRITE_THROTTLING = OK of [NONE PARTIAL COMPLETE] (sort 23147)"));
  EXPECT_THAT(RowsOf(adapter, PI::Property::ACTIVITY),
              ElementsAre("ACTIVITY = STOPPED of [IDLE BUSY ATTACHING DETACHING] (sort 23002)"));
  EXPECT_THAT(RowsOf(adapter, PI::Property::EXTERNAL_POWER_REQUIREMENT),
              ElementsAre("EXTERNAL_POWER_REQUIREMENT = COMPLETE of [NONE OPTIONAL REQUIRED] (sort "
                          "23047)"));
  EXPECT_THAT(RowsOf(adapter, PI::Property::EXTERNAL_POWER_CONNECTED),
              ElementsAre("EXTERNAL_POWER_CONNECTED = false (sort 23048)"));
  EXPECT_THAT(
      RowsOf(adapter, PI::Property::ADDITIONAL_STATUS),
      ElementsAre("ADDITIONAL_STATUS = [UNACTIVATED_FIRMWARE 3] of [DETACHED STOPPED ATTACHED "
                  "FIRMWARE_OUT_OF_DATE INSUFFICIENT_POWER DUAL_PLANE_FAIL FORCED INTERNAL "
                  "CARD_LIMIT_EXCEEDED UNSUPPORTED_OS INSUFFICIENT_MEMORY SMP_BOOTLOADER_MODE "
                  "LOGICAL_DRIVE_DEGRADED] (sort 23004)"));
}

}  // namespace
}  // namespace CorvaneTest
