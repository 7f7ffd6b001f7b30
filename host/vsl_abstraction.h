/*
 * The functions of the card vendor's management library that plug-ins call. Compiles as C and C++.
 *
 * Results. A function that acts on a card or creates a handle returns a code; 0 means success. On
 * failure, its outputs are unchanged and the error record is filled. Any code other than 0 and
 * VSL_NOT_READY means that the call failed for the reason given in the record's text.
 *
 * Error records. The last argument of every call except vsl_fini is a pointer to an error record.
 * The caller owns the record and need not initialize it; the library writes it only on failure.
 * vsl_destroy also accepts NULL.
 *
 * Handles. Opaque and owned by the library. Initialize a handle variable to NULL. Handles are not
 * shared with other processes. They become invalid when the library is stopped, or earlier:
 *
 *   kind      created by                              invalidated by
 *   card      vsl_iom_create_by_name                  vsl_destroy
 *   listed    vsl_iom_iterate                         the next vsl_iom_iterate
 *   adapter   vsl_adapter_create                      vsl_destroy
 *   format    vsl_iom_format_create                   vsl_destroy
 *   job       vsl_iom_attach_create, _detach_create,
 *             _format_create (the format itself)      vsl_destroy
 *   volume    vsl_vsu_iterate                         the invalidation of its card's handle
 *
 * Threads. Different threads may use different handles simultaneously; a handle may be used by only
 * one thread at a time. vsl_init and vsl_fini must not run concurrently with any other call.
 *
 * The library defines the functions and numbers. The names of the numbers are specific to this SDK,
 * as are the lists in own/ that generate the declarations of attribute functions.
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

/* The result of a call; 0 means success. */
typedef uint64_t vsl_code;

typedef struct vsl_error_record {
  uint64_t reserved; /* for the library's internal use */
  char text[1040];   /* reason for the failure, zero-terminated; undefined after success */
} vsl_error_record;

/* Result of vsl_init only: the library is not ready yet. Try again after one second. */
#define VSL_NOT_READY 27

/* For vsl_iom_format_set_size_mode: allows sizes up to the maximum for over-formatting. */
#define VSL_SIZE_MODE_OVERFORMAT 11

/* Card states returned by vsl_iom_state. Treat any higher value as VSL_STATE_FAILED. */
enum {
  VSL_STATE_DETACHED = 0,
  VSL_STATE_ATTACHING = 1,
  VSL_STATE_ATTACHED = 2,
  VSL_STATE_DETACHING = 3,
  VSL_STATE_BUSY = 4,
  VSL_STATE_MINIMAL = 5, /* responds, but stores no data; see vsl_minimal_mode_reason */
  VSL_STATE_FAILED = 6,
  VSL_STATE_STOPPED = 7
};

/*
 * Starting and stopping.
 */

/* Starts the library. Must be called before any other function. `flags` is 0. After VSL_NOT_READY,
 * call it again; any other failure is final. May be called again after vsl_fini. */
VSL_API vsl_code vsl_init(uint64_t flags, vsl_error_record* err);

/* Stops the library. No handle may be used or destroyed afterwards. */
VSL_API void vsl_fini(void);

/*
 * Cards. Use vsl_iom_iterate to list the cards. To work with a card, create a handle by its control
 * device path, open the card, read its attributes, close it and destroy the handle. After a card is
 * removed, the next call on any of its handles fails.
 */

/* Sets `*iom` to the next card, or to the first card if it is NULL. Returns false on failure and at
 * the end, where it sets `*iom` to NULL. `which` is 1. The card is not open: only its serial number
 * and device path can be read through this handle. */
VSL_API bool vsl_iom_iterate(void** iom, uint32_t which, vsl_error_record* err);

/* Creates a handle for the card whose control device is `path`, such as "/dev/fct0". Fails if the
 * card does not exist. Does not open the card, which most attributes require; jobs and the locate
 * LED do not require an open card. */
VSL_API vsl_code vsl_iom_create_by_name(const char* path, void** iom, vsl_error_record* err);

/* Opens a card so that its attributes can be read. Fails if the card does not respond. */
VSL_API vsl_code vsl_open(void* iom, vsl_error_record* err);

/* Closes an open card. Its handle remains valid; the card can be opened again. */
VSL_API vsl_code vsl_close(void* iom, vsl_error_record* err);

/* Destroys the handle in `*handle`; does nothing if it is NULL. Does not change the variable, so
 * call it only once per handle. Close an open card first, and wait for a started job to finish. Do
 * not pass the handle of a volume. */
VSL_API vsl_code vsl_destroy(void** handle, vsl_error_record* err);

/* Creates a handle for the PCIe adapter of an open card. Used only for vsl_power_limit_watts. */
VSL_API vsl_code vsl_adapter_create(void* iom, void** adapter, vsl_error_record* err);

/*
 * Attributes. Each has a pair of functions. vsl_has_X returns whether the card currently has the
 * attribute; the result may differ between cards and between calls. Call vsl_X only after vsl_has_X
 * has returned true for the same handle. vsl_X does not report failures; after a failure its result
 * is undefined. The library owns strings, which are valid at least until the next call on the
 * handle.
 *
 * The lists in own/AttributeLists.h contain the type, unit and values of each attribute. `handle`
 * is that of an open card, or of an adapter for power_limit_watts. `format` is a format handle.
 */

#define VSL_DECLARE_ATTRIBUTE(type, name)                           \
  VSL_API bool vsl_has_##name(void* handle, vsl_error_record* err); \
  VSL_API type vsl_##name(void* handle, vsl_error_record* err);
VSL_CARD_ATTRIBUTES(VSL_DECLARE_ATTRIBUTE)
#undef VSL_DECLARE_ATTRIBUTE

/* The attributes of a format: its limits and current settings. */
#define VSL_DECLARE_ATTRIBUTE(type, name)                                      \
  VSL_API bool vsl_iom_format_has_##name(void* format, vsl_error_record* err); \
  VSL_API type vsl_iom_format_##name(void* format, vsl_error_record* err);
VSL_FORMAT_ATTRIBUTES(VSL_DECLARE_ATTRIBUTE)
#undef VSL_DECLARE_ATTRIBUTE

/* Attributes without such a pair. */

/* Returns the PCI device ID of an open card. Every card has one. */
VSL_API uint16_t vsl_pci_device_id(void* iom, vsl_error_record* err);

/* Returns the state of a card's reserve space: 0 healthy, 1 warning, 2 depleted. Call only after
 * vsl_has_reserve_space_pct has returned true. */
VSL_API uint32_t vsl_reserve_status(void* iom, vsl_error_record* err);

/* Whether the format accepts vsl_iom_format_set_size_mode. The mode cannot be read. */
VSL_API bool vsl_iom_format_has_size_mode(void* format, vsl_error_record* err);

/*
 * The locate LED, which the library calls beacon.
 */

/* Turns the LED off (0) or on (1). The card need not be open. */
VSL_API vsl_code vsl_set_beacon_state(void* iom, uint32_t state, vsl_error_record* err);

/*
 * Volumes: the storage units of a card.
 */

/* Sets `*vsu` to the card's next volume, or to the first volume if it is NULL. Returns false on
 * failure and at the end, where it sets `*vsu` to NULL. `which` is 1. */
VSL_API bool vsl_vsu_iterate(void* iom, void** vsu, uint32_t which, vsl_error_record* err);

/* Returns the volume's state: 0 offline, 1 online. Does not require vsl_has_vsu_state. */
VSL_API uint32_t vsl_vsu_state(void* vsu, vsl_error_record* err);

/* Whether the volume's state can be set. */
VSL_API bool vsl_has_vsu_state(void* vsu, vsl_error_record* err);

/* Takes the volume offline (0) or online (1). */
VSL_API vsl_code vsl_set_vsu_state(void* vsu, uint32_t state, vsl_error_record* err);

/*
 * Jobs: create, configure, start, wait, destroy. The card need not be open. Creating and
 * configuring a job does not change the card.
 */

/* Creates a job that attaches the card and thereby makes its block device available. */
VSL_API vsl_code vsl_iom_attach_create(void* iom, void** job, vsl_error_record* err);

/* Creates a job that detaches the card. */
VSL_API vsl_code vsl_iom_detach_create(void* iom, void** job, vsl_error_record* err);

/* If `force` is 1, the job also detaches a card that is in use. */
VSL_API vsl_code vsl_iom_detach_set_force(void* job, uint32_t force, vsl_error_record* err);

/* Creates a job that formats the card and thereby erases its data. The attributes of the format
 * return the limits for the settings below. Every setting has a default. */
VSL_API vsl_code vsl_iom_format_create(void* iom, void** format, vsl_error_record* err);

/* Sets the size mode, which changes the limits. `mode` is VSL_SIZE_MODE_OVERFORMAT. */
VSL_API vsl_code vsl_iom_format_set_size_mode(void* format, uint32_t mode, vsl_error_record* err);

/* Set the formatted capacity, in bytes or as a percentage of the largest capacity. The last call
 * takes effect. */
VSL_API vsl_code vsl_iom_format_set_size_bytes(void* format, uint64_t bytes, vsl_error_record* err);
VSL_API vsl_code vsl_iom_format_set_size_pct(void* format, uint32_t percent, vsl_error_record* err);

/* Sets the sector size. */
VSL_API vsl_code vsl_iom_format_set_sector_size_bytes(void* format, uint32_t bytes,
                                                      vsl_error_record* err);

/* Starts the job and returns immediately. */
VSL_API vsl_code vsl_op_start(void* job, vsl_error_record* err);

/* Blocks until the started job has finished. Returns the job's result; 0 means success. */
VSL_API vsl_code vsl_op_wait_for_result(void* job, vsl_error_record* err);

#ifdef __cplusplus
}
#endif

#endif
