// Results of every function: attribute values, success, and the code and text of a rejected call.

#include <algorithm>
#include <set>

#include "tests/cardsim/Fixture.h"

namespace {

using FunctionResults = SimulatedCards;

// Replaces the 0 and false values of the profile, so that results differ from empty ones.
void SetDistinctValues(CardSim::StateFile file) {
  const std::pair<const char*, const char*> settings[] = {
      {"pci_device", "5"},
      {"pci_function", "6"},
      {"pci_domain", "7"},
      {"external_power_connected", "true"},
      {"minimal_mode_reason", "8"},
      {"write_throttling_state", "2"},
      {"write_throttling_reason", "9"},
      {"current_errors", "17"},
      {"current_warnings", "18"},
      {"current_info", "20"},
      {"beacon_state", "true"},
      {"reserve_status", "2"},
      {"iom_format_disallow_overformat", "true"},
      {"iom_format_size_pct", "99"},
      {"iom_format_size_bytes", "777149997056"},
      {"iom_format_sector_size_multiplier", "256"},
      {"detach_ms", "0"},
  };
  for (const auto& [attribute, value] : settings) file.Set("card0", attribute, value);
}

// Copies a string immediately, because the next call overwrites it.
template <class Result>
Result Copy(Result result) {
  return result;
}
std::string Copy(const char* text) {
  return text;
}

#define EXPECT_ATTRIBUTE(expected, name)             \
  EXPECT_TRUE(vsl_has_##name(handle, err)) << #name; \
  EXPECT_EQ(expected, Copy(vsl_##name(handle, err))) << #name
#define EXPECT_FORMAT_ATTRIBUTE(expected, name)                 \
  EXPECT_TRUE(vsl_iom_format_has_##name(handle, err)) << #name; \
  EXPECT_EQ(expected, Copy(vsl_iom_format_##name(handle, err))) << #name

void ExpectIdentity(void* handle, vsl_error_record* err) {
  EXPECT_ATTRIBUTE("/dev/fct0", device_path);
  EXPECT_ATTRIBUTE("FA00000001", serial_number);
  EXPECT_ATTRIBUTE("Flash Adapter 785GB", board_name);
  EXPECT_ATTRIBUTE("Flash Adapter G2", product_name);
  EXPECT_ATTRIBUTE("3.4.9 build 1187", driver_version);
  EXPECT_ATTRIBUTE("v6.3.11", fw_current_version);
  EXPECT_ATTRIBUTE(6, fw_current_major_ver);
  EXPECT_ATTRIBUTE(3, fw_current_minor_ver);
  EXPECT_ATTRIBUTE(11, fw_current_micro_ver);
  EXPECT_ATTRIBUTE(10957, fw_current_revision);
  EXPECT_ATTRIBUTE(3, pci_bus);
  EXPECT_ATTRIBUTE(5, pci_device);
  EXPECT_ATTRIBUTE(6, pci_function);
  EXPECT_ATTRIBUTE(1, pci_slot_num);
  EXPECT_ATTRIBUTE(7, pci_domain);
  EXPECT_EQ(0x1003, vsl_pci_device_id(handle, err));
}

void ExpectCapacityAndWear(void* handle, vsl_error_record* err) {
  EXPECT_ATTRIBUTE(784999997440U, factory_size_bytes);
  EXPECT_ATTRIBUTE(784999997440U, size_bytes);
  EXPECT_ATTRIBUTE(512U, sector_size_bytes);
  EXPECT_ATTRIBUTE(1355270400U, first_use_ts);
  EXPECT_ATTRIBUTE(1352937600U, origin_ts);
  EXPECT_ATTRIBUTE(10.0F, reserve_warning_threshold_percent);
  EXPECT_ATTRIBUTE(98.9F, reserve_space_pct);
  EXPECT_EQ(2U, vsl_reserve_status(handle, err));
  EXPECT_ATTRIBUTE(8200U, rated_endurance_tbytes);
  EXPECT_ATTRIBUTE(74.0F, rated_writes_remaining_percent);
  EXPECT_ATTRIBUTE(3516238185627648U, total_physical_bytes_read);
  EXPECT_ATTRIBUTE(2344158790418432U, total_physical_bytes_written);
}

void ExpectHealth(void* handle, vsl_error_record* err) {
  EXPECT_ATTRIBUTE(51.7F, temp_internal_deg_c);
  EXPECT_ATTRIBUTE(78.0F, temp_internal_warn_deg_c);
  EXPECT_ATTRIBUTE(85.0F, temp_setpoint_high_deg_c);
  EXPECT_ATTRIBUTE(14.8F, pcie_slot_power_watts);
  EXPECT_ATTRIBUTE(1U, external_power_requirement);
  EXPECT_ATTRIBUTE(true, external_power_connected);
  EXPECT_ATTRIBUTE(2U, iom_state);
  EXPECT_ATTRIBUTE(8U, minimal_mode_reason);
  EXPECT_ATTRIBUTE(2U, write_throttling_state);
  EXPECT_ATTRIBUTE(9U, write_throttling_reason);
  EXPECT_ATTRIBUTE(17U, current_errors);
  EXPECT_ATTRIBUTE(18U, current_warnings);
  EXPECT_ATTRIBUTE(20U, current_info);
  EXPECT_ATTRIBUTE(true, beacon_state);
}

void ExpectAdapter(void* card, vsl_error_record* err) {
  void* handle = nullptr;
  EXPECT_EQ(0U, vsl_adapter_create(card, &handle, err));
  EXPECT_ATTRIBUTE(24.75F, power_limit_watts);
  EXPECT_EQ(0U, vsl_destroy(&handle, err));
}

// A format handle reports the values that were set.
void ExpectFormat(void* card, vsl_error_record* err) {
  void* handle = nullptr;
  EXPECT_EQ(0U, vsl_iom_format_create(card, &handle, err));
  EXPECT_FORMAT_ATTRIBUTE(true, disallow_overformat);
  EXPECT_FORMAT_ATTRIBUTE(512U, min_sector_size_bytes);
  EXPECT_FORMAT_ATTRIBUTE(4096U, max_sector_size_bytes);
  EXPECT_FORMAT_ATTRIBUTE(256U, sector_size_multiplier);
  EXPECT_FORMAT_ATTRIBUTE(true, power_of_two_sector_size);
  EXPECT_FORMAT_ATTRIBUTE(777149997056U, size_bytes);
  EXPECT_FORMAT_ATTRIBUTE(784999997440U, max_size_bytes);
  EXPECT_FORMAT_ATTRIBUTE(99, size_pct);
  EXPECT_TRUE(vsl_iom_format_has_size_mode(handle, err));

  EXPECT_EQ(0U, vsl_iom_format_set_size_pct(handle, 50, err));
  EXPECT_EQ(392499998720U, vsl_iom_format_size_bytes(handle, err));
  EXPECT_EQ(50U, vsl_iom_format_size_pct(handle, err));
  EXPECT_EQ(0U, vsl_iom_format_set_size_bytes(handle, 78499999744, err));
  EXPECT_EQ(78499999744U, vsl_iom_format_size_bytes(handle, err));
  EXPECT_EQ(10U, vsl_iom_format_size_pct(handle, err));
  EXPECT_EQ(0U, vsl_iom_format_set_sector_size_bytes(handle, 4096, err));
  EXPECT_EQ(0U, vsl_destroy(&handle, err));
}

// Overformatting allows 10% more than the card's size.
void ExpectOverformat(void* card, vsl_error_record* err) {
  void* format = nullptr;
  EXPECT_EQ(0U, vsl_iom_format_create(card, &format, err));
  EXPECT_EQ(784999997440U, vsl_iom_format_max_size_bytes(format, err));
  EXPECT_EQ(0U, vsl_iom_format_set_size_mode(format, 11, err));
  EXPECT_EQ(863499993088U, vsl_iom_format_max_size_bytes(format, err));
  EXPECT_EQ(0U, vsl_destroy(&format, err));
}

void ExpectVolume(void* card, vsl_error_record* err) {
  void* volume = nullptr;
  EXPECT_TRUE(vsl_vsu_iterate(card, &volume, 1, err));
  EXPECT_TRUE(vsl_has_vsu_state(volume, err));
  EXPECT_EQ(1U, vsl_vsu_state(volume, err));
  EXPECT_EQ(0U, vsl_set_vsu_state(volume, 0, err));
  EXPECT_EQ(0U, vsl_vsu_state(volume, err));
  EXPECT_FALSE(vsl_vsu_iterate(card, &volume, 1, err));
}

void ExpectJobs(void* card, vsl_error_record* err) {
  void *attach = nullptr, *detach = nullptr;
  EXPECT_EQ(0U, vsl_iom_attach_create(card, &attach, err));
  EXPECT_EQ(0U, vsl_destroy(&attach, err));
  EXPECT_EQ(0U, vsl_iom_detach_create(card, &detach, err));
  EXPECT_EQ(0U, vsl_iom_detach_set_force(detach, 1, err));
  EXPECT_EQ(0U, vsl_op_start(detach, err));
  EXPECT_EQ(0U, vsl_op_wait_for_result(detach, err));
  EXPECT_EQ(0U, vsl_destroy(&detach, err));
}

TEST_F(FunctionResults, EveryFunctionSucceeds) {
  File().AddCard(0x1003);
  SetDistinctValues(File());
  std::fill(std::begin(m_Error.text), std::end(m_Error.text), '#');
  m_Error.reserved = 0x2323232323232323;
  ASSERT_EQ(0U, vsl_init(0, &m_Error));
  void* iterated = nullptr;
  EXPECT_TRUE(vsl_iom_iterate(&iterated, 1, &m_Error));
  EXPECT_FALSE(vsl_iom_iterate(&iterated, 1, &m_Error));
  void* card = nullptr;
  ASSERT_EQ(0U, vsl_iom_create_by_name("/dev/fct0", &card, &m_Error));
  ASSERT_EQ(0U, vsl_open(card, &m_Error));
  ExpectIdentity(card, &m_Error);
  ExpectCapacityAndWear(card, &m_Error);
  ExpectHealth(card, &m_Error);
  ExpectAdapter(card, &m_Error);
  ExpectFormat(card, &m_Error);
  ExpectVolume(card, &m_Error);
  EXPECT_EQ(0U, vsl_set_beacon_state(card, 0, &m_Error));
  ExpectJobs(card, &m_Error);
  EXPECT_EQ(0U, vsl_close(card, &m_Error));

  File().Set("card0", "iom_format_disallow_overformat", "false");
  ASSERT_EQ(0U, vsl_open(card, &m_Error));
  ExpectOverformat(card, &m_Error);
  EXPECT_EQ(0U, vsl_close(card, &m_Error));
  EXPECT_EQ(0U, vsl_destroy(&card, &m_Error));
  vsl_fini();

  EXPECT_EQ("0", File().Get("card0", "iom_state"));
  EXPECT_EQ("false", File().Get("card0", "beacon_state"));
  EXPECT_EQ(std::string(1040, '#'), std::string(m_Error.text, 1040));
  EXPECT_EQ(0x2323232323232323U, m_Error.reserved);
  std::set<std::string> called;
  for (const auto& call : CardSim::CallLog()) called.insert(call.function);
  EXPECT_EQ(124U, called.size());
  EXPECT_EQ("", Joined(CardSim::Misuse()) + Joined(CardSim::OpenHandles()));
}

TEST_F(FunctionResults, HasIsFalseForAbsentAttributes) {
  File().AddCard(0x1003);
  // The device path remains, because the card is created by it.
#define MAKE_ABSENT(type, name) \
  if (std::string(#name) != "device_path") File().MakeAbsent("card0", #name);
#define MAKE_FORMAT_ABSENT(type, name) File().MakeAbsent("card0", "iom_format_" #name);
  VSL_CARD_ATTRIBUTES(MAKE_ABSENT)
  VSL_FORMAT_ATTRIBUTES(MAKE_FORMAT_ABSENT)
  File().MakeAbsent("card0", "iom_format_size_mode");
  ASSERT_EQ(0U, vsl_init(0, &m_Error));
  void* card = OpenCard();
  void *adapter = nullptr, *format = nullptr;
  ASSERT_EQ(0U, vsl_adapter_create(card, &adapter, &m_Error));
  ASSERT_EQ(0U, vsl_iom_format_create(card, &format, &m_Error));
  std::string present;
#define NOTE(type, name)                                                                    \
  if (vsl_has_##name(std::string(#name) == "power_limit_watts" ? adapter : card, &m_Error)) \
    present += " " #name;
#define NOTE_FORMAT(type, name) \
  if (vsl_iom_format_has_##name(format, &m_Error)) present += " format " #name;
  VSL_CARD_ATTRIBUTES(NOTE)
  VSL_FORMAT_ATTRIBUTES(NOTE_FORMAT)
  EXPECT_EQ(" device_path", present);
  EXPECT_FALSE(vsl_iom_format_has_size_mode(format, &m_Error));
}

// A call with an open card that the library rejects.
struct RejectedCall {
  const char* function;
  vsl_code code;
  const char* text;
  vsl_code (*call)(void* card, vsl_error_record* err);
};

void PrintTo(const RejectedCall& row, std::ostream* out) {
  *out << row.function;
}

// Returns a new job or format handle, or null if `create` fails.
template <class Create>
void* CreateHandle(Create create, void* card, vsl_error_record* err) {
  void* handle = nullptr;
  return create(card, &handle, err) == 0 ? handle : nullptr;
}

const RejectedCall kRejectedCalls[] = {
    {"vsl_init", 7, "vsl_init accepts no flags",
     [](void*, vsl_error_record* err) { return vsl_init(1, err); }},
    {"vsl_iom_create_by_name", 3, "/dev/fct9: no such card",
     [](void*, vsl_error_record* err) {
       void* iom = nullptr;
       return vsl_iom_create_by_name("/dev/fct9", &iom, err);
     }},
    {"vsl_open", 4, "opened twice",
     [](void* card, vsl_error_record* err) { return vsl_open(card, err); }},
    {"vsl_close", 5, "closed but not open",
     [](void* card, vsl_error_record* err) {
       vsl_close(card, err);
       return vsl_close(card, err);
     }},
    {"vsl_destroy", 4, "null handle variable",
     [](void*, vsl_error_record* err) { return vsl_destroy(nullptr, err); }},
    {"vsl_adapter_create", 5, "the card is not open",
     [](void* card, vsl_error_record* err) {
       vsl_close(card, err);
       void* adapter = nullptr;
       return vsl_adapter_create(card, &adapter, err);
     }},
    {"vsl_set_beacon_state", 7, "the state must be 0 or 1",
     [](void* card, vsl_error_record* err) { return vsl_set_beacon_state(card, 2, err); }},
    {"vsl_set_vsu_state", 7, "the state must be 0 or 1",
     [](void* card, vsl_error_record* err) {
       void* volume = nullptr;
       vsl_vsu_iterate(card, &volume, 1, err);
       return vsl_set_vsu_state(volume, 2, err);
     }},
    {"vsl_iom_attach_create", 4, "null handle",
     [](void*, vsl_error_record* err) {
       void* job = nullptr;
       return vsl_iom_attach_create(nullptr, &job, err);
     }},
    {"vsl_iom_detach_create", 4, "null handle variable",
     [](void* card, vsl_error_record* err) { return vsl_iom_detach_create(card, nullptr, err); }},
    {"vsl_iom_format_create", 4, "null handle variable",
     [](void* card, vsl_error_record* err) { return vsl_iom_format_create(card, nullptr, err); }},
    {"vsl_iom_detach_set_force", 4, "wrong kind of handle",
     [](void* card, vsl_error_record* err) {
       return vsl_iom_detach_set_force(CreateHandle(vsl_iom_attach_create, card, err), 1, err);
     }},
    {"vsl_iom_format_set_size_mode", 7, "unknown size mode",
     [](void* card, vsl_error_record* err) {
       return vsl_iom_format_set_size_mode(CreateHandle(vsl_iom_format_create, card, err), 12, err);
     }},
    {"vsl_iom_format_set_size_bytes", 7, "the size must be 1 to 784999997440 bytes",
     [](void* card, vsl_error_record* err) {
       return vsl_iom_format_set_size_bytes(CreateHandle(vsl_iom_format_create, card, err),
                                            784999997441, err);
     }},
    {"vsl_iom_format_set_size_pct", 7, "the size must be 1 to 100 percent",
     [](void* card, vsl_error_record* err) {
       return vsl_iom_format_set_size_pct(CreateHandle(vsl_iom_format_create, card, err), 101, err);
     }},
    {"vsl_iom_format_set_sector_size_bytes", 7, "the sector size must be 512 to 4096 bytes",
     [](void* card, vsl_error_record* err) {
       return vsl_iom_format_set_sector_size_bytes(CreateHandle(vsl_iom_format_create, card, err),
                                                   8192, err);
     }},
    {"vsl_op_start", 6, "not possible in state attached",
     [](void* card, vsl_error_record* err) {
       return vsl_op_start(CreateHandle(vsl_iom_attach_create, card, err), err);
     }},
    {"vsl_op_wait_for_result", 6, "no job is running",
     [](void* card, vsl_error_record* err) {
       return vsl_op_wait_for_result(CreateHandle(vsl_iom_detach_create, card, err), err);
     }},
};

class RejectedCalls : public SimulatedCards, public ::testing::WithParamInterface<RejectedCall> {};

TEST_P(RejectedCalls, ReturnTheirCodeAndReason) {
  StartWithCard();
  EXPECT_EQ(GetParam().code, GetParam().call(OpenCard(), &m_Error));
  EXPECT_STREQ(GetParam().text, m_Error.text);
  EXPECT_EQ(GetParam().function, CardSim::CallLog().back().function);
}

INSTANTIATE_TEST_SUITE_P(Table, RejectedCalls, ::testing::ValuesIn(kRejectedCalls),
                         [](const auto& row) { return std::string(row.param.function); });

}  // namespace
