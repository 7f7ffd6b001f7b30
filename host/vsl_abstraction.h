/*
 * The card vendor's management library, as far as a plug-in calls it. Compiles as C and as C++.
 *
 * Results. A function that acts on a card or creates a handle returns a code, 0 for success. On
 * failure its outputs keep their values, and the error record is filled. All other codes but
 * VSL_NOT_READY mean the same: it failed, and the record's text says why.
 *
 * Error records. Every call but vsl_fini takes the address of one as its last argument. The caller
 * owns it and need not initialize it; the library writes it on failure only. vsl_destroy also
 * accepts NULL.
 *
 * Handles. Opaque and owned by the library. A handle variable starts at NULL. Handles are not
 * shared with other processes and end with the library.
 *
 *   kind      created by                              ended by
 *   card      vsl_iom_create_by_name                  vsl_destroy
 *   listed    vsl_iom_iterate                         the next vsl_iom_iterate
 *   adapter   vsl_adapter_create                      vsl_destroy
 *   format    vsl_iom_format_create                   vsl_destroy
 *   job       vsl_iom_attach_create, _detach_create,
 *             _format_create (the format itself)      vsl_destroy
 *   volume    vsl_vsu_iterate                         the end of its card's handle
 *
 * Threads. Different handles may be used on different threads at the same time; one handle, on one
 * thread at a time. vsl_init and vsl_fini must not run concurrently with any other call.
 *
 * Numbers and functions are the library's. The names of the numbers, and the lists in own/ from
 * which the functions for attributes are declared here, are ours.
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

/* 0 for success. */
typedef uint64_t vsl_code;

typedef struct vsl_error_record {
  uint64_t reserved; /* the library's own */
  char text[1040];   /* why the call failed, zero-terminated; undefined after a success */
} vsl_error_record;

/* Only from vsl_init: not ready yet; try again in a second. */
#define VSL_NOT_READY 27

/* For vsl_iom_format_set_size_mode: allows sizes up to the over-formatted maximum. */
#define VSL_SIZE_MODE_OVERFORMAT 11

/* States of a card, results of vsl_iom_state. Treat any higher value as VSL_STATE_FAILED. */
enum {
  VSL_STATE_DETACHED = 0,
  VSL_STATE_ATTACHING = 1,
  VSL_STATE_ATTACHED = 2,
  VSL_STATE_DETACHING = 3,
  VSL_STATE_BUSY = 4,
  VSL_STATE_MINIMAL = 5, /* answers, but stores no data; vsl_minimal_mode_reason says why */
  VSL_STATE_FAILED = 6,
  VSL_STATE_STOPPED = 7
};

/*
 * Starting and stopping.
 */

/* Starts the library; every other call needs it. `flags` is 0. VSL_NOT_READY: call again. Any other
 * failure is final. May be called again after vsl_fini. */
VSL_API vsl_code vsl_init(uint64_t flags, vsl_error_record* err);

/* Stops the library. No handle may be used or destroyed afterwards. */
VSL_API void vsl_fini(void);

/*
 * Cards. Listing shows which cards there are; to work with one, create a handle by its control
 * device path, open it, read, close and destroy it. A card that is removed makes the next call on
 * its handles fail.
 */

/* Moves `*iom` to the next card, to the first one from NULL. Returns false at the end, where `*iom`
 * becomes NULL, and on failure. `which` is 1. The handle is listed, not open: of its attributes,
 * only the serial number and the device path can be read. */
VSL_API bool vsl_iom_iterate(void** iom, uint32_t which, vsl_error_record* err);

/* Creates a handle for the card whose control device is `path`, such as "/dev/fct0". Fails if the
 * card does not exist. The card is not opened: most attributes require an open card, jobs and the
 * locate LED do not. */
VSL_API vsl_code vsl_iom_create_by_name(const char* path, void** iom, vsl_error_record* err);

/* Opens a card so that its attributes can be read. Fails if the card does not answer. */
VSL_API vsl_code vsl_open(void* iom, vsl_error_record* err);

/* Closes an open card. Its handle remains, and may be opened again. */
VSL_API vsl_code vsl_close(void* iom, vsl_error_record* err);

/* Frees the handle at `*handle`, not of a volume, once; does nothing if it is NULL. The
 * variable keeps its value. Close an open card first, and wait for the end of a started job. */
VSL_API vsl_code vsl_destroy(void** handle, vsl_error_record* err);

/* Creates a handle for the PCIe adapter of an open card. It serves vsl_power_limit_watts only. */
VSL_API vsl_code vsl_adapter_create(void* iom, void** adapter, vsl_error_record* err);

/*
 * Attributes, read in pairs. vsl_has_X says whether the card has the attribute at this moment; it
 * may differ between cards and between calls. Call vsl_X only after vsl_has_X has returned true on
 * the same handle. vsl_X does not report failures: its result is then undefined. Strings are
 * the library's, and valid at least until the next call on the handle.
 *
 * The lists in own/AttributeLists.h give each attribute's type, unit and numbers. `handle` is an
 * open card; an adapter for power_limit_watts. The format's attributes take a format.
 */

#define VSL_DECLARE_ATTRIBUTE(type, name)                           \
  VSL_API bool vsl_has_##name(void* handle, vsl_error_record* err); \
  VSL_API type vsl_##name(void* handle, vsl_error_record* err);
VSL_CARD_ATTRIBUTES(VSL_DECLARE_ATTRIBUTE)
#undef VSL_DECLARE_ATTRIBUTE

/* The attributes of a format: its limits, and what it is set up to do. */
#define VSL_DECLARE_ATTRIBUTE(type, name)                                      \
  VSL_API bool vsl_iom_format_has_##name(void* format, vsl_error_record* err); \
  VSL_API type vsl_iom_format_##name(void* format, vsl_error_record* err);
VSL_FORMAT_ATTRIBUTES(VSL_DECLARE_ATTRIBUTE)
#undef VSL_DECLARE_ATTRIBUTE

/* Attributes outside the pairs. */

/* The PCI device id of an open card; every card has one. */
VSL_API uint16_t vsl_pci_device_id(void* iom, vsl_error_record* err);

/* The state of a card's reserve: 0 healthy, 1 warning, 2 depleted. Only after
 * vsl_has_reserve_space_pct returned true. */
VSL_API uint32_t vsl_reserve_status(void* iom, vsl_error_record* err);

/* Whether the format accepts vsl_iom_format_set_size_mode. There is no mode to read. */
VSL_API bool vsl_iom_format_has_size_mode(void* format, vsl_error_record* err);

/*
 * The locate LED, which the library calls beacon.
 */

/* Switches the LED off (0) or on (1). The card need not be open. */
VSL_API vsl_code vsl_set_beacon_state(void* iom, uint32_t state, vsl_error_record* err);

/*
 * Volumes: the storage units of a card.
 */

/* Moves `*vsu` to the card's next volume, to the first one from NULL. Returns false at the end,
 * where `*vsu` becomes NULL, and on failure. `which` is 1. */
VSL_API bool vsl_vsu_iterate(void* iom, void** vsu, uint32_t which, vsl_error_record* err);

/* The volume's state: 0 offline, 1 online. Needs no vsl_has_vsu_state. */
VSL_API uint32_t vsl_vsu_state(void* vsu, vsl_error_record* err);

/* Whether the volume's state can be set. */
VSL_API bool vsl_has_vsu_state(void* vsu, vsl_error_record* err);

/* Takes the volume offline (0) or online (1). */
VSL_API vsl_code vsl_set_vsu_state(void* vsu, uint32_t state, vsl_error_record* err);

/*
 * Jobs: create, set up, start, wait, destroy. The card need not be open. Creating and setting up a
 * job does not change the card.
 */

/* Creates a job that attaches the card, which makes its block device available. */
VSL_API vsl_code vsl_iom_attach_create(void* iom, void** job, vsl_error_record* err);

/* Creates a job that detaches the card. */
VSL_API vsl_code vsl_iom_detach_create(void* iom, void** job, vsl_error_record* err);

/* `force` 1 makes the job detach a card that is in use, too. */
VSL_API vsl_code vsl_iom_detach_set_force(void* job, uint32_t force, vsl_error_record* err);

/* Creates a job that formats the card, which erases its data. Its attributes give the limits of the
 * settings below; a setting that is not made keeps its default. */
VSL_API vsl_code vsl_iom_format_create(void* iom, void** format, vsl_error_record* err);

/* `mode` is VSL_SIZE_MODE_OVERFORMAT. Changes the limits that the attributes give. */
VSL_API vsl_code vsl_iom_format_set_size_mode(void* format, uint32_t mode, vsl_error_record* err);

/* The capacity after the format, in bytes, or in percent of the largest capacity. The later call
 * counts. */
VSL_API vsl_code vsl_iom_format_set_size_bytes(void* format, uint64_t bytes, vsl_error_record* err);
VSL_API vsl_code vsl_iom_format_set_size_pct(void* format, uint32_t percent, vsl_error_record* err);

/* The sector size after the format. */
VSL_API vsl_code vsl_iom_format_set_sector_size_bytes(void* format, uint32_t bytes,
                                                      vsl_error_record* err);

/* Starts the job and returns at once. */
VSL_API vsl_code vsl_op_start(void* job, vsl_error_record* err);

/* Blocks until the started job has ended. Returns the job's result: 0 on success. */
VSL_API vsl_code vsl_op_wait_for_result(void* job, vsl_error_record* err);

#ifdef __cplusplus
}
#endif

#endif
