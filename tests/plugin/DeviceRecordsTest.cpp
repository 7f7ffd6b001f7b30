// The fields of a card's records, and which of them are copied.

#include <gmock/gmock.h>

#include <locale>
#include <sstream>
#include <type_traits>
#include <utility>

#include "Corvane/Src/DeviceRecords.h"

namespace CorvaneTest {
namespace {

using namespace NAMESPACE_Corvane;
namespace PI = ::PI;
using testing::ElementsAre;
using testing::IsEmpty;

using MaskHistory = std::array<std::uint64_t, 3>;

void Put(std::ostream& text, const std::vector<std::int32_t>& list) {
  for (const std::int32_t each : list) text << each << '+';
}

// Renders all fields in order, except the histories.
std::string FieldsOf(const CFusionIOAdapter& a) {
  std::ostringstream text;
  text.imbue(std::locale::classic());
  const auto put = [&text](const auto&... fields) { ((text << fields << '|'), ...); };
  put(a.m_CardIndex, a.m_GlobalNumber, a.m_Vendor, a.m_BoardName, a.m_Model, a.m_Name);
  put(a.m_Location, a.m_SerialNumber, a.m_DriverName, a.m_DriverVersion, a.m_FirmwareVersion);
  put(a.m_DevicePath, a.m_PciSegment, a.m_PciBus, a.m_PciDevice, a.m_PciFunction, a.m_PciSlot);
  put(a.m_InfoFlags, a.m_WarningFlags, a.m_ErrorFlags, a.m_IomState, a.m_FactorySizeMiB);
  put(a.m_MinimalModeReason, a.m_Temperature, a.m_Status, a.m_Activity);
  Put(text, a.m_StatusReasons);
  put("", a.m_HasBeacon, a.m_BeaconFlag, a.m_WriteThrottling, a.m_FirstUseMs, a.m_OriginMs);
  put(a.m_SpareStatus, a.m_ReserveWarningPercent, a.m_ExternalPower, a.m_ExternalPowerConnected);
  put(a.m_SlotPowerWatts, a.m_PowerLimitWatts, a.m_TempWarnDegC, a.m_TempSetpointDegC);
  return text.str();
}

std::string FieldsOf(const CFusionIOPhysicalDrive& d) {
  std::ostringstream text;
  text.imbue(std::locale::classic());
  const auto put = [&text](const auto&... fields) { ((text << fields << '|'), ...); };
  put(d.m_CardIndex, d.m_GlobalNumber, d.m_SerialNumber, d.m_Vendor, d.m_Product, d.m_Reserved);
  put(d.m_Name, d.m_Location, d.m_DevicePath, d.m_State, d.m_SectorSize, d.m_MinSectorSize);
  put(d.m_MaxSectorSize, d.m_SectorSizeMultiplier, d.m_FormattedSizeMiB, d.m_FormattedPercent);
  put(d.m_FactorySizeMiB, d.m_ConfigurableSizeMiB, d.m_OverformatAllowed, d.m_DriveFlag);
  put(d.m_PowerOfTwoSectors);
  return text.str();
}

// A record with a different value in each field.
CFusionIOAdapter FilledAdapter() {
  CFusionIOAdapter a;
  a.m_ID = 500;
  a.m_ChangeCount = 501;
  a.m_Parents = {502};
  a.m_Children = {503, 504};
  a.m_Locked = true;
  a.m_CardIndex = 1;
  a.m_GlobalNumber = 2;
  a.m_Vendor = "vendor";
  a.m_BoardName = "board";
  a.m_Model = "model";
  a.m_Name = "name";
  a.m_Location = "location";
  a.m_SerialNumber = "serial";
  a.m_DriverName = "driver";
  a.m_DriverVersion = "version";
  a.m_FirmwareVersion = "firmware";
  a.m_DevicePath = "path";
  a.m_PciSegment = 3;
  a.m_PciBus = 4;
  a.m_PciDevice = 5;
  a.m_PciFunction = 6;
  a.m_PciSlot = 7;
  a.m_InfoFlags = 8;
  a.m_WarningFlags = 9;
  a.m_ErrorFlags = 10;
  a.m_IomState = 11;
  a.m_FactorySizeMiB = 12;
  a.m_MinimalModeReason = 13;
  a.m_Temperature = 14.5F;
  a.m_Status = 15;
  a.m_Activity = 16;
  a.m_StatusReasons = {17, 18};
  a.m_HasBeacon = true;
  a.m_BeaconFlag = true;
  a.m_WriteThrottling = 19;
  a.m_FirstUseMs = 20;
  a.m_OriginMs = 21;
  a.m_SpareStatus = 22;
  a.m_ReserveWarningPercent = -23;
  a.m_ExternalPower = 24;
  a.m_ExternalPowerConnected = true;
  a.m_SlotPowerWatts = 25.5F;
  a.m_PowerLimitWatts = 26.5F;
  a.m_TempWarnDegC = 27.5F;
  a.m_TempSetpointDegC = 28.5F;
  return a;
}

void FillHistories(CFusionIOAdapter& adapter, std::uint64_t base) {
  adapter.m_FlagHistoryIndex.m_Value = base % 3;
  adapter.m_ErrorHistory.m_Value = {base, base + 1, base + 2};
  adapter.m_WarningHistory.m_Value = {base + 3, base + 4, base + 5};
  adapter.m_InfoHistory.m_Value = {base + 6, base + 7, base + 8};
}

void ExpectHistories(const CFusionIOAdapter& adapter, std::uint64_t base) {
  EXPECT_EQ(adapter.m_FlagHistoryIndex.m_Value, base % 3);
  EXPECT_EQ(adapter.m_ErrorHistory.m_Value, (MaskHistory{base, base + 1, base + 2}));
  EXPECT_EQ(adapter.m_WarningHistory.m_Value, (MaskHistory{base + 3, base + 4, base + 5}));
  EXPECT_EQ(adapter.m_InfoHistory.m_Value, (MaskHistory{base + 6, base + 7, base + 8}));
}

void ExpectFilledBase(const PI::CObject& object) {
  EXPECT_EQ(object.m_ID, 500U);
  EXPECT_EQ(object.m_ChangeCount, 501U);
  EXPECT_THAT(object.m_Parents, ElementsAre(502));
  EXPECT_THAT(object.m_Children, ElementsAre(503, 504));
  EXPECT_TRUE(object.m_Locked);
}

CFusionIOPhysicalDrive FilledDrive() {
  CFusionIOPhysicalDrive d;
  d.m_ID = 500;
  d.m_ChangeCount = 501;
  d.m_Parents = {502};
  d.m_Children = {503, 504};
  d.m_Locked = true;
  d.m_CardIndex = 1;
  d.m_GlobalNumber = 2;
  d.m_SerialNumber = "serial";
  d.m_Vendor = "vendor";
  d.m_Product = "product";
  d.m_Reserved = "reserved";
  d.m_Name = "name";
  d.m_Location = "location";
  d.m_DevicePath = "path";
  d.m_State = 3;
  d.m_SectorSize = 4;
  d.m_MinSectorSize = 5;
  d.m_MaxSectorSize = 6;
  d.m_SectorSizeMultiplier = 7;
  d.m_FormattedSizeMiB = 8;
  d.m_FormattedPercent = 9;
  d.m_FactorySizeMiB = 10;
  d.m_ConfigurableSizeMiB = 11;
  d.m_OverformatAllowed = false;
  d.m_DriveFlag = true;
  d.m_PowerOfTwoSectors = true;
  return d;
}

// Expects the fields at ascending offsets, in the order of the arguments.
template <class Record, class... Fields>
void ExpectOrder(const Record& record, const Fields&... fields) {
  const auto* begin = reinterpret_cast<const char*>(&record);
  const std::ptrdiff_t offsets[] = {(reinterpret_cast<const char*>(&fields) - begin)...};
  auto last = static_cast<std::ptrdiff_t>(sizeof(PI::CObject)) - 8;  // tail padding may be used
  for (const std::ptrdiff_t offset : offsets) {
    EXPECT_GT(offset, last);
    last = offset;
  }
  EXPECT_LT(last, static_cast<std::ptrdiff_t>(sizeof(Record)));
}

constexpr const char* ADAPTER_DEFAULTS =
    // index, number, vendor, board, model, name
    "0|0|SanDisk||||"
    // location, serial number, driver, driver version, firmware, path
    "||||||"
    // segment, bus, device, function, slot
    "18446744073709551615|0|0|0|18446744073709551615|"
    // information, warnings, errors, state, size, minimal mode, temperature
    "0|0|0|0|0|0|0|"
    // status, activity, reasons
    "40024|40102||"
    // has a locate LED, LED flag, throttling, first use, origin
    "0|0|40252|18446744073709551615|18446744073709551615|"
    // spare status, reserve, external power, whether it is connected
    "40024|1|40252|0|"
    // slot power, power limit, warning temperature, set point
    "0|0|0|0|";

constexpr const char* DRIVE_DEFAULTS =
    // index, number, serial number, vendor, product, reserved
    "4294967295|4294967295|||||"
    // name, location, path, state
    "|||40099|"
    // sector size, smallest, largest, multiplier
    "0|0|0|0|"
    // formatted size, percent, factory size, configurable size
    "0|0|0|0|"
    // over-formatting, drive flag, powers of two
    "1|0|0|";

TEST(DeviceRecords, ANewAdapterHasDefaultValues) {
  const CFusionIOAdapter adapter;
  EXPECT_EQ(FieldsOf(adapter), ADAPTER_DEFAULTS);
  EXPECT_EQ(adapter.m_ObjectType, 19038U);
  EXPECT_EQ(adapter.m_ChangeCount, 0U);
  EXPECT_THAT(adapter.m_Parents, IsEmpty());
  EXPECT_THAT(adapter.m_Children, IsEmpty());
  EXPECT_EQ(adapter.m_FlagHistoryIndex.m_Value, 0U);
  for (const FlagHistory* history :
       {&adapter.m_ErrorHistory, &adapter.m_WarningHistory, &adapter.m_InfoHistory}) {
    EXPECT_EQ(history->m_Value, (MaskHistory{0, 0, 0}));
  }
}

TEST(DeviceRecords, ANewDriveHasDefaultValues) {
  const CFusionIOPhysicalDrive drive;
  EXPECT_EQ(FieldsOf(drive), DRIVE_DEFAULTS);
  EXPECT_EQ(drive.m_ObjectType, 19018U);
  EXPECT_EQ(drive.m_ChangeCount, 0U);
}

TEST(DeviceRecords, ACopiedAdapterHasAllFields) {
  CFusionIOAdapter adapter = FilledAdapter();
  FillHistories(adapter, 100);
  const CFusionIOAdapter copy(adapter);
  EXPECT_EQ(FieldsOf(copy), FieldsOf(adapter));
  EXPECT_NE(FieldsOf(copy), ADAPTER_DEFAULTS);
  ExpectFilledBase(copy);
  ExpectHistories(copy, 100);
}

TEST(DeviceRecords, AnAssignedAdapterKeepsItsHistories) {
  CFusionIOAdapter adapter = FilledAdapter();
  FillHistories(adapter, 100);
  CFusionIOAdapter target;
  FillHistories(target, 200);
  target = adapter;
  EXPECT_EQ(FieldsOf(target), FieldsOf(adapter));
  ExpectFilledBase(target);
  ExpectHistories(target, 200);
  ExpectHistories(adapter, 100);
}

TEST(DeviceRecords, AMoveAssignedAdapterKeepsItsHistories) {
  CFusionIOAdapter source = FilledAdapter();
  FillHistories(source, 100);
  CFusionIOAdapter target;
  FillHistories(target, 200);
  target = std::move(source);
  EXPECT_EQ(FieldsOf(target), FieldsOf(FilledAdapter()));
  ExpectHistories(target, 200);
}

// Existing positions keep their histories; new positions copy those of the source.
TEST(DeviceRecords, AssignedListsKeepTheHistoriesOfTheirPositions) {
  std::vector<CFusionIOAdapter> target(1);
  target.reserve(8);
  FillHistories(target[0], 200);
  std::vector<CFusionIOAdapter> source(2, FilledAdapter());
  FillHistories(source[0], 100);
  FillHistories(source[1], 300);
  target = source;
  ASSERT_EQ(target.size(), 2U);
  EXPECT_EQ(FieldsOf(target[0]), FieldsOf(source[0]));
  ExpectHistories(target[0], 200);
  ExpectHistories(target[1], 300);
}

TEST(DeviceRecords, AGrowingListMovesTheHistories) {
  std::vector<CFusionIOAdapter> list(1);
  FillHistories(list[0], 100);
  for (int i = 0; i < 20; ++i) list.emplace_back();
  ExpectHistories(list[0], 100);
}

TEST(DeviceRecords, ACopiedOrAssignedDriveHasAllFields) {
  const CFusionIOPhysicalDrive drive = FilledDrive();
  const CFusionIOPhysicalDrive copy(drive);
  CFusionIOPhysicalDrive target;
  target = drive;
  for (const CFusionIOPhysicalDrive* each : {&copy, &std::as_const(target)}) {
    EXPECT_EQ(FieldsOf(*each), FieldsOf(drive));
    EXPECT_NE(FieldsOf(*each), DRIVE_DEFAULTS);
    ExpectFilledBase(*each);
  }
}

TEST(DeviceRecords, AControlDeviceIsCopiedMemberByMember) {
  const CControlDevicePath path{7, "/dev/fct7"};
  const CControlDevicePath copy(path);
  CControlDevicePath target;
  target = path;
  EXPECT_EQ(copy.m_CardIndex, 7U);
  EXPECT_EQ(copy.m_DevicePath, "/dev/fct7");
  EXPECT_EQ(target.m_CardIndex, 7U);
  EXPECT_EQ(target.m_DevicePath, "/dev/fct7");
  EXPECT_EQ(sizeof path.m_CardIndex, 8U);
}

TEST(DeviceRecords, ThePluginObjectDoesNotAddFields) {
  EXPECT_EQ(sizeof(CFusionIOPlugin), sizeof(PI::CObject));
}

TEST(DeviceRecords, AreObjectsWithVirtualDestructors) {
  EXPECT_TRUE((std::is_base_of_v<PI::CObject, CFusionIOPlugin>));
  EXPECT_TRUE((std::is_convertible_v<CFusionIOAdapter*, PI::CObject*>));
  EXPECT_TRUE((std::is_convertible_v<CFusionIOPhysicalDrive*, PI::CObject*>));
  EXPECT_TRUE(std::has_virtual_destructor_v<CFusionIOPlugin>);
  EXPECT_TRUE(std::has_virtual_destructor_v<CFusionIOAdapter>);
  EXPECT_TRUE(std::has_virtual_destructor_v<CFusionIOPhysicalDrive>);
}

TEST(DeviceRecords, KeepTheOrderOfAnAdaptersFields) {
  const CFusionIOAdapter a;
  ExpectOrder(a, a.m_CardIndex, a.m_GlobalNumber, a.m_Vendor, a.m_BoardName, a.m_Model, a.m_Name,
              a.m_Location, a.m_SerialNumber, a.m_DriverName, a.m_DriverVersion,
              a.m_FirmwareVersion, a.m_DevicePath, a.m_PciSegment, a.m_PciBus, a.m_PciDevice,
              a.m_PciFunction, a.m_PciSlot, a.m_InfoFlags, a.m_WarningFlags, a.m_ErrorFlags,
              a.m_IomState, a.m_FactorySizeMiB, a.m_MinimalModeReason, a.m_Temperature, a.m_Status,
              a.m_Activity, a.m_StatusReasons, a.m_HasBeacon, a.m_BeaconFlag, a.m_WriteThrottling,
              a.m_FirstUseMs, a.m_OriginMs, a.m_SpareStatus, a.m_ReserveWarningPercent,
              a.m_ExternalPower, a.m_ExternalPowerConnected, a.m_SlotPowerWatts,
              a.m_PowerLimitWatts, a.m_TempWarnDegC, a.m_TempSetpointDegC, a.m_FlagHistoryIndex,
              a.m_ErrorHistory, a.m_WarningHistory, a.m_InfoHistory);
}

TEST(DeviceRecords, KeepTheOrderOfADrivesFields) {
  const CFusionIOPhysicalDrive d;
  ExpectOrder(d, d.m_CardIndex, d.m_GlobalNumber, d.m_SerialNumber, d.m_Vendor, d.m_Product,
              d.m_Reserved, d.m_Name, d.m_Location, d.m_DevicePath, d.m_State, d.m_SectorSize,
              d.m_MinSectorSize, d.m_MaxSectorSize, d.m_SectorSizeMultiplier, d.m_FormattedSizeMiB,
              d.m_FormattedPercent, d.m_FactorySizeMiB, d.m_ConfigurableSizeMiB,
              d.m_OverformatAllowed, d.m_DriveFlag, d.m_PowerOfTwoSectors);
}

}  // namespace
}  // namespace CorvaneTest
