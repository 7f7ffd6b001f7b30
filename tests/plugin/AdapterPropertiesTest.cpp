// An adapter's properties as the host reads them: the complete list, and the format and condition
// of each row.

#include <gmock/gmock.h>

#include "tests/plugin/AdapterRows.h"
#include "tests/support/Numbers.h"
#include "tests/support/OneCard.h"

namespace CorvaneTest {
namespace {

namespace Property = PI::Property;

using testing::ElementsAreArray;
using testing::IsEmpty;

std::vector<int> ChoicesOf(const PI::CProperty& property) {
  if (property.m_ValueType == 3) return property.m_Value.m_Choice.m_Allowed;
  if (property.m_ValueType == 6) return property.m_Value.m_MultiValue.m_Allowed;
  return {};
}

TEST(AdapterProperties, AreListedInTheOrderOfTheTable) {
  OneCard host(FULL_CARD);
  ASSERT_EQ(host.Start(), 0U);
  EXPECT_THAT(host.Rows(OneCard::ADAPTER), ElementsAreArray(ALL_ROWS)) << kListsOfRows;
}

TEST(AdapterProperties, HaveTheExpectedNumbers) {
  OneCard host(FULL_CARD);
  ASSERT_EQ(host.Start(), 0U);
  const std::vector<PI::CProperty> properties = host.Properties(OneCard::ADAPTER);
  ASSERT_EQ(properties.size(), std::size(ALL_NUMBERS)) << kListsOfRows;
  for (std::size_t i = 0; i < properties.size(); ++i) {
    SCOPED_TRACE(ALL_ROWS[i]);
    EXPECT_EQ(properties[i].m_PropertyID, ALL_NUMBERS[i].property);
    EXPECT_EQ(properties[i].m_ValueType, ALL_NUMBERS[i].valueType);
    EXPECT_EQ(properties[i].m_NameID, ALL_NUMBERS[i].label);
    EXPECT_EQ(ChoicesOf(properties[i]), ALL_NUMBERS[i].choices);
    EXPECT_FALSE(properties[i].m_Writable);
  }
}

TEST(AdapterProperties, AreTheSameInSingleReads) {
  OneCard host(FULL_CARD);
  ASSERT_EQ(host.Start(), 0U);
  for (std::size_t i = 0; i < std::size(ALL_NUMBERS); ++i) {
    EXPECT_EQ(host.Row(OneCard::ADAPTER, ALL_NUMBERS[i].property), ALL_ROWS[i]);
  }
}

TEST(AdapterProperties, ShowOnlyRecordedRowsOfACardThatCannotBeOpened) {
  OneCard host(FULL_CARD);
  ASSERT_EQ(host.Start(), 0U);
  std::vector<std::string> others;
  for (std::size_t i = 0; i < std::size(ALL_NUMBERS); ++i) {
    if (LIVE.count(ALL_NUMBERS[i].property) == 0) others.push_back(ALL_ROWS[i]);
  }
  for (const char* function : {"vsl_iom_create_by_name", "vsl_open"}) {
    SCOPED_TRACE(function);
    CardSim::FailCall(function, 1, 5, "unavailable");
    EXPECT_THAT(host.Rows(OneCard::ADAPTER), ElementsAreArray(others));
    for (std::size_t i = 0; i < std::size(ALL_NUMBERS); ++i) {
      const std::uint32_t property = ALL_NUMBERS[i].property;
      CardSim::FailCall(function, 1, 5, "unavailable");
      EXPECT_EQ(host.Row(OneCard::ADAPTER, property),
                LIVE.count(property) == 0 ? ALL_ROWS[i] : "result ERR_GENERAL");
    }
  }
}

// The selector for all properties is not a property itself: a single read with it returns the first
// row.
TEST(AdapterProperties, ReturnTheFirstForTheAllSelector) {
  OneCard host(FULL_CARD);
  ASSERT_EQ(host.Start(), 0U);
  EXPECT_EQ(host.Row(OneCard::ADAPTER, 1), R"~(NAME = "SanDisk Flash Board (1)" (sort 23081))~");
}

TEST(AdapterProperties, ExcludeThoseOfOtherObjects) {
  OneCard host(FULL_CARD);
  ASSERT_EQ(host.Start(), 0U);
  // Plug-in, drive and parameter properties, low numbers, short names, values, and an unassigned
  // number.
  for (const std::uint32_t property :
       {0U, 2U, 3U, Number::Property::VENDOR_API_VERSION, Number::Property::POLL_INTERVAL,
        Number::Property::TYPE, Number::Property::PHYSICAL_SIZE,
        Number::Property::CONFIGURABLE_SIZE, Number::Property::VERSION,
        Number::Property::RANGE_PARAM, Number::Property::PORT_NUMBER, Number::Property::BLOCK_SIZE,
        Number::Property::FORMATTED_SIZE, std::uint32_t{PI::ShortName::BUS},
        std::uint32_t{PI::Value::OK}, 4294967295U}) {
    EXPECT_EQ(host.Row(OneCard::ADAPTER, property), "result ERR_GENERAL") << property;
  }
}

TEST(AdapterProperties, ReplaceThePreviousContentsOfTheList) {
  OneCard host(FULL_CARD);
  ASSERT_EQ(host.Start(), 0U);
  std::vector<PI::CProperty> list(3, PI::CProperty(Property::VERSION, true));
  EXPECT_EQ(host.Execute(PI::CMD_GET_PROPERTIES, OneCard::ADAPTER, &list), 0U);
  EXPECT_THAT(RenderAll(list), ElementsAreArray(ALL_ROWS));
}

TEST(AdapterProperties, CannotBeWritten) {
  OneCard host(FULL_CARD);
  ASSERT_EQ(host.Start(), 0U);
  host.ClearCalls();
  for (const RowNumbers& row : ALL_NUMBERS) {
    PI::CProperty property(static_cast<PI::_PROPERTY_ID>(row.property), true);
    property.SetValue(std::string("other"));
    EXPECT_EQ(host.Execute(PI::CMD_SET_PROPERTY, OneCard::ADAPTER, &property),
              Number::ERR_INVALID_PROPERTY)
        << row.property;
  }
  PI::CProperty interval(Property::POLL_INTERVAL, true);
  EXPECT_EQ(host.Execute(PI::CMD_SET_PROPERTY, OneCard::ADAPTER, &interval),
            Number::ERR_INVALID_PROPERTY);
  EXPECT_THAT(host.Calls(), IsEmpty());
  EXPECT_THAT(host.Rows(OneCard::ADAPTER), ElementsAreArray(ALL_ROWS));
}

TEST(AdapterProperties, ShowTheNumberOfTheSecondCard) {
  OneCard host;
  host.AddCard(0x3001);
  ASSERT_EQ(host.Start(), 0U);
  const std::uint64_t second = host.AdapterId(1);
  EXPECT_EQ(host.Row(second, Property::ADAPTER_NUMBER),
            "ADAPTER_NUMBER = 1 (label ID, sort 23003)");
  EXPECT_EQ(host.Row(second, Property::NAME), R"~(NAME = "MOLT EP PX600 (2)" (sort 23081))~");
  EXPECT_EQ(host.Row(second, Property::OS_DEVICE), R"(OS_DEVICE = "/dev/fct1" (sort 23090))");
  EXPECT_EQ(host.Row(second, Property::DRIVER_NAME),
            R"(DRIVER_NAME = "iomemory_vsl4" (sort 23041))");
}

TEST(AdapterProperties, HaveAnEmptyNameUntilTheHostAssignsANumber) {
  OneCard host;
  ASSERT_EQ(host.Initialize(), 0U);
  EXPECT_EQ(host.Row(OneCard::ADAPTER, Property::NAME), R"(NAME = "" (sort 23081))");
}

// A card of an unknown family that has no segment attribute has an unknown segment.
TEST(AdapterProperties, ShowAnUnknownSegment) {
  OneCard host;
  const std::string unknown = host.AddCard(0x4242);
  host.Cards().MakeAbsent(unknown, "pci_domain");
  ASSERT_EQ(host.Initialize(), 0U);
  const std::uint64_t second = host.AdapterId(1);
  const std::string row = "PCI_SEGMENT = 18446744073709551615 (label SEGMENT, sort 23134)";
  EXPECT_EQ(host.Row(second, Property::PCI_SEGMENT), row);
  EXPECT_EQ(host.RowInList(second, Property::PCI_SEGMENT), row);
  EXPECT_EQ(host.Row(second, Property::DRIVER_NAME), R"(DRIVER_NAME = "" (sort 23041))");
  EXPECT_EQ(host.Row(second, Property::PRODUCT), R"(PRODUCT = "" (sort 23102))");
}

// The expected row, both in the list and in a single read; "result ERR_GENERAL" if the row is
// absent.
struct Case {
  const char* name;
  Settings settings;
  std::uint32_t property;
  const char* row;
};

void PrintTo(const Case& value, std::ostream* out) {
  *out << value.name;
}

class AdapterRow : public testing::TestWithParam<Case> {};

TEST_P(AdapterRow, IsTheSameInTheListAndInASingleRead) {
  OneCard host(GetParam().settings);
  ASSERT_EQ(host.Initialize(), 0U);
  EXPECT_EQ(host.Row(OneCard::ADAPTER, GetParam().property), GetParam().row);
  EXPECT_EQ(host.RowInList(OneCard::ADAPTER, GetParam().property), GetParam().row);
  EXPECT_THAT(CardSim::Misuse(), IsEmpty());
}

std::string NameOfCase(const testing::TestParamInfo<Case>& info) {
  return info.param.name;
}

const char* const ABSENT = "result ERR_GENERAL";

INSTANTIATE_TEST_SUITE_P(
    Identity, AdapterRow,
    testing::Values(
        Case{"NoSlot", {{"pci_slot_num", nullptr}}, Property::PCI_SLOT, ABSENT},
        Case{"SlotZero",
             {{"pci_slot_num", "0"}},
             Property::PCI_SLOT,
             "PCI_SLOT = 0 (label SLOT, sort 23139)"},
        Case{"SlotLargest",
             {{"pci_slot_num", "255"}},
             Property::PCI_SLOT,
             "PCI_SLOT = 255 (label SLOT, sort 23139)"},
        Case{"SegmentZero",
             {{"pci_domain", "0"}},
             Property::PCI_SEGMENT,
             "PCI_SEGMENT = 0 (label SEGMENT, sort 23134)"},
        Case{"SegmentLargest",
             {{"pci_domain", "65535"}},
             Property::PCI_SEGMENT,
             "PCI_SEGMENT = 65535 (label SEGMENT, sort 23134)"},
        Case{"LocationWithoutSegment",
             {{"pci_domain", "0"}},
             Property::UNIQUE_ID,
             R"(UNIQUE_ID = "PCI:Bus=3&Device=0&Function=0" (visible 0))"},
        Case{"NoBus",
             {{"pci_bus", nullptr}},
             Property::PCI_BUS,
             "PCI_BUS = 0 (label BUS, sort 23132)"},
        Case{"NoBoardName",
             {{"board_name", nullptr}},
             Property::PRODUCT,
             R"(PRODUCT = "" (sort 23102))"},
        Case{"EmptySerialNumber",
             {{"serial_number", "\"\""}},
             Property::SERIAL_NUMBER,
             R"(SERIAL_NUMBER = "" (sort 23116))"},
        Case{"NoDriverVersion", {{"driver_version", nullptr}}, Property::DRIVER_VERSION, ABSENT},
        Case{"EmptyDriverVersion", {{"driver_version", "\"\""}}, Property::DRIVER_VERSION, ABSENT},
        Case{"FirmwareAsOneString",
             {{"fw_current_revision", nullptr}, {"fw_current_version", "v6.3.11"}},
             Property::FIRMWARE_VERSION,
             R"(FIRMWARE_VERSION = "v6.3.11" (sort 23051))"},
        Case{"NoFirmware",
             {{"fw_current_major_ver", nullptr}, {"fw_current_version", nullptr}},
             Property::FIRMWARE_VERSION,
             ABSENT},
        Case{"EmptyFirmware",
             {{"fw_current_major_ver", nullptr}, {"fw_current_version", "\"\""}},
             Property::FIRMWARE_VERSION,
             ABSENT},
        Case{"NoSize",
             {{"factory_size_bytes", nullptr}},
             Property::MEMORY_SIZE,
             "MEMORY_SIZE = 0 (sort 23078, unit 21002)"},
        Case{"SizeBelowOneMiB",
             {{"factory_size_bytes", "1048575"}},
             Property::MEMORY_SIZE,
             "MEMORY_SIZE = 0 (sort 23078, unit 21002)"}),
    NameOfCase);

INSTANTIATE_TEST_SUITE_P(
    Measurements, AdapterRow,
    testing::Values(
        Case{"NoTemperature",
             {{"temp_internal_deg_c", nullptr}},
             Property::CHIP_TEMPERATURE,
             "CHIP_TEMPERATURE = 0f (sort 23024, unit 21000, format 8)"},
        Case{"BelowZero",
             {{"temp_internal_deg_c", "-12.5"}},
             Property::CHIP_TEMPERATURE,
             "CHIP_TEMPERATURE = -12.5f (sort 23024, unit 21000, format 8)"},
        Case{"NoSlotPower", {{"pcie_slot_power_watts", nullptr}}, Property::SLOT_POWER, ABSENT},
        Case{"SlotPowerZero", {{"pcie_slot_power_watts", "0.0"}}, Property::SLOT_POWER, ABSENT},
        Case{
            "SlotPowerNegative", {{"pcie_slot_power_watts", "-1.5"}}, Property::SLOT_POWER, ABSENT},
        Case{"SlotPowerTiny",
             {{"pcie_slot_power_watts", "0.125"}},
             Property::SLOT_POWER,
             "SLOT_POWER = 0.125f (sort 23118, unit 21028, format 16)"},
        Case{"NoPowerLimit", {{"power_limit_watts", nullptr}}, Property::POWER_LIMIT, ABSENT},
        Case{"PowerLimitZero", {{"power_limit_watts", "0.0"}}, Property::POWER_LIMIT, ABSENT},
        Case{"PowerLimitNegative", {{"power_limit_watts", "-0.5"}}, Property::POWER_LIMIT, ABSENT},
        Case{"NoWarningTemperature",
             {{"temp_internal_warn_deg_c", nullptr}},
             Property::HIGH_WARNING_TEMPERATURE,
             ABSENT},
        Case{"WarningTemperatureZero",
             {{"temp_internal_warn_deg_c", "0.0"}},
             Property::HIGH_WARNING_TEMPERATURE,
             ABSENT},
        Case{"WarningTemperatureNegative",
             {{"temp_internal_warn_deg_c", "-40.0"}},
             Property::HIGH_WARNING_TEMPERATURE,
             ABSENT},
        Case{"NoCriticalTemperature",
             {{"temp_setpoint_high_deg_c", nullptr}},
             Property::HIGH_CRITICAL_TEMPERATURE,
             ABSENT},
        Case{"CriticalTemperatureZero",
             {{"temp_setpoint_high_deg_c", "0.0"}},
             Property::HIGH_CRITICAL_TEMPERATURE,
             ABSENT},
        Case{"CriticalTemperatureNegative",
             {{"temp_setpoint_high_deg_c", "-1.0"}},
             Property::HIGH_CRITICAL_TEMPERATURE,
             ABSENT},
        Case{"NoExternalPowerNeeded",
             {{"external_power_requirement", "0"}},
             Property::EXTERNAL_POWER_REQUIREMENT,
             "EXTERNAL_POWER_REQUIREMENT = NONE of [NONE OPTIONAL REQUIRED] (sort 23047)"},
        Case{"NoExternalPowerConnected",
             {{"external_power_requirement", "0"}, {"external_power_connected", "true"}},
             Property::EXTERNAL_POWER_CONNECTED,
             ABSENT},
        Case{"ExternalPowerAbsent",
             {{"external_power_requirement", nullptr}},
             Property::EXTERNAL_POWER_CONNECTED,
             ABSENT},
        Case{"ExternalPowerUnknown",
             {{"external_power_requirement", "3"}},
             Property::EXTERNAL_POWER_CONNECTED,
             ABSENT},
        Case{"ExternalPowerOptional",
             {{"external_power_requirement", "1"}},
             Property::EXTERNAL_POWER_REQUIREMENT,
             "EXTERNAL_POWER_REQUIREMENT = OPTIONAL of [NONE OPTIONAL REQUIRED] (sort 23047)"},
        Case{"ExternalPowerOptionalAndDisconnected",
             {{"external_power_requirement", "1"}, {"external_power_connected", "false"}},
             Property::EXTERNAL_POWER_CONNECTED,
             "EXTERNAL_POWER_CONNECTED = false (sort 23048)"},
        Case{"ExternalPowerConnectionAbsent",
             {{"external_power_requirement", "2"}, {"external_power_connected", nullptr}},
             Property::EXTERNAL_POWER_CONNECTED,
             "EXTERNAL_POWER_CONNECTED = false (sort 23048)"},
        Case{"NoReserveThreshold",
             {{"reserve_warning_threshold_percent", nullptr}},
             Property::RESERVE_WARNING_THRESHOLD,
             "RESERVE_WARNING_THRESHOLD = 1 in 1..100 step 1 (label WARNING_THRESHOLD, sort 23113, "
             "unit 21010)"},
        Case{"ReserveThresholdBelowItsRange",
             {{"reserve_warning_threshold_percent", "0.9"}},
             Property::RESERVE_WARNING_THRESHOLD,
             "RESERVE_WARNING_THRESHOLD = 0 in 1..100 step 1 (label WARNING_THRESHOLD, sort 23113, "
             "unit 21010)"}),
    NameOfCase);

constexpr const char* IDLE = "ACTIVITY = IDLE of [IDLE BUSY ATTACHING DETACHING] (sort 23002)";

INSTANTIATE_TEST_SUITE_P(
    State, AdapterRow,
    testing::Values(Case{"Healthy",
                         {},
                         Property::STATUS,
                         "STATUS = OK of [OK WARNING FAILED] (sort 23127, indicator 24000)"},
                    Case{"Warning",
                         {{"current_warnings", "2"}},
                         Property::STATUS,
                         "STATUS = WARNING of [OK WARNING FAILED] (sort 23127, indicator 24002)"},
                    Case{"Failed",
                         {{"current_errors", "1"}},
                         Property::STATUS,
                         "STATUS = FAILED of [OK WARNING FAILED] (sort 23127, indicator 24001)"},
                    Case{"FailedAndWarning",
                         {{"current_errors", "1"}, {"current_warnings", "2"}},
                         Property::STATUS,
                         "STATUS = FAILED of [OK WARNING FAILED] (sort 23127, indicator 24001)"},
                    Case{"NoState",
                         {{"iom_state", nullptr}},
                         Property::STATUS,
                         "STATUS = FAILED of [OK WARNING FAILED] (sort 23127, indicator 24001)"},
                    Case{"NoReasons", {{"iom_state", "6"}}, Property::ADDITIONAL_STATUS, ABSENT},
                    Case{"NotThrottled",
                         {{"write_throttling_state", "0"}},
                         Property::WRITE_THROTTLING,
                         "WRITE_THROTTLING = NONE of [NONE PARTIAL COMPLETE] (sort 23147)"},
                    Case{"FullyThrottled",
                         {{"write_throttling_state", "2"}},
                         Property::WRITE_THROTTLING,
                         "WRITE_THROTTLING = COMPLETE of [NONE PARTIAL COMPLETE] (sort 23147)"},
                    Case{"ThrottlingUnknown",
                         {{"write_throttling_state", "3"}},
                         Property::WRITE_THROTTLING,
                         "WRITE_THROTTLING = NONE of [NONE PARTIAL COMPLETE] (sort 23147)"},
                    Case{"Detached", {{"iom_state", "0"}}, Property::ACTIVITY, IDLE},
                    Case{"Attaching",
                         {{"iom_state", "1"}},
                         Property::ACTIVITY,
                         "ACTIVITY = ATTACHING of [IDLE BUSY ATTACHING DETACHING] (sort 23002)"},
                    Case{"Attached", {{"iom_state", "2"}}, Property::ACTIVITY, IDLE},
                    Case{"Detaching",
                         {{"iom_state", "3"}},
                         Property::ACTIVITY,
                         "ACTIVITY = DETACHING of [IDLE BUSY ATTACHING DETACHING] (sort 23002)"},
                    Case{"Busy",
                         {{"iom_state", "4"}},
                         Property::ACTIVITY,
                         "ACTIVITY = BUSY of [IDLE BUSY ATTACHING DETACHING] (sort 23002)"},
                    Case{"Stopped", {{"iom_state", "7"}}, Property::ACTIVITY, IDLE}),
    NameOfCase);

}  // namespace
}  // namespace CorvaneTest
