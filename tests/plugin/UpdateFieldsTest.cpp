// The attributes of a card that make a scan count as a change.

#include <limits>

#include "Corvane/Src/RecordComparison.h"
#include "tests/plugin/Watch.h"

namespace CorvaneTest {
namespace {

using NAMESPACE_Corvane::CFusionIOAdapter;
using NAMESPACE_Corvane::CFusionIOPhysicalDrive;
using NAMESPACE_Corvane::Differ;
using testing::IsEmpty;
using testing::SizeIs;

struct Field {
  const char* name;
  Lines before;  // attribute, value, attribute, value, ...; "absent" removes the attribute
  Lines after;
  bool counts;
};

void PrintTo(const Field& field, std::ostream* stream) {
  *stream << field.name;
}

const Field FIELDS[] = {
    {"PciBus", {}, {"pci_bus", "99"}, true},
    {"PciDevice", {}, {"pci_device", "9"}, true},
    {"PciFunction", {}, {"pci_function", "1"}, true},
    {"PciDomain", {}, {"pci_domain", "1"}, true},
    {"PciSlot", {}, {"pci_slot_num", "9"}, true},
    {"PciSlotRemoved", {}, {"pci_slot_num", "absent"}, true},
    {"PciDeviceId", {}, {"pci_device_id", "0x3001"}, true},
    {"PciDeviceIdOfTheSameFamily", {}, {"pci_device_id", "0x1005"}, false},
    {"BoardName", {}, {"board_name", "Other"}, true},
    {"HasLocateLED", {}, {"beacon_state", "absent"}, true},
    {"LocateLED", {}, {"beacon_state", "true"}, false},
    {"SerialNumber", {}, {"serial_number", "Other"}, true},
    {"FirmwareRevision", {}, {"fw_current_revision", "1"}, true},
    {"FirmwareMajor", {}, {"fw_current_major_ver", "1"}, true},
    {"FirmwareStringWithNumericParts", {}, {"fw_current_version", "Other"}, false},
    {"FirmwareString", {"fw_current_micro_ver", "absent"}, {"fw_current_version", "Other"}, true},
    {"ExternalPower", {}, {"external_power_requirement", "2"}, true},
    {"ExternalPowerUnknown",
     {"external_power_requirement", "0"},
     {"external_power_requirement", "7"},
     false},
    {"ExternalPowerConnected", {}, {"external_power_connected", "true"}, true},
    {"ExternalPowerConnectedThoughNotNeeded",
     {"external_power_requirement", "0"},
     {"external_power_connected", "true"},
     false},
    {"SlotPower", {}, {"pcie_slot_power_watts", "3.5"}, true},
    {"PowerLimit", {}, {"power_limit_watts", "3.5"}, true},
    {"WarningTemperature", {}, {"temp_internal_warn_deg_c", "3.5"}, true},
    {"CriticalTemperature", {}, {"temp_setpoint_high_deg_c", "3.5"}, true},
    {"DriverVersion", {}, {"driver_version", "Other"}, true},
    {"Temperature", {}, {"temp_internal_deg_c", "51.75"}, true},
    {"SameTemperature", {}, {"temp_internal_deg_c", "51.7"}, false},
    {"State", {}, {"iom_state", "4"}, true},
    {"StateRemoved", {}, {"iom_state", "absent"}, true},
    {"StatesBothUnknown", {"iom_state", "8"}, {"iom_state", "9"}, true},
    {"MinimalModeReason", {"iom_state", "5"}, {"minimal_mode_reason", "1"}, true},
    {"MinimalModeReasonWithoutAName",
     {"iom_state", "5", "minimal_mode_reason", "1"},
     {"minimal_mode_reason", "0x40001"},
     true},
    {"MinimalModeReasonOfAnotherState", {}, {"minimal_mode_reason", "1"}, false},
    {"Throttling", {}, {"write_throttling_state", "1"}, true},
    {"ThrottlingUnknown", {}, {"write_throttling_state", "3"}, false},
    {"ThrottlingReason", {"write_throttling_state", "1"}, {"write_throttling_reason", "1"}, true},
    {"ThrottlingReasonWithoutThrottling", {}, {"write_throttling_reason", "1"}, false},
    {"FactorySize", {}, {"factory_size_bytes", "1048576"}, true},
    {"FirstUse", {}, {"first_use_ts", "1"}, true},
    {"FirstUseRemoved", {}, {"first_use_ts", "absent"}, true},
    {"Origin", {}, {"origin_ts", "1"}, true},
    {"ReserveWarning", {}, {"reserve_warning_threshold_percent", "11"}, true},
    {"ReserveWarningTruncated", {}, {"reserve_warning_threshold_percent", "10.9"}, false},
    {"ReserveSpace", {}, {"reserve_space_pct", "3"}, false},
    {"ReserveStatus", {}, {"reserve_status", "2"}, false},
    {"BytesWritten", {}, {"total_physical_bytes_written", "1"}, false},
    {"BytesRead", {}, {"total_physical_bytes_read", "1"}, false},
    {"WritesRemaining", {}, {"rated_writes_remaining_percent", "1"}, false},
    {"Endurance", {}, {"rated_endurance_tbytes", "1"}, false},
    {"SectorSize", {}, {"sector_size_bytes", "4096"}, true},
    {"SectorSizeRemoved", {}, {"sector_size_bytes", "absent"}, true},
    {"Size", {"iom_format_max_size_bytes", "absent"}, {"size_bytes", "1048576"}, true},
    {"SizeBelowALargerOne", {}, {"size_bytes", "1048576"}, false},
    {"LargestSize", {}, {"overformat_size_bytes", "1048576"}, true},
    {"LargestSizeWithoutOverformat",
     {"iom_format_disallow_overformat", "true"},
     {"iom_format_max_size_bytes", "1048576"},
     true},
    {"Overformat", {}, {"iom_format_disallow_overformat", "true"}, true},
    {"SmallestSector", {}, {"iom_format_min_sector_size_bytes", "1024"}, true},
    {"LargestSector", {}, {"iom_format_max_sector_size_bytes", "8192"}, true},
    {"LargestSectorOf512Removed",
     {"iom_format_max_sector_size_bytes", "512"},
     {"iom_format_max_sector_size_bytes", "absent"},
     false},
    {"LargestSectorOfAnotherSizeRemoved",
     {"iom_format_max_sector_size_bytes", "1024"},
     {"iom_format_max_sector_size_bytes", "absent"},
     true},
    {"SectorMultiplier", {}, {"iom_format_sector_size_multiplier", "1024"}, true},
    {"SectorMultiplierOfZero",
     {"iom_format_sector_size_multiplier", "1"},
     {"iom_format_sector_size_multiplier", "0"},
     false},
    {"SectorMultiplierOfOneRemoved",
     {"iom_format_sector_size_multiplier", "1"},
     {"iom_format_sector_size_multiplier", "absent"},
     false},
    {"SectorMultiplierOfTwoRemoved",
     {"iom_format_sector_size_multiplier", "2"},
     {"iom_format_sector_size_multiplier", "absent"},
     true},
    {"PowerOfTwoRemoved",
     {"iom_format_power_of_two_sector_size", "true"},
     {"iom_format_power_of_two_sector_size", "absent"},
     true},
    {"NoPowerOfTwoRemoved",
     {"iom_format_power_of_two_sector_size", "false"},
     {"iom_format_power_of_two_sector_size", "absent"},
     false},
    {"PowerOfTwo", {}, {"iom_format_power_of_two_sector_size", "false"}, true},
    {"FormattedSize", {}, {"iom_format_size_bytes", "1048576"}, true},
    {"FormattedPercent", {}, {"iom_format_size_pct", "80"}, true},
    {"ProductName", {}, {"product_name", "Other"}, true},
    {"ProductNameRemoved", {}, {"product_name", "absent"}, true},
    {"JobTimes", {}, {"attach_ms", "1", "format_ms", "1", "in_use", "true"}, false},
};

class EachField : public WorkerFixture, public testing::WithParamInterface<Field> {
 protected:
  void Apply(const Lines& settings) {
    for (std::size_t i = 0; i < settings.size(); i += 2) {
      if (settings[i + 1] == "absent") {
        m_Host.Cards().MakeAbsent("card0", settings[i]);
      } else {
        Set("card0", settings[i], settings[i + 1]);
      }
    }
  }
};

TEST_P(EachField, CountsAsAChangeIfExpected) {
  AddCards(1);
  Apply(GetParam().before);
  StartWatch();
  WaitForScans();
  ASSERT_THAT(Notifications(), IsEmpty());
  Apply(GetParam().after);
  WaitForScans();
  EXPECT_THAT(Notifications(), SizeIs(GetParam().counts ? 1 : 0));
  // The change is stored, so it counts once. Queued events would repeat the notification.
  m_Host.CollectEvents();
  WaitForScans();
  EXPECT_THAT(Notifications(), SizeIs(GetParam().counts ? 1 : 0));
}

INSTANTIATE_TEST_SUITE_P(Attributes, EachField, testing::ValuesIn(FIELDS),
                         [](const auto& test) { return std::string(test.param.name); });

// Compares records directly, because some members do not depend on a card's attributes.
template <class Record>
struct Member {
  const char* name;
  void (*change)(Record& record);
};

template <class Record>
void PrintTo(const Member<Record>& member, std::ostream* stream) {
  *stream << member.name;
}

#define MEMBER(Record, name, value)                         \
  {                                                         \
#name, [](Record & record) { record.m_##name = value; } \
  }

using AdapterMember = Member<CFusionIOAdapter>;
const AdapterMember ADAPTER_MEMBERS[] = {
    MEMBER(CFusionIOAdapter, ID, 7),
    MEMBER(CFusionIOAdapter, ObjectType, PI::OBJECT_PHYSICAL_DRIVE),
    MEMBER(CFusionIOAdapter, CardIndex, 7),
    MEMBER(CFusionIOAdapter, GlobalNumber, 7),
    MEMBER(CFusionIOAdapter, Vendor, "x"),
    MEMBER(CFusionIOAdapter, BoardName, "x"),
    MEMBER(CFusionIOAdapter, Model, "x"),
    MEMBER(CFusionIOAdapter, Name, "x"),
    MEMBER(CFusionIOAdapter, Location, "x"),
    MEMBER(CFusionIOAdapter, SerialNumber, "x"),
    MEMBER(CFusionIOAdapter, DriverName, "x"),
    MEMBER(CFusionIOAdapter, DriverVersion, "x"),
    MEMBER(CFusionIOAdapter, FirmwareVersion, "x"),
    MEMBER(CFusionIOAdapter, DevicePath, "x"),
    MEMBER(CFusionIOAdapter, PciSegment, 7),
    MEMBER(CFusionIOAdapter, PciBus, 7),
    MEMBER(CFusionIOAdapter, PciDevice, 7),
    MEMBER(CFusionIOAdapter, PciFunction, 7),
    MEMBER(CFusionIOAdapter, PciSlot, 7),
    MEMBER(CFusionIOAdapter, InfoFlags, 7),
    MEMBER(CFusionIOAdapter, WarningFlags, 7),
    MEMBER(CFusionIOAdapter, ErrorFlags, 7),
    MEMBER(CFusionIOAdapter, IomState, 7),
    MEMBER(CFusionIOAdapter, FactorySizeMiB, 7),
    MEMBER(CFusionIOAdapter, MinimalModeReason, 7),
    MEMBER(CFusionIOAdapter, Temperature, 7),
    MEMBER(CFusionIOAdapter, Status, 7),
    MEMBER(CFusionIOAdapter, Activity, 7),
    {"StatusReasonsMore",
     [](CFusionIOAdapter& each) {
       each.m_StatusReasons = {1, 2, 3};
     }},
    {"StatusReasonsFewer", [](CFusionIOAdapter& each) { each.m_StatusReasons = {1}; }},
    {"StatusReasonsOther",
     [](CFusionIOAdapter& each) {
       each.m_StatusReasons = {1, 3};
     }},
    {"StatusReasonsReordered",
     [](CFusionIOAdapter& each) {
       each.m_StatusReasons = {2, 1};
     }},
    MEMBER(CFusionIOAdapter, HasBeacon, true),
    MEMBER(CFusionIOAdapter, BeaconFlag, true),
    MEMBER(CFusionIOAdapter, WriteThrottling, 7),
    MEMBER(CFusionIOAdapter, FirstUseMs, 7),
    MEMBER(CFusionIOAdapter, OriginMs, 7),
    MEMBER(CFusionIOAdapter, SpareStatus, 7),
    MEMBER(CFusionIOAdapter, ReserveWarningPercent, 7),
    MEMBER(CFusionIOAdapter, ExternalPower, 7),
    MEMBER(CFusionIOAdapter, ExternalPowerConnected, true),
    MEMBER(CFusionIOAdapter, SlotPowerWatts, 7),
    MEMBER(CFusionIOAdapter, PowerLimitWatts, 7),
    MEMBER(CFusionIOAdapter, TempWarnDegC, 7),
    MEMBER(CFusionIOAdapter, TempSetpointDegC, 7),
};
const AdapterMember UNCOMPARED_ADAPTER_MEMBERS[] = {
    {"Parents", [](CFusionIOAdapter& each) { each.m_Parents = {7}; }},
    {"Children", [](CFusionIOAdapter& each) { each.m_Children = {7}; }},
    MEMBER(CFusionIOAdapter, ChangeCount, 7),
    MEMBER(CFusionIOAdapter, Locked, true),
    {"FlagHistoryIndex", [](CFusionIOAdapter& each) { each.m_FlagHistoryIndex.m_Value = 2; }},
    {"ErrorHistory", [](CFusionIOAdapter& each) { each.m_ErrorHistory.m_Value[1] = 7; }},
    {"WarningHistory", [](CFusionIOAdapter& each) { each.m_WarningHistory.m_Value[1] = 7; }},
    {"InfoHistory", [](CFusionIOAdapter& each) { each.m_InfoHistory.m_Value[1] = 7; }},
};

using DriveMember = Member<CFusionIOPhysicalDrive>;
const DriveMember DRIVE_MEMBERS[] = {
    MEMBER(CFusionIOPhysicalDrive, ID, 7),
    MEMBER(CFusionIOPhysicalDrive, ObjectType, 7),
    MEMBER(CFusionIOPhysicalDrive, CardIndex, 7),
    MEMBER(CFusionIOPhysicalDrive, GlobalNumber, 7),
    MEMBER(CFusionIOPhysicalDrive, SerialNumber, "x"),
    MEMBER(CFusionIOPhysicalDrive, Vendor, "x"),
    MEMBER(CFusionIOPhysicalDrive, Product, "x"),
    MEMBER(CFusionIOPhysicalDrive, Reserved, "x"),
    MEMBER(CFusionIOPhysicalDrive, Name, "x"),
    MEMBER(CFusionIOPhysicalDrive, Location, "x"),
    MEMBER(CFusionIOPhysicalDrive, DevicePath, "x"),
    MEMBER(CFusionIOPhysicalDrive, State, 7),
    MEMBER(CFusionIOPhysicalDrive, SectorSize, 7),
    MEMBER(CFusionIOPhysicalDrive, MinSectorSize, 7),
    MEMBER(CFusionIOPhysicalDrive, MaxSectorSize, 7),
    MEMBER(CFusionIOPhysicalDrive, SectorSizeMultiplier, 7),
    MEMBER(CFusionIOPhysicalDrive, FormattedSizeMiB, 7),
    MEMBER(CFusionIOPhysicalDrive, FormattedPercent, 7),
    MEMBER(CFusionIOPhysicalDrive, FactorySizeMiB, 7),
    MEMBER(CFusionIOPhysicalDrive, ConfigurableSizeMiB, 7),
    MEMBER(CFusionIOPhysicalDrive, OverformatAllowed, false),
    MEMBER(CFusionIOPhysicalDrive, DriveFlag, true),
    MEMBER(CFusionIOPhysicalDrive, PowerOfTwoSectors, true),
};
const DriveMember UNCOMPARED_DRIVE_MEMBERS[] = {
    {"Parents", [](CFusionIOPhysicalDrive& each) { each.m_Parents = {7}; }},
    {"Children", [](CFusionIOPhysicalDrive& each) { each.m_Children = {7}; }},
    MEMBER(CFusionIOPhysicalDrive, ChangeCount, 7),
    MEMBER(CFusionIOPhysicalDrive, Locked, true),
};
#undef MEMBER

template <class Record>
void ExpectDiffer(const Member<Record>& member, Record stored, bool differ) {
  Record scanned = stored;
  ASSERT_FALSE(Differ(stored, scanned));
  member.change(scanned);
  EXPECT_EQ(Differ(stored, scanned), differ) << member.name;
  EXPECT_EQ(Differ(scanned, stored), differ) << member.name;
}

TEST(RecordComparison, ComparesTheseMembersOfAdapters) {
  CFusionIOAdapter stored;
  stored.m_StatusReasons = {1, 2};
  for (const AdapterMember& member : ADAPTER_MEMBERS) ExpectDiffer(member, stored, true);
}

TEST(RecordComparison, IgnoresTheseMembersOfAdapters) {
  for (const AdapterMember& member : UNCOMPARED_ADAPTER_MEMBERS) {
    ExpectDiffer(member, CFusionIOAdapter(), false);
  }
}

TEST(RecordComparison, ComparesTheseMembersOfDrives) {
  for (const DriveMember& member : DRIVE_MEMBERS) {
    ExpectDiffer(member, CFusionIOPhysicalDrive(), true);
  }
}

TEST(RecordComparison, IgnoresTheseMembersOfDrives) {
  for (const DriveMember& member : UNCOMPARED_DRIVE_MEMBERS) {
    ExpectDiffer(member, CFusionIOPhysicalDrive(), false);
  }
}

TEST(RecordComparison, TreatsANaNTemperatureAsAChange) {
  CFusionIOAdapter stored;
  stored.m_Temperature = std::numeric_limits<float>::quiet_NaN();
  const CFusionIOAdapter scanned = stored;
  EXPECT_TRUE(Differ(stored, scanned));
}

TEST(RecordComparison, DistinguishesAdjacentFloatsButNotTheSignOfZero) {
  CFusionIOAdapter stored;
  CFusionIOAdapter scanned;
  scanned.m_SlotPowerWatts = -0.0F;
  EXPECT_FALSE(Differ(stored, scanned));
  stored.m_SlotPowerWatts = 1.0F;
  scanned.m_SlotPowerWatts = 1.00000012F;
  EXPECT_TRUE(Differ(stored, scanned));
}

}  // namespace
}  // namespace CorvaneTest
