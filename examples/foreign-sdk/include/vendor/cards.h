/* The card library, with the usual functions but different C types of the same width. */
#ifndef OWN_CARDS_H
#define OWN_CARDS_H

#ifdef __cplusplus
extern "C" {
#else
#include <stdbool.h>
#endif

typedef unsigned long long own_code;

typedef struct own_record {
  unsigned char own_head[8];
  char own_message[1000];
  char own_rest[40];
} own_record;

#define OWN_C __attribute__((visibility("default")))
#define OWN_PAIR(own_type, own_name)                                      \
  OWN_C bool vsl_has_##own_name(void* own_handle, own_record* own_error); \
  OWN_C own_type vsl_##own_name(void* own_handle, own_record* own_error);
#define OWN_FORMAT_PAIR(own_type, own_name)                                          \
  OWN_C bool vsl_iom_format_has_##own_name(void* own_handle, own_record* own_error); \
  OWN_C own_type vsl_iom_format_##own_name(void* own_handle, own_record* own_error);

#define OWN_ATTRIBUTES(OWN)                             \
  OWN(const char*, device_path)                         \
  OWN(const char*, serial_number)                       \
  OWN(const char*, board_name)                          \
  OWN(const char*, product_name)                        \
  OWN(const char*, driver_version)                      \
  OWN(const char*, fw_current_version)                  \
  OWN(int, fw_current_major_ver)                        \
  OWN(int, fw_current_minor_ver)                        \
  OWN(int, fw_current_micro_ver)                        \
  OWN(int, fw_current_revision)                         \
  OWN(unsigned char, pci_bus)                           \
  OWN(unsigned char, pci_device)                        \
  OWN(unsigned char, pci_function)                      \
  OWN(unsigned char, pci_slot_num)                      \
  OWN(unsigned short, pci_domain)                       \
  OWN(unsigned long long, factory_size_bytes)           \
  OWN(unsigned long long, size_bytes)                   \
  OWN(unsigned int, sector_size_bytes)                  \
  OWN(unsigned long long, first_use_ts)                 \
  OWN(unsigned long long, origin_ts)                    \
  OWN(float, reserve_warning_threshold_percent)         \
  OWN(float, reserve_space_pct)                         \
  OWN(unsigned int, rated_endurance_tbytes)             \
  OWN(float, rated_writes_remaining_percent)            \
  OWN(unsigned long long, total_physical_bytes_read)    \
  OWN(unsigned long long, total_physical_bytes_written) \
  OWN(float, temp_internal_deg_c)                       \
  OWN(float, temp_internal_warn_deg_c)                  \
  OWN(float, temp_setpoint_high_deg_c)                  \
  OWN(float, pcie_slot_power_watts)                     \
  OWN(float, power_limit_watts)                         \
  OWN(unsigned int, external_power_requirement)         \
  OWN(bool, external_power_connected)                   \
  OWN(unsigned int, iom_state)                          \
  OWN(unsigned long long, minimal_mode_reason)          \
  OWN(unsigned int, write_throttling_state)             \
  OWN(unsigned int, write_throttling_reason)            \
  OWN(unsigned long long, current_errors)               \
  OWN(unsigned long long, current_warnings)             \
  OWN(unsigned long long, current_info)                 \
  OWN(bool, beacon_state)

#define OWN_FORMAT_ATTRIBUTES(OWN)          \
  OWN(bool, disallow_overformat)            \
  OWN(unsigned int, min_sector_size_bytes)  \
  OWN(unsigned int, max_sector_size_bytes)  \
  OWN(unsigned int, sector_size_multiplier) \
  OWN(bool, power_of_two_sector_size)       \
  OWN(unsigned long long, size_bytes)       \
  OWN(unsigned long long, max_size_bytes)   \
  OWN(unsigned char, size_pct)

OWN_ATTRIBUTES(OWN_PAIR)
OWN_FORMAT_ATTRIBUTES(OWN_FORMAT_PAIR)

OWN_C own_code vsl_init(unsigned long long, own_record*);
OWN_C void vsl_fini(void);
OWN_C bool vsl_iom_iterate(void**, unsigned int, own_record*);
OWN_C own_code vsl_iom_create_by_name(const char*, void**, own_record*);
OWN_C own_code vsl_open(void*, own_record*);
OWN_C own_code vsl_close(void*, own_record*);
OWN_C own_code vsl_destroy(void**, own_record*);
OWN_C own_code vsl_adapter_create(void*, void**, own_record*);
OWN_C unsigned short vsl_pci_device_id(void*, own_record*);
OWN_C unsigned int vsl_reserve_status(void*, own_record*);
OWN_C bool vsl_iom_format_has_size_mode(void*, own_record*);
OWN_C own_code vsl_set_beacon_state(void*, unsigned int, own_record*);
OWN_C bool vsl_vsu_iterate(void*, void**, unsigned int, own_record*);
OWN_C unsigned int vsl_vsu_state(void*, own_record*);
OWN_C bool vsl_has_vsu_state(void*, own_record*);
OWN_C own_code vsl_set_vsu_state(void*, unsigned int, own_record*);
OWN_C own_code vsl_iom_attach_create(void*, void**, own_record*);
OWN_C own_code vsl_iom_detach_create(void*, void**, own_record*);
OWN_C own_code vsl_iom_detach_set_force(void*, unsigned int, own_record*);
OWN_C own_code vsl_iom_format_create(void*, void**, own_record*);
OWN_C own_code vsl_iom_format_set_size_mode(void*, unsigned int, own_record*);
OWN_C own_code vsl_iom_format_set_size_bytes(void*, unsigned long long, own_record*);
OWN_C own_code vsl_iom_format_set_size_pct(void*, unsigned int, own_record*);
OWN_C own_code vsl_iom_format_set_sector_size_bytes(void*, unsigned int, own_record*);
OWN_C own_code vsl_op_start(void*, own_record*);
OWN_C own_code vsl_op_wait_for_result(void*, own_record*);

#ifdef __cplusplus
}
#endif

#endif
