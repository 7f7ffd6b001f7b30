// The properties of an adapter as the host reads them: rows, numbers, and the calls that read them.
#pragma once

#include <cstdint>
#include <ostream>
#include <set>
#include <string>
#include <vector>

#include "tests/support/OneCard.h"

namespace CorvaneTest {

// A card for which all rows are shown.
inline const Settings FULL_CARD = {
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

// The rows of `FULL_CARD` in the order in which the host receives them.
inline const std::vector<std::string> ALL_ROWS = {
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

// The numeric fields of a row: property, value type (1 string, 2 bool, 3 choice, 4 number, 5 float,
// 6 multi-choice, 7 range), displayed name, choices.
struct RowNumbers {
  std::uint32_t property;
  std::uint32_t valueType;
  std::uint32_t label;
  std::vector<int> choices;
};

inline const std::vector<RowNumbers> ALL_NUMBERS = {
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

// Explains a failed comparison with the lists.
constexpr const char* kListsOfRows =
    "The expected rows are in ALL_ROWS and ALL_NUMBERS of tests/plugin/AdapterRows.h.";

// A row that is read from the card at each request, and the calls that read it.
struct LiveRow {
  std::uint32_t property;
  std::vector<std::string> calls;
};

inline void PrintTo(const LiveRow& row, std::ostream* out) {
  *out << NameOrNumber(HostKit::Family::Property, row.property);
}

// In the order of the rows.
inline const std::vector<LiveRow> LIVE_ROWS = {
    {PI::Property::ESTIMATED_LIFETIME,
     {"vsl_has_rated_endurance_tbytes card#1", "vsl_has_total_physical_bytes_written card#1",
      "vsl_has_rated_writes_remaining_percent card#1", "vsl_total_physical_bytes_written card#1",
      "vsl_rated_endurance_tbytes card#1", "vsl_rated_writes_remaining_percent card#1"}},
    {PI::Property::REMAINING_RESERVE_SPACE,
     {"vsl_has_reserve_space_pct card#1", "vsl_reserve_space_pct card#1"}},
    {PI::Property::RESERVE_STATUS,
     {"vsl_has_reserve_space_pct card#1", "vsl_reserve_status card#1"}},
    {PI::Property::BYTES_READ,
     {"vsl_has_total_physical_bytes_read card#1", "vsl_total_physical_bytes_read card#1"}},
    {PI::Property::BYTES_WRITTEN,
     {"vsl_has_total_physical_bytes_written card#1", "vsl_total_physical_bytes_written card#1"}},
    {PI::Property::RATED_ENDURANCE_PERCENT,
     {"vsl_has_rated_endurance_tbytes card#1", "vsl_has_total_physical_bytes_written card#1",
      "vsl_total_physical_bytes_written card#1", "vsl_rated_endurance_tbytes card#1"}},
};

inline std::set<std::uint32_t> LiveProperties() {
  std::set<std::uint32_t> properties;
  for (const LiveRow& row : LIVE_ROWS) properties.insert(row.property);
  return properties;
}
inline const std::set<std::uint32_t> LIVE = LiveProperties();

// Returns the calls of a request that reads these calls from the card.
inline std::vector<std::string> WithOpenCard(const std::vector<std::string>& reads) {
  std::vector<std::string> calls = {"vsl_iom_create_by_name /dev/fct0", "vsl_open card#1"};
  calls.insert(calls.end(), reads.begin(), reads.end());
  calls.insert(calls.end(), {"vsl_close card#1", "vsl_destroy card#1"});
  return calls;
}

// Returns the calls that read the rows before this one.
inline std::vector<std::string> CallsBefore(std::uint32_t property) {
  std::vector<std::string> calls;
  for (const LiveRow& row : LIVE_ROWS) {
    if (row.property == property) break;
    calls.insert(calls.end(), row.calls.begin(), row.calls.end());
  }
  return calls;
}

// The calls that read all rows once.
inline const std::vector<std::string> ALL_CALLS =
    WithOpenCard(CallsBefore(PI::Property::UNDEFINED));

}  // namespace CorvaneTest
