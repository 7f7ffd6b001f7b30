// The functions of the card library that the plug-in calls. Each row is a compile-time check with a
// sentence for the case that the vendor's header differs.
#pragma once

#include <cstdint>
#include <type_traits>

#include "Corvane/Sdk/Probe.h"
#include "Corvane/Src/CardNumbers.h"
#include "host/vsl_abstraction.h"

// clang-format off

// Attributes of a card or of its adapter: name and kind. Each has the functions vsl_has_NAME and
// vsl_NAME.
#define CARD_ATTRIBUTES(X) \
  X(device_path, SDK_C_STRING) \
  X(serial_number, SDK_C_STRING) \
  X(board_name, SDK_C_STRING) \
  X(product_name, SDK_C_STRING) \
  X(driver_version, SDK_C_STRING) \
  X(fw_current_version, SDK_C_STRING) \
  X(fw_current_major_ver, SDK_INT32) \
  X(fw_current_minor_ver, SDK_INT32) \
  X(fw_current_micro_ver, SDK_INT32) \
  X(fw_current_revision, SDK_INT32) \
  X(pci_bus, SDK_UINT8) \
  X(pci_device, SDK_UINT8) \
  X(pci_function, SDK_UINT8) \
  X(pci_slot_num, SDK_UINT8) \
  X(pci_domain, SDK_UINT16) \
  X(factory_size_bytes, SDK_UINT64) \
  X(size_bytes, SDK_UINT64) \
  X(sector_size_bytes, SDK_UINT32) \
  X(first_use_ts, SDK_UINT64) \
  X(origin_ts, SDK_UINT64) \
  X(reserve_warning_threshold_percent, SDK_FLOAT) \
  X(reserve_space_pct, SDK_FLOAT) \
  X(rated_endurance_tbytes, SDK_UINT32) \
  X(rated_writes_remaining_percent, SDK_FLOAT) \
  X(total_physical_bytes_read, SDK_UINT64) \
  X(total_physical_bytes_written, SDK_UINT64) \
  X(temp_internal_deg_c, SDK_FLOAT) \
  X(temp_internal_warn_deg_c, SDK_FLOAT) \
  X(temp_setpoint_high_deg_c, SDK_FLOAT) \
  X(pcie_slot_power_watts, SDK_FLOAT) \
  X(power_limit_watts, SDK_FLOAT) \
  X(external_power_requirement, SDK_UINT32) \
  X(external_power_connected, SDK_BOOL) \
  X(iom_state, SDK_UINT32) \
  X(minimal_mode_reason, SDK_UINT64) \
  X(write_throttling_state, SDK_UINT32) \
  X(write_throttling_reason, SDK_UINT32) \
  X(current_errors, SDK_UINT64) \
  X(current_warnings, SDK_UINT64) \
  X(current_info, SDK_UINT64) \
  X(beacon_state, SDK_BOOL)

// Attributes of a format, with the functions vsl_iom_format_has_NAME and vsl_iom_format_NAME.
#define CARD_FORMAT_ATTRIBUTES(X) \
  X(disallow_overformat, SDK_BOOL) \
  X(min_sector_size_bytes, SDK_UINT32) \
  X(max_sector_size_bytes, SDK_UINT32) \
  X(sector_size_multiplier, SDK_UINT32) \
  X(power_of_two_sector_size, SDK_BOOL) \
  X(size_bytes, SDK_UINT64) \
  X(max_size_bytes, SDK_UINT64) \
  X(size_pct, SDK_UINT8)

// Other functions: name, arguments and kind of the result.
#define CARD_FUNCTIONS(X) \
  X(vsl_iom_create_by_name, ("", handles, error), CARD_CODE) \
  X(vsl_open, (handle, error), CARD_CODE) \
  X(vsl_close, (handle, error), SDK_CALLABLE) \
  X(vsl_destroy, (handles, error), SDK_CALLABLE) \
  X(vsl_adapter_create, (handle, handles, error), CARD_CODE) \
  X(vsl_init, (0U, error), CARD_CODE) \
  X(vsl_iom_iterate, (handles, number32, error), SDK_TRUTH) \
  X(vsl_pci_device_id, (handle, error), SDK_UINT16) \
  X(vsl_reserve_status, (handle, error), SDK_UINT32) \
  X(vsl_set_beacon_state, (handle, number32, error), CARD_CODE) \
  X(vsl_vsu_iterate, (handle, handles, number32, error), SDK_TRUTH) \
  X(vsl_vsu_state, (handle, error), SDK_UINT32) \
  X(vsl_has_vsu_state, (handle, error), SDK_BOOL) \
  X(vsl_set_vsu_state, (handle, number32, error), CARD_CODE) \
  X(vsl_iom_attach_create, (handle, handles, error), CARD_CODE) \
  X(vsl_iom_detach_create, (handle, handles, error), CARD_CODE) \
  X(vsl_iom_detach_set_force, (handle, number32, error), CARD_CODE) \
  X(vsl_iom_format_create, (handle, handles, error), CARD_CODE) \
  X(vsl_iom_format_has_size_mode, (handle, error), SDK_BOOL) \
  X(vsl_iom_format_set_size_mode, (handle, number32, error), CARD_CODE) \
  X(vsl_iom_format_set_size_bytes, (handle, number64, error), CARD_CODE) \
  X(vsl_iom_format_set_size_pct, (handle, number32, error), CARD_CODE) \
  X(vsl_iom_format_set_sector_size_bytes, (handle, number32, error), CARD_CODE) \
  X(vsl_op_start, (handle, error), CARD_CODE) \
  X(vsl_op_wait_for_result, (handle, error), CARD_CODE)

// clang-format on

#define CARD_CODE ::CorvaneSdk::IsUint64, "must exist and return an unsigned 64-bit integer"

// Stand-ins for functions that the header does not declare.
namespace CorvaneStandIns {

#define CARD_STAND_IN(name) ::CorvaneSdk::Missing name(...);
#define CARD_ATTRIBUTE_STAND_INS(name, ...) CARD_STAND_IN(vsl_has_##name) CARD_STAND_IN(vsl_##name)
#define CARD_FORMAT_STAND_INS(name, ...)   \
  CARD_STAND_IN(vsl_iom_format_has_##name) \
  CARD_STAND_IN(vsl_iom_format_##name)
#define CARD_FUNCTION_STAND_IN(name, ...) CARD_STAND_IN(name)
CARD_ATTRIBUTES(CARD_ATTRIBUTE_STAND_INS)
CARD_FORMAT_ATTRIBUTES(CARD_FORMAT_STAND_INS)
CARD_FUNCTIONS(CARD_FUNCTION_STAND_IN)
#undef CARD_STAND_IN
// A template, so that the library's function is preferred.
template <class = void>
::CorvaneSdk::Missing vsl_fini(...);

}  // namespace CorvaneStandIns

namespace CorvaneSdk {
namespace Lookup {

using namespace ::CorvaneStandIns;

// The pointer to an error record, whose type is not known.
template <class Result, class Record>
Record* RecordOf(Result (*)(void*, Record*));
void* RecordOf(...);
using ErrorRecord = decltype(RecordOf(vsl_open));

extern void* handle;
extern void** handles;
extern ErrorRecord error;
extern Number<4> number32;
extern Number<8> number64;

// The types of the functions of attributes. The plug-in uses pointers to them, so their parameters
// must not differ.
struct Library {
  using Has = bool (*)(void*, ErrorRecord);
  template <class T>
  using Read = T (*)(void*, ErrorRecord);
  using CreateJob = decltype(vsl_open(handle, error)) (*)(void*, void**, ErrorRecord);
};
#define CARD_POINTER(type, function) \
  static_cast<typename std::decay_t<decltype(sdk)>::type>(function)
#define CARD_READ(has, read, ...)                                                           \
  SDK_EXPRESSION(Library, CARD_POINTER(Has, has), #has "(void* handle, error record*)",     \
                 IsAnything, "must exist and return a bool");                               \
  SDK_FUNCTION(read(handle, error), "The result of " #read "(void* handle, error record*)", \
               __VA_ARGS__);                                                                \
  SDK_EXPRESSION(Library, CARD_POINTER(template Read<decltype(read(handle, error))>, read), \
                 #read "(void* handle, error record*)", IsAnything, "must have these parameters")

#define CARD_ATTRIBUTE(name, ...) CARD_READ(vsl_has_##name, vsl_##name, __VA_ARGS__);
CARD_ATTRIBUTES(CARD_ATTRIBUTE)
#define CARD_FORMAT_ATTRIBUTE(name, ...) \
  CARD_READ(vsl_iom_format_has_##name, vsl_iom_format_##name, __VA_ARGS__);
CARD_FORMAT_ATTRIBUTES(CARD_FORMAT_ATTRIBUTE)
#define CARD_FUNCTION(name, arguments, ...) \
  SDK_FUNCTION(name arguments, #name #arguments, __VA_ARGS__);
CARD_FUNCTIONS(CARD_FUNCTION)
#define CARD_JOB(name)                                                                     \
  SDK_EXPRESSION(Library, CARD_POINTER(CreateJob, name), #name "(handle, handles, error)", \
                 IsAnything, "must have exactly these parameters and the result of vsl_open")
CARD_JOB(vsl_iom_attach_create);
CARD_JOB(vsl_iom_detach_create);
SDK_FUNCTION(vsl_fini(), "vsl_fini()", SDK_CALLABLE);

// The plug-in reserves this many bytes for an error record.
template <class Record>
constexpr std::size_t SizeOf() {
  if constexpr (IsComplete<Record>::value) {
    return sizeof(Record);
  } else {
    return 0;
  }
}
static_assert(SizeOf<std::remove_pointer_t<ErrorRecord>>() <= NAMESPACE_Corvane::kErrorRecordSize,
              "the card library's error record must not be larger than 1048 bytes");

}  // namespace Lookup
}  // namespace CorvaneSdk
