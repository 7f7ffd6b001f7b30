/* Compares the card library's header with a second copy of its declarations: a different result or
 * parameter type is a compile error. No function is called. */
#include <stddef.h>

#include "host/vsl_abstraction.h"

#ifdef __cplusplus
extern "C" {
#endif

/* An array type of negative size is an error in both languages. */
#define HOLDS(name, condition) typedef char name[(condition) ? 1 : -1]

HOLDS(record_has_1048_bytes, sizeof(vsl_error_record) == 1048);
HOLDS(text_starts_at_byte_8, offsetof(vsl_error_record, text) == 8);
extern vsl_error_record any_record;
HOLDS(text_fills_the_record, sizeof(any_record.text) == 1040);
HOLDS(bool_has_1_byte, sizeof(bool) == 1);
HOLDS(code_has_8_bytes, sizeof(vsl_code) == 8);
HOLDS(float_has_4_bytes, sizeof(float) == 4);
HOLDS(handle_has_8_bytes, sizeof(void*) == 8);

HOLDS(not_ready_is_27, VSL_NOT_READY == 27);
HOLDS(overformat_mode_is_11, VSL_SIZE_MODE_OVERFORMAT == 11);
HOLDS(detached_is_0, VSL_STATE_DETACHED == 0);
HOLDS(attaching_is_1, VSL_STATE_ATTACHING == 1);
HOLDS(attached_is_2, VSL_STATE_ATTACHED == 2);
HOLDS(detaching_is_3, VSL_STATE_DETACHING == 3);
HOLDS(busy_is_4, VSL_STATE_BUSY == 4);
HOLDS(minimal_is_5, VSL_STATE_MINIMAL == 5);
HOLDS(failed_is_6, VSL_STATE_FAILED == 6);
HOLDS(stopped_is_7, VSL_STATE_STOPPED == 7);

#define COUNT_ONE(type, name) +1
HOLDS(card_has_41_attributes, (0 VSL_CARD_ATTRIBUTES(COUNT_ONE)) == 41);
HOLDS(format_has_8_attributes, (0 VSL_FORMAT_ATTRIBUTES(COUNT_ONE)) == 8);

uint64_t vsl_init(uint64_t flags, vsl_error_record* err);
void vsl_fini(void);

bool vsl_iom_iterate(void** iom, uint32_t which, vsl_error_record* err);
uint64_t vsl_iom_create_by_name(const char* path, void** iom, vsl_error_record* err);
uint64_t vsl_open(void* iom, vsl_error_record* err);
uint64_t vsl_close(void* iom, vsl_error_record* err);
uint64_t vsl_destroy(void** handle, vsl_error_record* err);
uint64_t vsl_adapter_create(void* iom, void** adapter, vsl_error_record* err);

bool vsl_has_device_path(void* handle, vsl_error_record* err);
const char* vsl_device_path(void* handle, vsl_error_record* err);
bool vsl_has_serial_number(void* handle, vsl_error_record* err);
const char* vsl_serial_number(void* handle, vsl_error_record* err);
bool vsl_has_board_name(void* handle, vsl_error_record* err);
const char* vsl_board_name(void* handle, vsl_error_record* err);
bool vsl_has_product_name(void* handle, vsl_error_record* err);
const char* vsl_product_name(void* handle, vsl_error_record* err);
bool vsl_has_driver_version(void* handle, vsl_error_record* err);
const char* vsl_driver_version(void* handle, vsl_error_record* err);
bool vsl_has_fw_current_version(void* handle, vsl_error_record* err);
const char* vsl_fw_current_version(void* handle, vsl_error_record* err);
bool vsl_has_fw_current_major_ver(void* handle, vsl_error_record* err);
int32_t vsl_fw_current_major_ver(void* handle, vsl_error_record* err);
bool vsl_has_fw_current_minor_ver(void* handle, vsl_error_record* err);
int32_t vsl_fw_current_minor_ver(void* handle, vsl_error_record* err);
bool vsl_has_fw_current_micro_ver(void* handle, vsl_error_record* err);
int32_t vsl_fw_current_micro_ver(void* handle, vsl_error_record* err);
bool vsl_has_fw_current_revision(void* handle, vsl_error_record* err);
int32_t vsl_fw_current_revision(void* handle, vsl_error_record* err);
bool vsl_has_pci_bus(void* handle, vsl_error_record* err);
uint8_t vsl_pci_bus(void* handle, vsl_error_record* err);
bool vsl_has_pci_device(void* handle, vsl_error_record* err);
uint8_t vsl_pci_device(void* handle, vsl_error_record* err);
bool vsl_has_pci_function(void* handle, vsl_error_record* err);
uint8_t vsl_pci_function(void* handle, vsl_error_record* err);
bool vsl_has_pci_slot_num(void* handle, vsl_error_record* err);
uint8_t vsl_pci_slot_num(void* handle, vsl_error_record* err);
bool vsl_has_pci_domain(void* handle, vsl_error_record* err);
uint16_t vsl_pci_domain(void* handle, vsl_error_record* err);
bool vsl_has_factory_size_bytes(void* handle, vsl_error_record* err);
uint64_t vsl_factory_size_bytes(void* handle, vsl_error_record* err);
bool vsl_has_size_bytes(void* handle, vsl_error_record* err);
uint64_t vsl_size_bytes(void* handle, vsl_error_record* err);
bool vsl_has_sector_size_bytes(void* handle, vsl_error_record* err);
uint32_t vsl_sector_size_bytes(void* handle, vsl_error_record* err);
bool vsl_has_first_use_ts(void* handle, vsl_error_record* err);
uint64_t vsl_first_use_ts(void* handle, vsl_error_record* err);
bool vsl_has_origin_ts(void* handle, vsl_error_record* err);
uint64_t vsl_origin_ts(void* handle, vsl_error_record* err);
bool vsl_has_reserve_warning_threshold_percent(void* handle, vsl_error_record* err);
float vsl_reserve_warning_threshold_percent(void* handle, vsl_error_record* err);
bool vsl_has_reserve_space_pct(void* handle, vsl_error_record* err);
float vsl_reserve_space_pct(void* handle, vsl_error_record* err);
bool vsl_has_rated_endurance_tbytes(void* handle, vsl_error_record* err);
uint32_t vsl_rated_endurance_tbytes(void* handle, vsl_error_record* err);
bool vsl_has_rated_writes_remaining_percent(void* handle, vsl_error_record* err);
float vsl_rated_writes_remaining_percent(void* handle, vsl_error_record* err);
bool vsl_has_total_physical_bytes_read(void* handle, vsl_error_record* err);
uint64_t vsl_total_physical_bytes_read(void* handle, vsl_error_record* err);
bool vsl_has_total_physical_bytes_written(void* handle, vsl_error_record* err);
uint64_t vsl_total_physical_bytes_written(void* handle, vsl_error_record* err);
bool vsl_has_temp_internal_deg_c(void* handle, vsl_error_record* err);
float vsl_temp_internal_deg_c(void* handle, vsl_error_record* err);
bool vsl_has_temp_internal_warn_deg_c(void* handle, vsl_error_record* err);
float vsl_temp_internal_warn_deg_c(void* handle, vsl_error_record* err);
bool vsl_has_temp_setpoint_high_deg_c(void* handle, vsl_error_record* err);
float vsl_temp_setpoint_high_deg_c(void* handle, vsl_error_record* err);
bool vsl_has_pcie_slot_power_watts(void* handle, vsl_error_record* err);
float vsl_pcie_slot_power_watts(void* handle, vsl_error_record* err);
bool vsl_has_power_limit_watts(void* handle, vsl_error_record* err);
float vsl_power_limit_watts(void* handle, vsl_error_record* err);
bool vsl_has_external_power_requirement(void* handle, vsl_error_record* err);
uint32_t vsl_external_power_requirement(void* handle, vsl_error_record* err);
bool vsl_has_external_power_connected(void* handle, vsl_error_record* err);
bool vsl_external_power_connected(void* handle, vsl_error_record* err);
bool vsl_has_iom_state(void* handle, vsl_error_record* err);
uint32_t vsl_iom_state(void* handle, vsl_error_record* err);
bool vsl_has_minimal_mode_reason(void* handle, vsl_error_record* err);
uint64_t vsl_minimal_mode_reason(void* handle, vsl_error_record* err);
bool vsl_has_write_throttling_state(void* handle, vsl_error_record* err);
uint32_t vsl_write_throttling_state(void* handle, vsl_error_record* err);
bool vsl_has_write_throttling_reason(void* handle, vsl_error_record* err);
uint32_t vsl_write_throttling_reason(void* handle, vsl_error_record* err);
bool vsl_has_current_errors(void* handle, vsl_error_record* err);
uint64_t vsl_current_errors(void* handle, vsl_error_record* err);
bool vsl_has_current_warnings(void* handle, vsl_error_record* err);
uint64_t vsl_current_warnings(void* handle, vsl_error_record* err);
bool vsl_has_current_info(void* handle, vsl_error_record* err);
uint64_t vsl_current_info(void* handle, vsl_error_record* err);
bool vsl_has_beacon_state(void* handle, vsl_error_record* err);
bool vsl_beacon_state(void* handle, vsl_error_record* err);
uint16_t vsl_pci_device_id(void* iom, vsl_error_record* err);
uint32_t vsl_reserve_status(void* iom, vsl_error_record* err);

bool vsl_iom_format_has_disallow_overformat(void* format, vsl_error_record* err);
bool vsl_iom_format_disallow_overformat(void* format, vsl_error_record* err);
bool vsl_iom_format_has_min_sector_size_bytes(void* format, vsl_error_record* err);
uint32_t vsl_iom_format_min_sector_size_bytes(void* format, vsl_error_record* err);
bool vsl_iom_format_has_max_sector_size_bytes(void* format, vsl_error_record* err);
uint32_t vsl_iom_format_max_sector_size_bytes(void* format, vsl_error_record* err);
bool vsl_iom_format_has_sector_size_multiplier(void* format, vsl_error_record* err);
uint32_t vsl_iom_format_sector_size_multiplier(void* format, vsl_error_record* err);
bool vsl_iom_format_has_power_of_two_sector_size(void* format, vsl_error_record* err);
bool vsl_iom_format_power_of_two_sector_size(void* format, vsl_error_record* err);
bool vsl_iom_format_has_size_bytes(void* format, vsl_error_record* err);
uint64_t vsl_iom_format_size_bytes(void* format, vsl_error_record* err);
bool vsl_iom_format_has_max_size_bytes(void* format, vsl_error_record* err);
uint64_t vsl_iom_format_max_size_bytes(void* format, vsl_error_record* err);
bool vsl_iom_format_has_size_pct(void* format, vsl_error_record* err);
uint8_t vsl_iom_format_size_pct(void* format, vsl_error_record* err);
bool vsl_iom_format_has_size_mode(void* format, vsl_error_record* err);

uint64_t vsl_set_beacon_state(void* iom, uint32_t state, vsl_error_record* err);
bool vsl_vsu_iterate(void* iom, void** vsu, uint32_t which, vsl_error_record* err);
uint32_t vsl_vsu_state(void* vsu, vsl_error_record* err);
bool vsl_has_vsu_state(void* vsu, vsl_error_record* err);
uint64_t vsl_set_vsu_state(void* vsu, uint32_t state, vsl_error_record* err);

uint64_t vsl_iom_attach_create(void* iom, void** job, vsl_error_record* err);
uint64_t vsl_iom_detach_create(void* iom, void** job, vsl_error_record* err);
uint64_t vsl_iom_detach_set_force(void* job, uint32_t force, vsl_error_record* err);
uint64_t vsl_iom_format_create(void* iom, void** format, vsl_error_record* err);
uint64_t vsl_iom_format_set_size_mode(void* format, uint32_t mode, vsl_error_record* err);
uint64_t vsl_iom_format_set_size_bytes(void* format, uint64_t bytes, vsl_error_record* err);
uint64_t vsl_iom_format_set_size_pct(void* format, uint32_t percent, vsl_error_record* err);
uint64_t vsl_iom_format_set_sector_size_bytes(void* format, uint32_t bytes, vsl_error_record* err);
uint64_t vsl_op_start(void* job, vsl_error_record* err);
uint64_t vsl_op_wait_for_result(void* job, vsl_error_record* err);

#ifdef __cplusplus
}
#endif
