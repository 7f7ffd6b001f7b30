// The attributes that a scan reads into an adapter, and the values for absent attributes.

#include <gmock/gmock.h>

#include "tests/plugin/ScanView.h"
#include "tests/support/Numbers.h"

namespace CorvaneTest {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

namespace Property = PI::Property;

constexpr const char* NONE = nullptr;  // the attribute is absent

// An attribute and the property that it determines.
struct FieldCase {
  PI::_PROPERTY_ID property;
  const char* attribute;
  const char* value;
  const char* shown;
};

constexpr FieldCase FIELD_CASES[] = {
    // property, attribute, value, shown
    {Property::PRODUCT, "board_name", "A Board", "A Board"},
    {Property::PRODUCT, "board_name", "\"\"", ""},
    {Property::PRODUCT, "board_name", NONE, ""},
    {Property::SERIAL_NUMBER, "serial_number", "X-1", "X-1"},
    {Property::SERIAL_NUMBER, "serial_number", "\"\"", ""},
    {Property::DRIVER_VERSION, "driver_version", "9.8 beta", "9.8 beta"},
    {Property::DRIVER_VERSION, "driver_version", "\"\"", "absent"},
    {Property::DRIVER_VERSION, "driver_version", NONE, "absent"},
    {Property::PCI_SLOT, "pci_slot_num", "0", "0"},
    {Property::PCI_SLOT, "pci_slot_num", "255", "255"},
    {Property::PCI_SLOT, "pci_slot_num", NONE, "absent"},
    {Property::CHIP_TEMPERATURE, "temp_internal_deg_c", "51.5", "51.5"},
    {Property::CHIP_TEMPERATURE, "temp_internal_deg_c", "-3.5", "-3.5"},
    {Property::CHIP_TEMPERATURE, "temp_internal_deg_c", NONE, "0"},
    {Property::HIGH_WARNING_TEMPERATURE, "temp_internal_warn_deg_c", "77.5", "77.5"},
    {Property::HIGH_WARNING_TEMPERATURE, "temp_internal_warn_deg_c", "0", "absent"},
    {Property::HIGH_WARNING_TEMPERATURE, "temp_internal_warn_deg_c", NONE, "absent"},
    {Property::HIGH_CRITICAL_TEMPERATURE, "temp_setpoint_high_deg_c", "84.5", "84.5"},
    {Property::HIGH_CRITICAL_TEMPERATURE, "temp_setpoint_high_deg_c", NONE, "absent"},
    {Property::SLOT_POWER, "pcie_slot_power_watts", "14.5", "14.5"},
    {Property::SLOT_POWER, "pcie_slot_power_watts", NONE, "absent"},
    {Property::POWER_LIMIT, "power_limit_watts", "24.75", "24.75"},
    {Property::POWER_LIMIT, "power_limit_watts", NONE, "absent"},
    {Property::MEMORY_SIZE, "factory_size_bytes", "0", "0"},
    {Property::MEMORY_SIZE, "factory_size_bytes", "1048575", "0"},
    {Property::MEMORY_SIZE, "factory_size_bytes", "1048576", "1"},
    {Property::MEMORY_SIZE, "factory_size_bytes", "3145727", "2"},
    {Property::MEMORY_SIZE, "factory_size_bytes", "18446744073709551615", "17592186044415"},
    {Property::MEMORY_SIZE, "factory_size_bytes", NONE, "0"},
    {Property::MANUFACTURE_DATE, "origin_ts", "0", "1970-01-01 00:00"},
    {Property::MANUFACTURE_DATE, "origin_ts", "951826259", "2000-02-29 12:10"},
    {Property::MANUFACTURE_DATE, "origin_ts", NONE, "absent"},
    {Property::ESTIMATED_LIFETIME, "first_use_ts", NONE, "absent"},
    {Property::RESERVE_WARNING_THRESHOLD, "reserve_warning_threshold_percent", "10.9", "10"},
    {Property::RESERVE_WARNING_THRESHOLD, "reserve_warning_threshold_percent", "0.9", "0"},
    {Property::RESERVE_WARNING_THRESHOLD, "reserve_warning_threshold_percent", "-3.9", "-3"},
    {Property::RESERVE_WARNING_THRESHOLD, "reserve_warning_threshold_percent", NONE, "1"},
    {Property::EXTERNAL_POWER_REQUIREMENT, "external_power_requirement", "0", "NONE"},
    {Property::EXTERNAL_POWER_REQUIREMENT, "external_power_requirement", "1", "OPTIONAL"},
    {Property::EXTERNAL_POWER_REQUIREMENT, "external_power_requirement", "2", "REQUIRED"},
    {Property::EXTERNAL_POWER_REQUIREMENT, "external_power_requirement", "3", "NONE"},
    {Property::EXTERNAL_POWER_REQUIREMENT, "external_power_requirement", "4294967295", "NONE"},
    {Property::EXTERNAL_POWER_REQUIREMENT, "external_power_requirement", NONE, "NONE"},
};

class ScanField : public testing::TestWithParam<FieldCase> {};

TEST_P(ScanField, IsShown) {
  const FieldCase& each = GetParam();
  ScannedCard card;
  if (each.value == NONE) {
    card.Without(each.attribute);
  } else {
    card.Set(each.attribute, each.value);
  }
  ASSERT_EQ(card.Scan(), 0U);
  EXPECT_EQ(card.Adapter(each.property), each.shown);
  EXPECT_THAT(CardSim::Misuse(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Fields, ScanField, testing::ValuesIn(FIELD_CASES), [](const auto& each) {
  return std::string(each.param.attribute) + "_" + std::to_string(each.index);
});

TEST(ScanFields, AreTheSameForEveryCard) {
  ScannedCard card;
  ASSERT_EQ(card.Scan(), 0U);
  EXPECT_EQ(card.Adapter(Property::VENDOR), "SanDisk");
  EXPECT_EQ(card.Adapter(Property::OS_DEVICE), "/dev/fct0");
  EXPECT_EQ(card.Adapter(Property::ADAPTER_NUMBER), "0");
}

TEST(ScanFields, ShowALifetimeIfTheFirstUseIsKnown) {
  ScannedCard card;
  ASSERT_EQ(card.Scan(), 0U);
  EXPECT_NE(card.Adapter(Property::ESTIMATED_LIFETIME), "absent");
}

// A card without a serial number is not counted, but the attribute can disappear before the scan.
TEST(ScanFields, ShowADisappearedSerialNumberAsEmpty) {
  ScannedCard card;
  CardSim::SetHook([&](const CardSim::Call& call) {
    if (call.function == "vsl_open") card.Without("serial_number");
  });
  ASSERT_EQ(card.Scan(), 0U);
  EXPECT_EQ(card.Adapter(Property::SERIAL_NUMBER), "");
}

TEST(ScanFields, ShowAPowerLimitOnlyWithThePcieAdapter) {
  ScannedCard card;
  CardSim::FailCall("vsl_adapter_create", 1, 12, "busy");
  ASSERT_EQ(card.Scan(), 0U);
  EXPECT_EQ(card.Adapter(Property::POWER_LIMIT), "absent");
  EXPECT_EQ(card.Adapter(Property::SLOT_POWER), "14.8");
  for (const std::string& line : card.Host().Traces(16))
    EXPECT_THAT(line, Not(testing::HasSubstr("busy")));
}

// Firmware.

struct FirmwareCase {
  const char* name;
  const char* missing;  // one of the four parts, or null
  bool hasString;
  const char* shown;
};

TEST(ScanFirmware, IsBuiltFromItsPartsOrTheCardsString) {
  const FirmwareCase cases[] = {
      // name, missing part, whether there is a string, shown
      {"all parts", NONE, true, "6.3.11 (10957)"},
      {"all parts, no string", NONE, false, "6.3.11 (10957)"},
      {"no major", "fw_current_major_ver", true, "v6.3.11"},
      {"no minor", "fw_current_minor_ver", true, "v6.3.11"},
      {"no micro", "fw_current_micro_ver", true, "v6.3.11"},
      {"no revision", "fw_current_revision", true, "v6.3.11"},
      {"neither", "fw_current_revision", false, "absent"},
  };
  for (const FirmwareCase& each : cases) {
    SCOPED_TRACE(each.name);
    ScannedCard card;
    if (each.missing != NONE) card.Without(each.missing);
    if (!each.hasString) card.Without("fw_current_version");
    ASSERT_EQ(card.Scan(), 0U);
    EXPECT_EQ(card.Adapter(Property::FIRMWARE_VERSION), each.shown);
  }
}

TEST(ScanFirmware, KeepsTheSignOfItsParts) {
  ScannedCard card;
  card.Set("fw_current_major_ver", "2147483647").Set("fw_current_minor_ver", "0");
  card.Set("fw_current_micro_ver", "-1").Set("fw_current_revision", "-2147483648");
  ASSERT_EQ(card.Scan(), 0U);
  EXPECT_EQ(card.Adapter(Property::FIRMWARE_VERSION), "2147483647.0.-1 (-2147483648)");
}

TEST(ScanFirmware, StopsAtTheFirstMissingPart) {
  ScannedCard card;
  card.Without("fw_current_minor_ver");
  ASSERT_EQ(card.Scan(), 0U);
  EXPECT_THAT(
      StartingWith(card.Host().Calls(), "vsl_has_fw_"),
      ElementsAre("vsl_has_fw_current_major_ver card#1", "vsl_has_fw_current_minor_ver card#1",
                  "vsl_has_fw_current_version card#1"));
  EXPECT_THAT(StartingWith(card.Host().Calls(), "vsl_fw_"),
              ElementsAre("vsl_fw_current_version card#1"));
}

// External power.

struct ConnectorCase {
  const char* requirement;
  const char* connected;
  const char* shown;
  int reads;
};

TEST(ScanExternalPower, ConnectionIsReadOnlyIfPowerIsOptionalOrRequired) {
  const ConnectorCase cases[] = {
      // requirement, connected, shown, number of reads
      {"1", "true", "true", 1},   {"1", "false", "false", 1},  {"1", NONE, "false", 1},
      {"2", "true", "true", 1},   {"2", NONE, "false", 1},     {"0", "true", "absent", 0},
      {"3", "true", "absent", 0}, {NONE, "true", "absent", 0},
  };
  for (const ConnectorCase& each : cases) {
    ScannedCard card;
    each.requirement == NONE ? card.Without("external_power_requirement")
                             : card.Set("external_power_requirement", each.requirement);
    each.connected == NONE ? card.Without("external_power_connected")
                           : card.Set("external_power_connected", each.connected);
    ASSERT_EQ(card.Scan(), 0U);
    EXPECT_EQ(Count(card.Host().Calls(), "vsl_has_external_power_connected card#1"), each.reads);
    EXPECT_EQ(card.Adapter(Property::EXTERNAL_POWER_CONNECTED), each.shown);
  }
}

// The three attributes that a scan traces.

TEST(ScanLifetimeAttributes, AreTracedInMilliseconds) {
  ScannedCard card;
  card.Set("first_use_ts", "1").Set("origin_ts", "1331035200");
  card.Set("reserve_warning_threshold_percent", "12.75");
  ASSERT_EQ(card.Scan(), 0U);
  EXPECT_THAT(StartingWith(TracesWithLevel(card.Host()), "16 ScanSystem, "),
              ElementsAre("16 ScanSystem, vsl_has_first_use_ts = 1000",
                          "16 ScanSystem, vsl_has_origin_ts = 1331035200000",
                          "16 ScanSystem, vsl_has_reserve_warning_threshold_percent = 12"));
}

TEST(ScanLifetimeAttributes, AreNotTracedWhenTheyAreAbsent) {
  ScannedCard card;
  card.Without("first_use_ts").Without("origin_ts").Without("reserve_warning_threshold_percent");
  ASSERT_EQ(card.Scan(), 0U);
  EXPECT_THAT(StartingWith(card.Host().Traces(), "ScanSystem, "), IsEmpty());
}

// The locate LED.

TEST(ScanLocateLED, IsSwitchedOffAtStartup) {
  ScannedCard card;
  card.Set("beacon_state", "true");
  ASSERT_EQ(card.Scan(), 0U);
  EXPECT_EQ(card.Host().Cards().Get(card.Name(), "beacon_state"), "false");
}

TEST(ScanLocateLED, DoesNotFailTheScan) {
  ScannedCard card;
  card.Set("beacon_state", "true");
  CardSim::FailCall("vsl_set_beacon_state", 1, 12, "stuck");
  ASSERT_EQ(card.Scan(), 0U);
  EXPECT_EQ(card.Host().Cards().Get(card.Name(), "beacon_state"), "true");
  EXPECT_EQ(card.Host().Operations(card.Host().AdapterId(0)).size(), 4U);
}

TEST(ScanLocateLED, DecidesWhetherLocateIsListed) {
  ScannedCard card;
  card.Without("beacon_state");
  ASSERT_EQ(card.Scan(), 0U);
  EXPECT_THAT(StartingWith(card.Host().Calls(), "vsl_set_beacon_state"), IsEmpty());
  std::vector<std::uint32_t> offered;
  for (const PI::COperation& operation : card.Host().Operations(card.Host().AdapterId(0))) {
    offered.push_back(operation.m_OperationID);
  }
  EXPECT_THAT(offered, ElementsAre(Number::OP_ATTACH, Number::OP_DETACH));
}

}  // namespace
}  // namespace CorvaneTest
