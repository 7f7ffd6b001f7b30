/*
 * The card vendor's management library, as far as a plug-in calls it. Compiles as C and as C++.
 *
 * Every call but vsl_fini takes the address of an error record last. The library fills it on
 * failure only; a caller need not initialize it, and vsl_destroy also accepts none. A function
 * that acts on a card or makes a handle returns a code, 0 for success.
 *
 * Handles are opaque and the library's. A handle variable starts at NULL.
 *
 *   card    vsl_iom_create_by_name                       ended by vsl_destroy
 *   walked  vsl_iom_iterate                              replaced by the next vsl_iom_iterate
 *   adapter vsl_adapter_create                           ended by vsl_destroy
 *   format  vsl_iom_format_create                        ended by vsl_destroy
 *   job     vsl_iom_{attach,detach,format}_create        ended by vsl_destroy
 *   volume  vsl_vsu_iterate                              never destroyed by the caller
 *
 * Attributes are read in pairs: vsl_X may be called only after vsl_has_X returned true for the
 * same handle. Strings are the library's and valid at least until the next call on the handle.
 *
 * Numbers and functions are the library's; the names of the numbers, and the lists in own/ of which
 * the attributes' functions are made here, are ours.
 */
#ifndef VSL_ABSTRACTION_H
#define VSL_ABSTRACTION_H

#include <stdbool.h>
#include <stdint.h>

#include "host/own/AttributeLists.h"

#ifdef __cplusplus
extern "C" {
#endif

#define VSL_API __attribute__((visibility("default")))

typedef uint64_t vsl_code;

typedef struct vsl_error_record {
  uint64_t reserved;
  char text[1040]; /* why the call failed, zero-terminated */
} vsl_error_record;

/* From vsl_init alone: not ready yet, try again in a second. */
#define VSL_NOT_READY 27

/* Size mode that raises the largest size of a format to what over-formatting allows. */
#define VSL_SIZE_MODE_OVERFORMAT 11

/* Card states, vsl_iom_state. Any value above is treated as failed. */
enum {
  VSL_STATE_DETACHED = 0,
  VSL_STATE_ATTACHING = 1,
  VSL_STATE_ATTACHED = 2,
  VSL_STATE_DETACHING = 3,
  VSL_STATE_BUSY = 4,
  VSL_STATE_MINIMAL = 5,
  VSL_STATE_FAILED = 6,
  VSL_STATE_STOPPED = 7
};

/* Life of the library. */

VSL_API vsl_code vsl_init(uint64_t flags, vsl_error_record* err);
VSL_API void vsl_fini(void);

/* Handles. */

/* Moves to the next card, from NULL; false at the end. `which` is 1. */
VSL_API bool vsl_iom_iterate(void** iom, uint32_t which, vsl_error_record* err);
VSL_API vsl_code vsl_iom_create_by_name(const char* path, void** iom, vsl_error_record* err);
VSL_API vsl_code vsl_open(void* iom, vsl_error_record* err);
VSL_API vsl_code vsl_close(void* iom, vsl_error_record* err);
VSL_API vsl_code vsl_destroy(void** handle, vsl_error_record* err);
VSL_API vsl_code vsl_adapter_create(void* iom, void** adapter, vsl_error_record* err);

/* Attributes of a card and of a format. */

#define VSL_DECLARE_ATTRIBUTE(type, name)                           \
  VSL_API bool vsl_has_##name(void* handle, vsl_error_record* err); \
  VSL_API type vsl_##name(void* handle, vsl_error_record* err);
VSL_CARD_ATTRIBUTES(VSL_DECLARE_ATTRIBUTE)
#undef VSL_DECLARE_ATTRIBUTE

#define VSL_DECLARE_ATTRIBUTE(type, name)                                      \
  VSL_API bool vsl_iom_format_has_##name(void* format, vsl_error_record* err); \
  VSL_API type vsl_iom_format_##name(void* format, vsl_error_record* err);
VSL_FORMAT_ATTRIBUTES(VSL_DECLARE_ATTRIBUTE)
#undef VSL_DECLARE_ATTRIBUTE

/* Attributes without a vsl_has_ of their own. */

VSL_API uint16_t vsl_pci_device_id(void* iom, vsl_error_record* err);
/* After vsl_has_reserve_space_pct: 0 healthy, 1 warning, 2 depleted. */
VSL_API uint32_t vsl_reserve_status(void* iom, vsl_error_record* err);
/* Whether the format has size modes. */
VSL_API bool vsl_iom_format_has_size_mode(void* format, vsl_error_record* err);

/* The locating light, 0 off or 1 on. */

VSL_API vsl_code vsl_set_beacon_state(void* iom, uint32_t state, vsl_error_record* err);

/* Storage units of a card. */

/* Moves to the next unit, from NULL; false at the end. `which` is 1. */
VSL_API bool vsl_vsu_iterate(void* iom, void** vsu, uint32_t which, vsl_error_record* err);
/* 0 offline, 1 online. May be called bare; vsl_has_vsu_state tells whether it can be set. */
VSL_API uint32_t vsl_vsu_state(void* vsu, vsl_error_record* err);
VSL_API bool vsl_has_vsu_state(void* vsu, vsl_error_record* err);
VSL_API vsl_code vsl_set_vsu_state(void* vsu, uint32_t state, vsl_error_record* err);

/* Jobs: made, prepared, started, waited for. */

VSL_API vsl_code vsl_iom_attach_create(void* iom, void** job, vsl_error_record* err);
VSL_API vsl_code vsl_iom_detach_create(void* iom, void** job, vsl_error_record* err);
VSL_API vsl_code vsl_iom_detach_set_force(void* job, uint32_t force, vsl_error_record* err);
VSL_API vsl_code vsl_iom_format_create(void* iom, void** format, vsl_error_record* err);
VSL_API vsl_code vsl_iom_format_set_size_mode(void* format, uint32_t mode, vsl_error_record* err);
VSL_API vsl_code vsl_iom_format_set_size_bytes(void* format, uint64_t bytes, vsl_error_record* err);
VSL_API vsl_code vsl_iom_format_set_size_pct(void* format, uint32_t percent, vsl_error_record* err);
VSL_API vsl_code vsl_iom_format_set_sector_size_bytes(void* format, uint32_t bytes,
                                                      vsl_error_record* err);
VSL_API vsl_code vsl_op_start(void* job, vsl_error_record* err);
/* Blocks until the job has ended. */
VSL_API vsl_code vsl_op_wait_for_result(void* job, vsl_error_record* err);

#ifdef __cplusplus
}
#endif

#endif
