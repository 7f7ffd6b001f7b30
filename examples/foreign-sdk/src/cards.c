/* The card library of a machine with one card, which is attached and healthy. */
#include "vendor/cards.h"

#include <stddef.h>
#include <string.h>

#pragma GCC diagnostic ignored "-Wunused-parameter"

#define TERABYTE 1000000000000ULL

enum { DETACHED, ATTACHING, ATTACHED };
enum job { NO_JOB, ATTACH, DETACH, FORMAT };

static struct {
  unsigned int state;
  bool led;
} card = {ATTACHED, false};
static int volume;
static int adapter;
static enum job jobs[] = {NO_JOB, ATTACH, DETACH, FORMAT};

/* The attributes. A card need not have all of them. */
#define HAS(type, name, value)                           \
  bool vsl_has_##name(void* handle, own_record* error) { \
    return true;                                         \
  }                                                      \
  type vsl_##name(void* handle, own_record* error) {     \
    return value;                                        \
  }
#define FORMAT_HAS(type, name, value)                               \
  bool vsl_iom_format_has_##name(void* format, own_record* error) { \
    return true;                                                    \
  }                                                                 \
  type vsl_iom_format_##name(void* format, own_record* error) {     \
    return value;                                                   \
  }
#define LACKS(type, name)                                \
  bool vsl_has_##name(void* handle, own_record* error) { \
    return false;                                        \
  }                                                      \
  type vsl_##name(void* handle, own_record* error) {     \
    return (type)0;                                      \
  }

HAS(const char*, device_path, "/dev/fct0")
HAS(const char*, serial_number, "FOREIGN01")
HAS(const char*, board_name, "Foreign Board")
HAS(const char*, product_name, "Foreign Drive 1TB")
HAS(const char*, driver_version, "4.2.1")
HAS(const char*, fw_current_version, "8.9.5")
HAS(int, fw_current_major_ver, 8)
HAS(int, fw_current_minor_ver, 9)
HAS(int, fw_current_micro_ver, 5)
HAS(int, fw_current_revision, 20160615)
HAS(unsigned char, pci_bus, 3)
HAS(unsigned char, pci_device, 0)
HAS(unsigned char, pci_function, 0)
LACKS(unsigned char, pci_slot_num)
LACKS(unsigned short, pci_domain)
HAS(unsigned long long, factory_size_bytes, TERABYTE)
HAS(unsigned long long, size_bytes, TERABYTE)
HAS(unsigned int, sector_size_bytes, 512)
HAS(unsigned long long, first_use_ts, 1700000000)
LACKS(unsigned long long, origin_ts)
HAS(float, reserve_warning_threshold_percent, 10)
HAS(float, reserve_space_pct, 97)
HAS(unsigned int, rated_endurance_tbytes, 4000)
HAS(float, rated_writes_remaining_percent, 98)
HAS(unsigned long long, total_physical_bytes_read, 2 * TERABYTE)
HAS(unsigned long long, total_physical_bytes_written, TERABYTE)
HAS(float, temp_internal_deg_c, 48.5F)
HAS(float, temp_internal_warn_deg_c, 78)
HAS(float, temp_setpoint_high_deg_c, 85)
HAS(float, pcie_slot_power_watts, 12)
HAS(float, power_limit_watts, 25)
LACKS(unsigned int, external_power_requirement)
LACKS(bool, external_power_connected)
HAS(unsigned int, iom_state, card.state)
LACKS(unsigned long long, minimal_mode_reason)
HAS(unsigned int, write_throttling_state, 0)
HAS(unsigned int, write_throttling_reason, 0)
HAS(unsigned long long, current_errors, 0)
HAS(unsigned long long, current_warnings, 0)
HAS(unsigned long long, current_info, 0)
HAS(bool, beacon_state, card.led)

FORMAT_HAS(bool, disallow_overformat, true)
FORMAT_HAS(unsigned int, min_sector_size_bytes, 512)
FORMAT_HAS(unsigned int, max_sector_size_bytes, 4096)
FORMAT_HAS(unsigned int, sector_size_multiplier, 512)
FORMAT_HAS(bool, power_of_two_sector_size, true)
FORMAT_HAS(unsigned long long, size_bytes, TERABYTE)
FORMAT_HAS(unsigned long long, max_size_bytes, TERABYTE)
FORMAT_HAS(unsigned char, size_pct, 100)

unsigned short vsl_pci_device_id(void* handle, own_record* error) {
  return 0x2001;
}
unsigned int vsl_reserve_status(void* handle, own_record* error) {
  return 0;
}

own_code vsl_init(unsigned long long flags, own_record* error) {
  return 0;
}
void vsl_fini(void) {}

/* Sets `*handle` to the only member of a list, or to NULL after it. */
static bool Iterate(void** handle, void* only) {
  *handle = *handle == NULL ? only : NULL;
  return *handle != NULL;
}
bool vsl_iom_iterate(void** iom, unsigned int which, own_record* error) {
  return Iterate(iom, &card);
}
bool vsl_vsu_iterate(void* iom, void** vsu, unsigned int which, own_record* error) {
  return Iterate(vsu, &volume);
}

static own_code Fail(own_record* error, const char* text) {
  memset(error, 0, sizeof *error);
  strcpy(error->own_message, text);
  return 1;
}
static own_code Create(void** handle, void* object) {
  *handle = object;
  return 0;
}
own_code vsl_iom_create_by_name(const char* path, void** iom, own_record* error) {
  return strcmp(path, "/dev/fct0") == 0 ? Create(iom, &card) : Fail(error, "no such card");
}
own_code vsl_adapter_create(void* iom, void** handle, own_record* error) {
  return Create(handle, &adapter);
}
own_code vsl_iom_attach_create(void* iom, void** job, own_record* error) {
  return Create(job, &jobs[ATTACH]);
}
own_code vsl_iom_detach_create(void* iom, void** job, own_record* error) {
  return Create(job, &jobs[DETACH]);
}
own_code vsl_iom_format_create(void* iom, void** format, own_record* error) {
  return Create(format, &jobs[FORMAT]);
}
own_code vsl_open(void* iom, own_record* error) {
  return 0;
}
own_code vsl_close(void* iom, own_record* error) {
  return 0;
}
own_code vsl_destroy(void** handle, own_record* error) {
  return 0;
}

own_code vsl_set_beacon_state(void* iom, unsigned int state, own_record* error) {
  card.led = state != 0;
  return 0;
}
unsigned int vsl_vsu_state(void* vsu, own_record* error) {
  return 1;
}
bool vsl_has_vsu_state(void* vsu, own_record* error) {
  return false;
}
own_code vsl_set_vsu_state(void* vsu, unsigned int state, own_record* error) {
  return Fail(error, "the state is fixed");
}
own_code vsl_iom_detach_set_force(void* job, unsigned int force, own_record* error) {
  return 0;
}
bool vsl_iom_format_has_size_mode(void* format, own_record* error) {
  return false;
}
own_code vsl_iom_format_set_size_mode(void* format, unsigned int mode, own_record* error) {
  return Fail(error, "no size modes");
}
own_code vsl_iom_format_set_size_bytes(void* format, unsigned long long bytes, own_record* error) {
  return 0;
}
own_code vsl_iom_format_set_size_pct(void* format, unsigned int percent, own_record* error) {
  return 0;
}
own_code vsl_iom_format_set_sector_size_bytes(void* format, unsigned int bytes, own_record* error) {
  return 0;
}
own_code vsl_op_start(void* job, own_record* error) {
  return 0;
}
own_code vsl_op_wait_for_result(void* job, own_record* error) {
  if (*(enum job*)job == ATTACH) card.state = ATTACHED;
  if (*(enum job*)job == DETACH) card.state = DETACHED;
  return 0;
}
