// The fields of a card's records and their exact types. Tests with typical values would not detect
// a type that is too small or signed.

#include <gmock/gmock.h>

#include <fstream>
#include <regex>
#include <string>
#include <type_traits>
#include <vector>

#include "Corvane/Src/DeviceRecords.h"

namespace CorvaneTest {
namespace {

using namespace NAMESPACE_Corvane;
using testing::ElementsAreArray;

using Names = std::vector<std::string>;
using Numbers = std::vector<std::int32_t>;
using MaskHistory = std::array<std::uint64_t, 3>;

// clang-format off
#define PATH_FIELDS(X) \
  X(std::uint64_t, m_CardIndex) \
  X(std::string, m_DevicePath)

#define ADAPTER_FIELDS(X) \
  X(std::uint32_t, m_CardIndex) \
  X(std::uint32_t, m_GlobalNumber) \
  X(std::string, m_Vendor) \
  X(std::string, m_BoardName) \
  X(std::string, m_Model) \
  X(std::string, m_Name) \
  X(std::string, m_Location) \
  X(std::string, m_SerialNumber) \
  X(std::string, m_DriverName) \
  X(std::string, m_DriverVersion) \
  X(std::string, m_FirmwareVersion) \
  X(std::string, m_DevicePath) \
  X(std::uint64_t, m_PciSegment) \
  X(std::uint64_t, m_PciBus) \
  X(std::uint64_t, m_PciDevice) \
  X(std::uint64_t, m_PciFunction) \
  X(std::uint64_t, m_PciSlot) \
  X(std::uint64_t, m_InfoFlags) \
  X(std::uint64_t, m_WarningFlags) \
  X(std::uint64_t, m_ErrorFlags) \
  X(std::uint32_t, m_IomState) \
  X(std::uint64_t, m_FactorySizeMiB) \
  X(std::uint64_t, m_MinimalModeReason) \
  X(float, m_Temperature) \
  X(std::uint32_t, m_Status) \
  X(std::uint32_t, m_Activity) \
  X(Numbers, m_StatusReasons) \
  X(bool, m_HasBeacon) \
  X(bool, m_BeaconFlag) \
  X(std::uint32_t, m_WriteThrottling) \
  X(std::uint64_t, m_FirstUseMs) \
  X(std::uint64_t, m_OriginMs) \
  X(std::uint32_t, m_SpareStatus) \
  X(std::int32_t, m_ReserveWarningPercent) \
  X(std::uint32_t, m_ExternalPower) \
  X(bool, m_ExternalPowerConnected) \
  X(float, m_SlotPowerWatts) \
  X(float, m_PowerLimitWatts) \
  X(float, m_TempWarnDegC) \
  X(float, m_TempSetpointDegC)

// The fields that an assignment does not change.
#define HISTORY_FIELDS(X) \
  X(std::uint64_t, m_FlagHistoryIndex) \
  X(MaskHistory, m_ErrorHistory) \
  X(MaskHistory, m_WarningHistory) \
  X(MaskHistory, m_InfoHistory)

#define DRIVE_FIELDS(X) \
  X(std::uint32_t, m_CardIndex) \
  X(std::uint32_t, m_GlobalNumber) \
  X(std::string, m_SerialNumber) \
  X(std::string, m_Vendor) \
  X(std::string, m_Product) \
  X(std::string, m_Reserved) \
  X(std::string, m_Name) \
  X(std::string, m_Location) \
  X(std::string, m_DevicePath) \
  X(std::uint32_t, m_State) \
  X(std::uint32_t, m_SectorSize) \
  X(std::uint32_t, m_MinSectorSize) \
  X(std::uint32_t, m_MaxSectorSize) \
  X(std::uint32_t, m_SectorSizeMultiplier) \
  X(std::uint64_t, m_FormattedSizeMiB) \
  X(std::uint64_t, m_FormattedPercent) \
  X(std::uint64_t, m_FactorySizeMiB) \
  X(std::uint64_t, m_ConfigurableSizeMiB) \
  X(bool, m_OverformatAllowed) \
  X(bool, m_DriveFlag) \
  X(bool, m_PowerOfTwoSectors)
// clang-format on

#define CHECK_PATH(type, name) \
  static_assert(std::is_same_v<decltype(CControlDevicePath::name), type>, #name);
#define CHECK_ADAPTER(type, name) \
  static_assert(std::is_same_v<decltype(CFusionIOAdapter::name), type>, #name);
#define CHECK_HISTORY(type, name)                                                             \
  static_assert(std::is_same_v<decltype(CFusionIOAdapter::name.m_Value), type> &&             \
                    sizeof(CFusionIOAdapter::name) == sizeof(CFusionIOAdapter::name.m_Value), \
                #name);
#define CHECK_DRIVE(type, name) \
  static_assert(std::is_same_v<decltype(CFusionIOPhysicalDrive::name), type>, #name);

PATH_FIELDS(CHECK_PATH)
ADAPTER_FIELDS(CHECK_ADAPTER)
HISTORY_FIELDS(CHECK_HISTORY)
DRIVE_FIELDS(CHECK_DRIVE)

// Returns the names of the fields in the declaration of a class. The layout alone would not reveal
// a field in a padding gap.
Names DeclaredFields(const std::string& record) {
  std::ifstream header(CORVANE_SOURCES "/Corvane/Src/DeviceRecords.h");
  const std::regex field("  [A-Za-z][^({]* (m_\\w+)( = .*|\\{.*\\})?;.*");
  Names names;
  std::smatch match;
  bool inside = false;
  for (std::string line; std::getline(header, line);) {
    if (line.rfind("class " + record + " ", 0) == 0) inside = true;
    if (line == "};") inside = false;
    if (inside && std::regex_match(line, match, field)) names.push_back(match[1]);
  }
  return names;
}

#define NAME(type, name) #name,

TEST(DeviceRecordFields, AControlDeviceHasExactlyTheseFields) {
  EXPECT_THAT(DeclaredFields("CControlDevicePath"), ElementsAreArray(Names{PATH_FIELDS(NAME)}));
}

TEST(DeviceRecordFields, AnAdapterHasExactlyTheseFields) {
  EXPECT_THAT(DeclaredFields("CFusionIOAdapter"),
              ElementsAreArray(Names{ADAPTER_FIELDS(NAME) HISTORY_FIELDS(NAME)}));
}

TEST(DeviceRecordFields, ADriveHasExactlyTheseFields) {
  EXPECT_THAT(DeclaredFields("CFusionIOPhysicalDrive"),
              ElementsAreArray(Names{DRIVE_FIELDS(NAME)}));
}

}  // namespace
}  // namespace CorvaneTest
