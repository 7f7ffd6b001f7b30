/*
 * Lists of the card library's attributes. vsl_abstraction.h generates declarations from them, and
 * the simulator its functions and tables. The vendor's header does not have these lists.
 *
 * Sizes are in bytes, temperatures in degrees Celsius and power in watts. Masks have one bit per
 * reason.
 */
#ifndef HOST_OWN_ATTRIBUTE_LISTS_H
#define HOST_OWN_ATTRIBUTE_LISTS_H

/* Attributes of a card: type, name. Each declares vsl_has_NAME and vsl_NAME. */
/* clang-format off */
#define VSL_CARD_ATTRIBUTES(X) \
  X(const char*, device_path)                /* of the control device, not the block device */ \
  X(const char*, serial_number) \
  X(const char*, board_name) \
  X(const char*, product_name) \
  X(const char*, driver_version) \
  X(const char*, fw_current_version) \
  X(int32_t, fw_current_major_ver) \
  X(int32_t, fw_current_minor_ver) \
  X(int32_t, fw_current_micro_ver) \
  X(int32_t, fw_current_revision) \
  X(uint8_t, pci_bus) \
  X(uint8_t, pci_device) \
  X(uint8_t, pci_function) \
  X(uint8_t, pci_slot_num) \
  X(uint16_t, pci_domain)                    /* the PCI segment */ \
  X(uint64_t, factory_size_bytes) \
  X(uint64_t, size_bytes) \
  X(uint32_t, sector_size_bytes) \
  X(uint64_t, first_use_ts)                  /* seconds since the epoch */ \
  X(uint64_t, origin_ts)                     /* seconds since the epoch */ \
  X(float, reserve_warning_threshold_percent) \
  X(float, reserve_space_pct) \
  X(uint32_t, rated_endurance_tbytes)        /* in units of 2^40 bytes */ \
  X(float, rated_writes_remaining_percent) \
  X(uint64_t, total_physical_bytes_read) \
  X(uint64_t, total_physical_bytes_written) \
  X(float, temp_internal_deg_c) \
  X(float, temp_internal_warn_deg_c) \
  X(float, temp_setpoint_high_deg_c) \
  X(float, pcie_slot_power_watts) \
  X(float, power_limit_watts)                /* of an adapter handle */ \
  X(uint32_t, external_power_requirement)    /* 1 optional, 2 required, otherwise none */ \
  X(bool, external_power_connected) \
  X(uint32_t, iom_state)                     /* VSL_STATE_ */ \
  X(uint64_t, minimal_mode_reason)           /* mask */ \
  X(uint32_t, write_throttling_state)        /* 1 partial, 2 complete, otherwise none */ \
  X(uint32_t, write_throttling_reason)       /* 0 to 9 */ \
  X(uint64_t, current_errors)                /* mask */ \
  X(uint64_t, current_warnings)              /* mask */ \
  X(uint64_t, current_info)                  /* mask */ \
  X(bool, beacon_state)                      /* whether the LED is on */

/* Attributes of a format: type, name. Each declares vsl_iom_format_has_NAME and
 * vsl_iom_format_NAME. */
#define VSL_FORMAT_ATTRIBUTES(X) \
  X(bool, disallow_overformat)               /* VSL_SIZE_MODE_OVERFORMAT is rejected */ \
  X(uint32_t, min_sector_size_bytes) \
  X(uint32_t, max_sector_size_bytes) \
  X(uint32_t, sector_size_multiplier)        /* sector sizes must be multiples of it */ \
  X(bool, power_of_two_sector_size)          /* sector sizes must be powers of two */ \
  X(uint64_t, size_bytes)                    /* formatted capacity with the current settings */ \
  X(uint64_t, max_size_bytes) \
  X(uint8_t, size_pct)                       /* size_bytes as a percentage of max_size_bytes */
/* clang-format on */

#endif
