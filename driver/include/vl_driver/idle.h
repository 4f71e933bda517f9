/*
 * Idle time: the driver ages the entries of a table and tells when no packet has hit one for its time to live.
 * Modes, hit states and the unit of a time to live are the driver's own. The embedded driver counts in milliseconds,
 * and ages entries in PIPE_IDLE_MODE_NOTIFY only; in other modes it only keeps hit states.
 */
#ifndef VL_DRIVER_IDLE_H
#define VL_DRIVER_IDLE_H

#include "types.h"

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

/*
 * The parameters of a table's idle time. In other modes than PIPE_IDLE_MODE_NOTIFY only mode counts. The comments say
 * what the embedded driver takes the parameters for; it gives all 56 bytes back as they came.
 */
typedef struct pipe_idle_params {
    uint32_t mode;
    uint32_t reserved_4;
    uint64_t params_a; /* interval at which it looks for time-outs, from the switching on; 0: at each clock step */
    uint32_t params_b; /* the longest time to live, to which longer ones are cut; 0: no limit */
    uint32_t reserved_20;
    uint64_t params_c; /* the time to live of entries that were added with 0; 0: they don't age */
    uint64_t reserved_32;
    uint64_t params_d; /* nothing: a word of the agent's own */
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

/*
 * 1 switches the ageing of a table on with the parameters set before, 0 off. Switching on, also while it is on, starts
 * the time of all entries and forgets their hits.
 */
pipe_status pipe_mgr_idle_tmo_set_enable(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_tbl_hdl tbl_hdl,
                                         uint32_t enable);

typedef void (*pipe_idle_tmo_cb)(pipe_dev_id dev_id, pipe_tbl_hdl tbl_hdl, pipe_ent_hdl ent_hdl, void* cookie);

/*
 * The driver keeps callback and cookie, and calls back once for each entry that times out; for an entry that was hit or
 * renewed since, once more. One callback per table; while it is null, time-outs wait for the next one.
 */
pipe_status pipe_mgr_idle_register_tmo_cb(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_tbl_hdl tbl_hdl,
                                          pipe_idle_tmo_cb callback, void* cookie);

/* The entry's own time to live, which starts now. With 0 the entry doesn't age. */
pipe_status pipe_mgr_mat_ent_set_idle_ttl(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_tbl_hdl tbl_hdl,
                                          pipe_ent_hdl ent_hdl, uint32_t ttl, uint32_t flags, uint32_t always_0);

/* The time to live that the entry starts with, not what is left of it. */
pipe_status pipe_mgr_mat_ent_get_idle_ttl(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_tbl_hdl tbl_hdl,
                                          pipe_ent_hdl ent_hdl, uint32_t* ttl);

/* Starts the entry's time to live anew. */
pipe_status pipe_mgr_mat_ent_reset_idle_ttl(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_tbl_hdl tbl_hdl,
                                            pipe_ent_hdl ent_hdl);

typedef void (*pipe_idle_hit_state_cb)(pipe_dev_id dev_id, void* cookie);

/* Asks for the hit states of a table from the hardware; the callback, if there is one, says that they have come. */
pipe_status pipe_mgr_idle_time_update_hit_state(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_tbl_hdl tbl_hdl,
                                                pipe_idle_hit_state_cb callback, void* cookie);

enum { PIPE_IDLE_NOT_HIT = 0, PIPE_IDLE_HIT = 1 };

/* Whether a packet hit the entry between the last two updates of hit states, or before the first. */
pipe_status pipe_mgr_idle_time_get_hit_state(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_tbl_hdl tbl_hdl,
                                             pipe_ent_hdl ent_hdl, uint32_t* hit_state);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
