/*
 * Idle time: the driver ages the entries of a table. An entry times out when no packet has hit it for its time to live.
 * The driver chooses the other modes, the values of hit states and the unit of a time to live.
 */
#ifndef VL_DRIVER_IDLE_H
#define VL_DRIVER_IDLE_H

#include "types.h"

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

/*
 * The parameters of a table's idle time. In modes other than PIPE_IDLE_MODE_NOTIFY, only mode counts. The driver
 * chooses what the parameters mean, and gives them back as they came.
 */
typedef struct pipe_idle_params {
    uint32_t mode;
    uint32_t reserved_4;
    uint64_t params_a;
    uint32_t params_b;
    uint32_t reserved_20;
    uint64_t params_c;
    uint64_t reserved_32;
    uint64_t params_d;
    uint64_t reserved_48;
} pipe_idle_params;

/* The one mode that has parameters. */
enum { PIPE_IDLE_MODE_NOTIFY = 1 };

static_assert(sizeof(pipe_idle_params) == 56 && offsetof(pipe_idle_params, params_a) == 8 &&
                  offsetof(pipe_idle_params, params_b) == 16 && offsetof(pipe_idle_params, params_c) == 24 &&
                  offsetof(pipe_idle_params, params_d) == 40,
              "idle parameters");

pipe_status pipe_mgr_idle_set_params(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_tbl_hdl tbl_hdl,
                                     pipe_idle_params params);

pipe_status pipe_mgr_idle_get_params(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_tbl_hdl tbl_hdl,
                                     pipe_idle_params* params);

/* 1 switches the ageing of a table on, with the parameters that were set before; 0 switches it off. */
pipe_status pipe_mgr_idle_tmo_set_enable(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_tbl_hdl tbl_hdl,
                                         uint32_t enable);

typedef void (*pipe_idle_tmo_cb)(pipe_dev_id dev_id, pipe_tbl_hdl tbl_hdl, pipe_ent_hdl ent_hdl, void* cookie);

/* The driver keeps one callback and cookie for a table, for entries that time out. Null ends the registration. */
pipe_status pipe_mgr_idle_register_tmo_cb(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_tbl_hdl tbl_hdl,
                                          pipe_idle_tmo_cb callback, void* cookie);

/* Sets the entry's own time to live, which starts now. */
pipe_status pipe_mgr_mat_ent_set_idle_ttl(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_tbl_hdl tbl_hdl,
                                          pipe_ent_hdl ent_hdl, uint32_t ttl, uint32_t flags, uint32_t always_0);

/* Writes the whole time to live of the entry, not the rest of it. */
pipe_status pipe_mgr_mat_ent_get_idle_ttl(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_tbl_hdl tbl_hdl,
                                          pipe_ent_hdl ent_hdl, uint32_t* ttl);

/* Starts the entry's time to live again. */
pipe_status pipe_mgr_mat_ent_reset_idle_ttl(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_tbl_hdl tbl_hdl,
                                            pipe_ent_hdl ent_hdl);

typedef void (*pipe_idle_hit_state_cb)(pipe_dev_id dev_id, void* cookie);

/* Reads the hit states of a table from the hardware. The callback, unless it is null, says that they have arrived. */
pipe_status pipe_mgr_idle_time_update_hit_state(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_tbl_hdl tbl_hdl,
                                                pipe_idle_hit_state_cb callback, void* cookie);

/* Writes whether a packet hit the entry between the last two updates of hit states. */
pipe_status pipe_mgr_idle_time_get_hit_state(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_tbl_hdl tbl_hdl,
                                             pipe_ent_hdl ent_hdl, uint32_t* hit_state);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
