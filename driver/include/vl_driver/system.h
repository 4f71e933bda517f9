/*
 * The driver's client registry, and its services to clients: memory, logging, debug mode.
 */
#ifndef VL_DRIVER_SYSTEM_H
#define VL_DRIVER_SYSTEM_H

#include "types.h"

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

struct cJSON;

typedef uint32_t bf_drv_client_hdl;

typedef pipe_status (*bf_drv_device_cb)(pipe_dev_id dev_id);
/* The object belongs to the driver. A client fills or reads it during the call. */
typedef pipe_status (*bf_drv_state_cb)(pipe_dev_id dev_id, struct cJSON* object);
typedef void (*bf_drv_unused_cb)(void);

/* The callbacks of a client. The library leaves the reserved slots null. */
typedef struct bf_drv_client_callbacks {
    bf_drv_unused_cb reserved_0_2[3];
    bf_drv_device_cb device_remove;
    bf_drv_state_cb state_log;
    bf_drv_state_cb state_restore;
    bf_drv_unused_cb reserved_6_30[25];
} bf_drv_client_callbacks;

static_assert(sizeof(bf_drv_client_callbacks) == 248 && offsetof(bf_drv_client_callbacks, device_remove) == 24,
              "31 slots");

/* Copies the name and writes *hdl. */
pipe_status bf_drv_register(const char* client_name, bf_drv_client_hdl* hdl);

/* Copies the record. The driver calls clients in the order of their priorities. */
pipe_status bf_drv_client_register_callbacks(bf_drv_client_hdl hdl, const bf_drv_client_callbacks* callbacks,
                                             uint32_t priority);

pipe_status bf_drv_deregister(bf_drv_client_hdl hdl);

/* Returns zeroed memory, or null. */
void* bf_sys_calloc(size_t count, size_t size);

void bf_sys_free(void* memory);

/* Returns 0 unless a failed assertion must stop the process. */
int bf_sys_dbg_mode(void);

enum { BF_SYS_MODULE_NONE = 0 };
enum { BF_SYS_LEVEL_ERROR = 2 };

int bf_sys_log_and_trace(int module, int level, const char* format, ...) __attribute__((format(printf, 3, 4)));

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
