// What the host reads from an adapter: the whole list, and the form and condition of each row.

#include <gmock/gmock.h>

#include <set>

#include "tests/support/Numbers.h"
#include "tests/support/OneCard.h"

namespace CorvaneTest {
namespace {

using testing::ElementsAreArray;
using testing::IsEmpty;

// A card that shows all rows.
const Settings TALKATIVE = {
    {"board_name", "Flash Board"},
    {"serial_number", "SN-77"},
    {"pci_domain", "2"},
    {"pci_bus", "59"},
    {"pci_device", "4"},
    {"pci_function", "1"},
    {"pci_slot_num", "7"},
    {"driver_version", "3.4.9 build 1187"},
    {"temp_internal_deg_c", "51.5"},
    {"factory_size_bytes", "1073741824000"},
    {"first_use_ts", "1735689600"},  // 2025-01-01 00:00
    {"origin_ts", "1330837560"},     // 2012-03-04 05:06
    {"reserve_warning_threshold_percent", "10.9"},
    {"reserve_space_pct", "97.9"},
    {"reserve_status", "1"},
    {"total_physical_bytes_read", "1649267441664"},      // 1.5 * 2^40
    {"total_physical_bytes_written", "54975581388800"},  // 50 * 2^40
    {"rated_endurance_tbytes", "100"},
    {"rated_writes_remaining_percent", "50.0"},
    {"external_power_requirement", "2"},
    {"external_power_connected", "true"},
    {"pcie_slot_power_watts", "14.75"},
    {"power_limit_watts", "24.5"},
    {"temp_internal_warn_deg_c", "78.5"},
    {"temp_setpoint_high_deg_c", "85.25"},
    {"iom_state", "2"},
    {"write_throttling_state", "1"},
    {"write_throttling_reason", "6"},
    {"current_warnings", "1"},
};

// The rows of `TALKATIVE` in the order in which the host gets them.
const std::vector<std::string> ALL_ROWS = {
    R"~(NAME = "SanDisk Flash Board (1)" (sort 23081))~",
    R"(VENDOR = "SanDisk" (sort 23144))",
    R"(PRODUCT = "Flash Board" (sort 23102))",
    "HARDWARE_TYPE = PCI_EXPRESS_SSD_AIC of [PCI_EXPRESS_SSD_AIC] (visible 0)",
    "ADAPTER_NUMBER = 0 (label ID, sort 23003)",
    R"(SERIAL_NUMBER = "SN-77" (sort 23116))",
    "PCI_SEGMENT = 2 (label SEGMENT, sort 23134)",
    "PCI_BUS = 59 (label BUS, sort 23132)",
    "PCI_DEVICE = 4 (label DEVICE, sort 23133)",
    "PCI_FUNCTION = 1 (label FUNCTION, sort 23135)",
    "PCI_SLOT = 7 (label SLOT, sort 23139)",
    R"(UNIQUE_ID = "PCI:Segment=2&Bus=59&Device=4&Function=1" (visible 0))",
    R"(OS_DEVICE = "/dev/fct0" (sort 23090))",
    R"(DRIVER_NAME = "iomemory_vsl" (sort 23041))",
    R"(DRIVER_VERSION = "3.4.9 build 1187" (sort 23042))",
    R"~(FIRMWARE_VERSION = "6.3.11 (10957)" (sort 23051))~",
    "CHIP_TEMPERATURE = 51.5f (sort 23024, unit 21000, format 8)",
    "MEMORY_SIZE = 1024000 (sort 23078, unit 21002)",
    R"(ESTIMATED_LIFETIME = "2027-01-01" (sort 23045))",
    R"(MANUFACTURE_DATE = "2012-03-04 05:06" (sort 23070))",
    "REMAINING_RESERVE_SPACE = 97 in 1..100 step 1 (label REMAINING_RESERVE_SPACE, sort 23110, "
    "unit 21010, fixed 0)",
    "RESERVE_STATUS = WARNING of [HEALTHY WARNING DEPLETED] (label STATUS, sort 23112, fixed 0)",
    "RESERVE_WARNING_THRESHOLD = 10 in 1..100 step 1 (label WARNING_THRESHOLD, sort 23113, unit "
    "21010)",
    "BYTES_READ = 1.5f (sort 23017, unit 21004, format 8, fixed 0)",
    "BYTES_WRITTEN = 50f (sort 23018, unit 21004, format 8, fixed 0)",
    "RATED_ENDURANCE_PERCENT = 50 in 0..100 step 1 (sort 23105, unit 21010, fixed 0)",
    "EXTERNAL_POWER_REQUIREMENT = REQUIRED of [NONE OPTIONAL REQUIRED] (sort 23047)",
    "EXTERNAL_POWER_CONNECTED = true (sort 23048)",
    "SLOT_POWER = 14.75f (sort 23118, unit 21028, format 16)",
    "POWER_LIMIT = 24.5f (sort 23100, unit 21028, format 16)",
    "HIGH_WARNING_TEMPERATURE = 78.5f (sort 23057, unit 21000, format 8)",
    "HIGH_CRITICAL_TEMPERATURE = 85.25f (sort 23058, unit 21000, format 8)",
    "STATUS = WARNING of [OK WARNING FAILED] (sort 23127, indicator 24002)",
    "WRITE_THROTTLING = PARTIAL of [NONE PARTIAL COMPLETE] (sort 23147)",
    "ADDITIONAL_STATUS = [TEMPERATURE_ABOVE_WARN ATTACHED THROT_POWER] of [DETACHED STOPPED "
    "ATTACHED FIRMWARE_OUT_OF_DATE INSUFFICIENT_POWER DUAL_PLANE_FAIL FORCED INTERNAL "
    "CARD_LIMIT_EXCEEDED UNSUPPORTED_OS INSUFFICIENT_MEMORY SMP_BOOTLOADER_MODE "
    "LOGICAL_DRIVE_DEGRADED] (sort 23004)",
    "ACTIVITY = IDLE of [IDLE BUSY ATTACHING DETACHING] (sort 23002)",
};

// One row in numbers: property, kind of value (1 string, 2 bool, 3 choice, 4 number, 5 float,
// 6 multi-choice, 7 range), name shown, choices.
struct RowNumbers {
  std::uint32_t property;
  std::uint32_t kind;
  std::uint32_t label;
  std::vector<int> choices;
};

const RowNumbers ALL_NUMBERS[] = {
    {30007, 1, 30007, {}},
    {30003, 1, 30003, {}},
    {30063, 1, 30063, {}},
    {30158, 3, 30158, {40480}},
    {30120, 4, 35023, {}},
    {30022, 1, 30022, {}},
    {30479, 4, 35039, {}},
    {30037, 4, 35016, {}},
    {30038, 4, 35020, {}},
    {30039, 4, 35022, {}},
    {30062, 4, 35040, {}},
    {30137, 1, 30137, {}},
    {30247, 1, 30247, {}},
    {30266, 1, 30266, {}},
    {30018, 1, 30018, {}},
    {30020, 1, 30020, {}},
    {30442, 5, 30442, {}},
    {30035, 4, 30035, {}},
    {30483, 1, 30483, {}},
    {30097, 1, 30097, {}},
    {30486, 7, 35034, {}},
    {30487, 3, 30017, {40473, 40150, 40474}},
    {30488, 7, 35045, {}},
    {30489, 5, 30489, {}},
    {30490, 5, 30490, {}},
    {30494, 7, 30494, {}},
    {30501, 3, 30501, {40252, 40484, 40485}},
    {30502, 2, 30502, {}},
    {30503, 5, 30503, {}},
    {30504, 5, 30504, {}},
    {30354, 5, 30354, {}},
    {30355, 5, 30355, {}},
    {30017, 3, 30017, {40024, 40150, 40095}},
    {30468, 3, 30468, {40252, 40410, 40411}},
    {30165,
     6,
     30165,
     {40387, 40128, 40393, 40394, 40395, 40396, 40397, 40398, 40399, 40400, 40401, 40402, 40266}},
    {30054, 3, 30054, {40102, 40025, 40388, 40391}},
};

std::vector<int> ChoicesOf(const PI::CProperty& property) {
  if (property.m_ValueType == 3) return property.m_Value.m_Choice.m_Allowed;
  if (property.m_ValueType == 6) return property.m_Value.m_MultiValue.m_Allowed;
  return {};
}

TEST(AdapterProperties, AreListedInTheOrderOfTheTable) {
  OneCard host(TALKATIVE);
  ASSERT_EQ(host.Start(), 0U);
  EXPECT_THAT(host.Rows(OneCard::ADAPTER), ElementsAreArray(ALL_ROWS));
}

TEST(AdapterProperties, HaveTheNumbersOfTheHostsVocabulary) {
  OneCard host(TALKATIVE);
  ASSERT_EQ(host.Start(), 0U);
  const std::vector<PI::CProperty> properties = host.Properties(OneCard::ADAPTER);
  ASSERT_EQ(properties.size(), std::size(ALL_NUMBERS));
  for (std::size_t i = 0; i < properties.size(); ++i) {
    SCOPED_TRACE(ALL_ROWS[i]);
    EXPECT_EQ(properties[i].m_PropertyID, ALL_NUMBERS[i].property);
    EXPECT_EQ(properties[i].m_ValueType, ALL_NUMBERS[i].kind);
    EXPECT_EQ(properties[i].m_NameID, ALL_NUMBERS[i].label);
    EXPECT_EQ(ChoicesOf(properties[i]), ALL_NUMBERS[i].choices);
    EXPECT_FALSE(properties[i].m_Writable);
  }
}

TEST(AdapterProperties, ReadOneByOneAgreeWithTheList) {
  OneCard host(TALKATIVE);
  ASSERT_EQ(host.Start(), 0U);
  for (std::size_t i = 0; i < std::size(ALL_NUMBERS); ++i) {
    EXPECT_EQ(host.Row(OneCard::ADAPTER, ALL_NUMBERS[i].property), ALL_ROWS[i]);
  }
}

// Those that are read from the card at each request.
const std::set<std::uint32_t> LIVE = {30483, 30486, 30487, 30489, 30490, 30494};

TEST(AdapterProperties, OfACardThatCannotBeOpenedAreTheOthersAsTheyWere) {
  OneCard host(TALKATIVE);
  ASSERT_EQ(host.Start(), 0U);
  std::vector<std::string> others;
  for (std::size_t i = 0; i < std::size(ALL_NUMBERS); ++i) {
    if (LIVE.count(ALL_NUMBERS[i].property) == 0) others.push_back(ALL_ROWS[i]);
  }
  ASSERT_EQ(others.size(), 30U);
  for (const char* function : {"vsl_iom_create_by_name", "vsl_open"}) {
    SCOPED_TRACE(function);
    CardSim::FailCall(function, 1, 5, "not today");
    EXPECT_THAT(host.Rows(OneCard::ADAPTER), ElementsAreArray(others));
    for (std::size_t i = 0; i < std::size(ALL_NUMBERS); ++i) {
      const std::uint32_t property = ALL_NUMBERS[i].property;
      CardSim::FailCall(function, 1, 5, "not today");
      EXPECT_EQ(host.Row(OneCard::ADAPTER, property),
                LIVE.count(property) == 0 ? ALL_ROWS[i] : "result 20000");
    }
  }
}

// The selector of all properties is not a property: the host gets the first of the list.
TEST(AdapterProperties, ReadWithTheSelectorOfAllGiveTheFirst) {
  OneCard host(TALKATIVE);
  ASSERT_EQ(host.Start(), 0U);
  EXPECT_EQ(host.Row(OneCard::ADAPTER, 1), R"~(NAME = "SanDisk Flash Board (1)" (sort 23081))~");
}

TEST(AdapterProperties, OfOtherObjectsAreNotThere) {
  OneCard host(TALKATIVE);
  ASSERT_EQ(host.Start(), 0U);
  // Plug-in, drive and parameter properties, low numbers, short names, values, and none at all.
  for (const std::uint32_t property :
       {0U, 2U, 3U, Number::Property::VENDOR_API_VERSION, Number::Property::POLL_INTERVAL,
        Number::Property::TYPE, Number::Property::PHYSICAL_SIZE,
        Number::Property::CONFIGURABLE_SIZE, Number::Property::VERSION,
        Number::Property::RANGE_PARAM, Number::Property::PORT_NUMBER, Number::Property::BLOCK_SIZE,
        Number::Property::FORMATTED_SIZE, 35016U, 40024U, 4294967295U}) {
    EXPECT_EQ(host.Row(OneCard::ADAPTER, property), "result 20000") << property;
  }
}

TEST(AdapterProperties, ReplaceWhatTheHostsListHeld) {
  OneCard host(TALKATIVE);
  ASSERT_EQ(host.Start(), 0U);
  std::vector<PI::CProperty> list(3, PI::CProperty(PI::Property::VERSION, true));
  EXPECT_EQ(host.Execute(5, OneCard::ADAPTER, &list), 0U);
  EXPECT_THAT(Rendered(list), ElementsAreArray(ALL_ROWS));
}

TEST(AdapterProperties, CannotBeWritten) {
  OneCard host(TALKATIVE);
  ASSERT_EQ(host.Start(), 0U);
  host.ForgetCalls();
  for (const RowNumbers& row : ALL_NUMBERS) {
    PI::CProperty property(static_cast<PI::_PROPERTY_ID>(row.property), true);
    property.SetValue(std::string("other"));
    EXPECT_EQ(host.Execute(7, OneCard::ADAPTER, &property), Number::ERR_INVALID_PROPERTY)
        << row.property;
  }
  PI::CProperty interval(PI::Property::POLL_INTERVAL, true);
  EXPECT_EQ(host.Execute(7, OneCard::ADAPTER, &interval), Number::ERR_INVALID_PROPERTY);
  EXPECT_THAT(host.Calls(), IsEmpty());
  EXPECT_THAT(host.Rows(OneCard::ADAPTER), ElementsAreArray(ALL_ROWS));
}

TEST(AdapterProperties, OfTheSecondCardHaveItsNumber) {
  OneCard host;
  host.AddCard(0x3001);
  ASSERT_EQ(host.Start(), 0U);
  const std::uint64_t second = host.AdapterId(1);
  EXPECT_EQ(host.Row(second, 30120), "ADAPTER_NUMBER = 1 (label ID, sort 23003)");
  EXPECT_EQ(host.Row(second, 30007), R"~(NAME = "MOLT EP PX600 (2)" (sort 23081))~");
  EXPECT_EQ(host.Row(second, 30247), R"(OS_DEVICE = "/dev/fct1" (sort 23090))");
  EXPECT_EQ(host.Row(second, 30266), R"(DRIVER_NAME = "iomemory_vsl4" (sort 23041))");
}

TEST(AdapterProperties, HaveAnEmptyNameBeforeTheHostGaveANumber) {
  OneCard host;
  ASSERT_EQ(host.Initialize(), 0U);
  EXPECT_EQ(host.Row(OneCard::ADAPTER, 30007), R"(NAME = "" (sort 23081))");
}

// A card of no known family that has no segment attribute is shown without a segment.
TEST(AdapterProperties, ShowASegmentThatIsNotKnown) {
  OneCard host;
  const std::string odd = host.AddCard(0x4242);
  host.Cards().MakeAbsent(odd, "pci_domain");
  ASSERT_EQ(host.Initialize(), 0U);
  const std::uint64_t second = host.AdapterId(1);
  const std::string row = "PCI_SEGMENT = 18446744073709551615 (label SEGMENT, sort 23134)";
  EXPECT_EQ(host.Row(second, 30479), row);
  EXPECT_EQ(host.RowInList(second, 30479), row);
  EXPECT_EQ(host.Row(second, 30266), R"(DRIVER_NAME = "" (sort 23041))");
  EXPECT_EQ(host.Row(second, 30063), R"(PRODUCT = "" (sort 23102))");
}

// One row on one card, in the list and alone. The result is 20000 if the row is not shown.
struct Case {
  const char* name;
  Settings settings;
  std::uint32_t property;
  const char* row;
};

void PrintTo(const Case& each, std::ostream* out) {
  *out << each.name;
}

class AdapterRow : public testing::TestWithParam<Case> {};

TEST_P(AdapterRow, IsTheSameInTheListAndAlone) {
  OneCard host(GetParam().settings);
  ASSERT_EQ(host.Initialize(), 0U);
  EXPECT_EQ(host.Row(OneCard::ADAPTER, GetParam().property), GetParam().row);
  EXPECT_EQ(host.RowInList(OneCard::ADAPTER, GetParam().property), GetParam().row);
  EXPECT_THAT(CardSim::Misuse(), IsEmpty());
}

std::string NameOfCase(const testing::TestParamInfo<Case>& info) {
  return info.param.name;
}

const char* const ABSENT = "result 20000";

INSTANTIATE_TEST_SUITE_P(
    Identity, AdapterRow,
    testing::Values(
        Case{"NoSlot", {{"pci_slot_num", nullptr}}, 30062, ABSENT},
        Case{"SlotZero", {{"pci_slot_num", "0"}}, 30062, "PCI_SLOT = 0 (label SLOT, sort 23139)"},
        Case{"SlotLargest",
             {{"pci_slot_num", "255"}},
             30062,
             "PCI_SLOT = 255 (label SLOT, sort 23139)"},
        Case{"SegmentZero",
             {{"pci_domain", "0"}},
             30479,
             "PCI_SEGMENT = 0 (label SEGMENT, sort 23134)"},
        Case{"SegmentLargest",
             {{"pci_domain", "65535"}},
             30479,
             "PCI_SEGMENT = 65535 (label SEGMENT, sort 23134)"},
        Case{"LocationWithoutSegment",
             {{"pci_domain", "0"}},
             30137,
             R"(UNIQUE_ID = "PCI:Bus=3&Device=0&Function=0" (visible 0))"},
        Case{"NoBus", {{"pci_bus", nullptr}}, 30037, "PCI_BUS = 0 (label BUS, sort 23132)"},
        Case{"NoBoardName", {{"board_name", nullptr}}, 30063, R"(PRODUCT = "" (sort 23102))"},
        Case{"EmptySerialNumber",
             {{"serial_number", "\"\""}},
             30022,
             R"(SERIAL_NUMBER = "" (sort 23116))"},
        Case{"NoDriverVersion", {{"driver_version", nullptr}}, 30018, ABSENT},
        Case{"EmptyDriverVersion", {{"driver_version", "\"\""}}, 30018, ABSENT},
        Case{"FirmwareAsOneText",
             {{"fw_current_revision", nullptr}, {"fw_current_version", "v6.3.11"}},
             30020,
             R"(FIRMWARE_VERSION = "v6.3.11" (sort 23051))"},
        Case{"NoFirmware",
             {{"fw_current_major_ver", nullptr}, {"fw_current_version", nullptr}},
             30020,
             ABSENT},
        Case{"EmptyFirmware",
             {{"fw_current_major_ver", nullptr}, {"fw_current_version", "\"\""}},
             30020,
             ABSENT},
        Case{"NoSize",
             {{"factory_size_bytes", nullptr}},
             30035,
             "MEMORY_SIZE = 0 (sort 23078, unit 21002)"},
        Case{"SizeBelowOneMiB",
             {{"factory_size_bytes", "1048575"}},
             30035,
             "MEMORY_SIZE = 0 (sort 23078, unit 21002)"}),
    NameOfCase);

INSTANTIATE_TEST_SUITE_P(
    Measures, AdapterRow,
    testing::Values(
        Case{"NoTemperature",
             {{"temp_internal_deg_c", nullptr}},
             30442,
             "CHIP_TEMPERATURE = 0f (sort 23024, unit 21000, format 8)"},
        Case{"Frost",
             {{"temp_internal_deg_c", "-12.5"}},
             30442,
             "CHIP_TEMPERATURE = -12.5f (sort 23024, unit 21000, format 8)"},
        Case{"NoSlotPower", {{"pcie_slot_power_watts", nullptr}}, 30503, ABSENT},
        Case{"SlotPowerZero", {{"pcie_slot_power_watts", "0.0"}}, 30503, ABSENT},
        Case{"SlotPowerNegative", {{"pcie_slot_power_watts", "-1.5"}}, 30503, ABSENT},
        Case{"SlotPowerTiny",
             {{"pcie_slot_power_watts", "0.125"}},
             30503,
             "SLOT_POWER = 0.125f (sort 23118, unit 21028, format 16)"},
        Case{"NoPowerLimit", {{"power_limit_watts", nullptr}}, 30504, ABSENT},
        Case{"PowerLimitZero", {{"power_limit_watts", "0.0"}}, 30504, ABSENT},
        Case{"PowerLimitNegative", {{"power_limit_watts", "-0.5"}}, 30504, ABSENT},
        Case{"NoWarningTemperature", {{"temp_internal_warn_deg_c", nullptr}}, 30354, ABSENT},
        Case{"WarningTemperatureZero", {{"temp_internal_warn_deg_c", "0.0"}}, 30354, ABSENT},
        Case{"WarningTemperatureNegative", {{"temp_internal_warn_deg_c", "-40.0"}}, 30354, ABSENT},
        Case{"NoCriticalTemperature", {{"temp_setpoint_high_deg_c", nullptr}}, 30355, ABSENT},
        Case{"CriticalTemperatureZero", {{"temp_setpoint_high_deg_c", "0.0"}}, 30355, ABSENT},
        Case{"CriticalTemperatureNegative", {{"temp_setpoint_high_deg_c", "-1.0"}}, 30355, ABSENT},
        Case{"NoExternalPowerNeeded",
             {{"external_power_requirement", "0"}},
             30501,
             "EXTERNAL_POWER_REQUIREMENT = NONE of [NONE OPTIONAL REQUIRED] (sort 23047)"},
        Case{"NoExternalPowerConnected",
             {{"external_power_requirement", "0"}, {"external_power_connected", "true"}},
             30502,
             ABSENT},
        Case{"ExternalPowerNotTold", {{"external_power_requirement", nullptr}}, 30502, ABSENT},
        Case{"ExternalPowerUnheardOf", {{"external_power_requirement", "3"}}, 30502, ABSENT},
        Case{"ExternalPowerOptional",
             {{"external_power_requirement", "1"}},
             30501,
             "EXTERNAL_POWER_REQUIREMENT = OPTIONAL of [NONE OPTIONAL REQUIRED] (sort 23047)"},
        Case{"ExternalPowerOptionalAndOff",
             {{"external_power_requirement", "1"}, {"external_power_connected", "false"}},
             30502,
             "EXTERNAL_POWER_CONNECTED = false (sort 23048)"},
        Case{"ExternalPowerConnectionNotTold",
             {{"external_power_requirement", "2"}, {"external_power_connected", nullptr}},
             30502,
             "EXTERNAL_POWER_CONNECTED = false (sort 23048)"},
        Case{"NoReserveThreshold",
             {{"reserve_warning_threshold_percent", nullptr}},
             30488,
             "RESERVE_WARNING_THRESHOLD = 1 in 1..100 step 1 (label WARNING_THRESHOLD, sort 23113, "
             "unit 21010)"},
        Case{"ReserveThresholdBelowItsRange",
             {{"reserve_warning_threshold_percent", "0.9"}},
             30488,
             "RESERVE_WARNING_THRESHOLD = 0 in 1..100 step 1 (label WARNING_THRESHOLD, sort 23113, "
             "unit 21010)"}),
    NameOfCase);

constexpr const char* IDLE = "ACTIVITY = IDLE of [IDLE BUSY ATTACHING DETACHING] (sort 23002)";

INSTANTIATE_TEST_SUITE_P(
    State, AdapterRow,
    testing::Values(Case{"Healthy",
                         {},
                         30017,
                         "STATUS = OK of [OK WARNING FAILED] (sort 23127, indicator 24000)"},
                    Case{"Warned",
                         {{"current_warnings", "2"}},
                         30017,
                         "STATUS = WARNING of [OK WARNING FAILED] (sort 23127, indicator 24002)"},
                    Case{"Broken",
                         {{"current_errors", "1"}},
                         30017,
                         "STATUS = FAILED of [OK WARNING FAILED] (sort 23127, indicator 24001)"},
                    Case{"BrokenAndWarned",
                         {{"current_errors", "1"}, {"current_warnings", "2"}},
                         30017,
                         "STATUS = FAILED of [OK WARNING FAILED] (sort 23127, indicator 24001)"},
                    Case{"StateNotTold",
                         {{"iom_state", nullptr}},
                         30017,
                         "STATUS = FAILED of [OK WARNING FAILED] (sort 23127, indicator 24001)"},
                    Case{"NoReasons", {{"iom_state", "6"}}, 30165, ABSENT},
                    Case{"NotThrottled",
                         {{"write_throttling_state", "0"}},
                         30468,
                         "WRITE_THROTTLING = NONE of [NONE PARTIAL COMPLETE] (sort 23147)"},
                    Case{"FullyThrottled",
                         {{"write_throttling_state", "2"}},
                         30468,
                         "WRITE_THROTTLING = COMPLETE of [NONE PARTIAL COMPLETE] (sort 23147)"},
                    Case{"ThrottlingUnheardOf",
                         {{"write_throttling_state", "3"}},
                         30468,
                         "WRITE_THROTTLING = NONE of [NONE PARTIAL COMPLETE] (sort 23147)"},
                    Case{"Detached", {{"iom_state", "0"}}, 30054, IDLE},
                    Case{"Attaching",
                         {{"iom_state", "1"}},
                         30054,
                         "ACTIVITY = ATTACHING of [IDLE BUSY ATTACHING DETACHING] (sort 23002)"},
                    Case{"Attached", {{"iom_state", "2"}}, 30054, IDLE},
                    Case{"Detaching",
                         {{"iom_state", "3"}},
                         30054,
                         "ACTIVITY = DETACHING of [IDLE BUSY ATTACHING DETACHING] (sort 23002)"},
                    Case{"Busy",
                         {{"iom_state", "4"}},
                         30054,
                         "ACTIVITY = BUSY of [IDLE BUSY ATTACHING DETACHING] (sort 23002)"},
                    Case{"Stopped", {{"iom_state", "7"}}, 30054, IDLE}),
    NameOfCase);

}  // namespace
}  // namespace CorvaneTest
