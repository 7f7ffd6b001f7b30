/* The card library of a machine without cards. Functions that need a card exist only for linking
 * and abort when called. */
#include "vendor/cards.h"

#include <stdio.h>
#include <stdlib.h>

static void AbortWithoutCard(const char* function) {
  fprintf(stderr, "%s was called without a card\n", function);
  abort();
}

#define NEEDS_A_CARD(type, name, parameters) \
  type name parameters {                     \
    AbortWithoutCard(#name);                 \
    return (type)0;                          \
  }
#define HANDLE_PARAMETERS (void* handle, vsl_error_record* error)

#undef OWN_PAIR
#define OWN_PAIR(type, name)                            \
  NEEDS_A_CARD(bool, vsl_has_##name, HANDLE_PARAMETERS) \
  NEEDS_A_CARD(type, vsl_##name, HANDLE_PARAMETERS)
#undef OWN_FORMAT_PAIR
#define OWN_FORMAT_PAIR(type, name)                                \
  NEEDS_A_CARD(bool, vsl_iom_format_has_##name, HANDLE_PARAMETERS) \
  NEEDS_A_CARD(type, vsl_iom_format_##name, HANDLE_PARAMETERS)

#pragma GCC diagnostic ignored "-Wunused-parameter"

OWN_ATTRIBUTES(OWN_PAIR)
OWN_FORMAT_ATTRIBUTES(OWN_FORMAT_PAIR)

vsl_code vsl_init(unsigned long long flags, vsl_error_record* error) {
  return 0;
}
void vsl_fini(void) {}
bool vsl_iom_iterate(void** iom, unsigned int which, vsl_error_record* error) {
  return false;
}

#define CODE(name, ...) NEEDS_A_CARD(vsl_code, name, (__VA_ARGS__))
typedef vsl_error_record* Error;
CODE(vsl_iom_create_by_name, const char* path, void** iom, Error error)
CODE(vsl_open, void* iom, Error error)
CODE(vsl_close, void* iom, Error error)
CODE(vsl_destroy, void** handle, Error error)
CODE(vsl_adapter_create, void* iom, void** adapter, Error error)
NEEDS_A_CARD(unsigned short, vsl_pci_device_id, HANDLE_PARAMETERS)
NEEDS_A_CARD(unsigned int, vsl_reserve_status, HANDLE_PARAMETERS)
NEEDS_A_CARD(bool, vsl_iom_format_has_size_mode, HANDLE_PARAMETERS)
CODE(vsl_set_beacon_state, void* iom, unsigned int state, Error error)
NEEDS_A_CARD(bool, vsl_vsu_iterate, (void* iom, void** vsu, unsigned int which, Error error))
NEEDS_A_CARD(unsigned int, vsl_vsu_state, HANDLE_PARAMETERS)
NEEDS_A_CARD(bool, vsl_has_vsu_state, HANDLE_PARAMETERS)
CODE(vsl_set_vsu_state, void* vsu, unsigned int state, Error error)
CODE(vsl_iom_attach_create, void* iom, void** job, Error error)
CODE(vsl_iom_detach_create, void* iom, void** job, Error error)
CODE(vsl_iom_detach_set_force, void* job, unsigned int force, Error error)
CODE(vsl_iom_format_create, void* iom, void** format, Error error)
CODE(vsl_iom_format_set_size_mode, void* format, unsigned int mode, Error error)
CODE(vsl_iom_format_set_size_bytes, void* format, unsigned long long bytes, Error error)
CODE(vsl_iom_format_set_size_pct, void* format, unsigned int percent, Error error)
CODE(vsl_iom_format_set_sector_size_bytes, void* format, unsigned int bytes, Error error)
CODE(vsl_op_start, void* job, Error error)
CODE(vsl_op_wait_for_result, void* job, Error error)
