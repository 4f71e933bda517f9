/*
 * The member-selector component: a shadow of the action profiles. For each device, a state holds the members and groups
 * of one profile, the action of each, and the members of each group. Calls take the member before the group; a
 * p4_pd_ms_grp_fn takes the group before the member.
 */
#ifndef VL_DRIVER_MEMBER_SHADOW_H
#define VL_DRIVER_MEMBER_SHADOW_H

#include "types.h"

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

struct cJSON;

typedef struct p4_pd_ms_state p4_pd_ms_state;

pipe_status p4_pd_ms_init(void);

/* Makes a state. States are never freed. */
p4_pd_ms_state* p4_pd_ms_init_state(void);

pipe_status p4_pd_ms_new_mbr(pipe_sess_hdl sess_hdl, p4_pd_ms_state* state, pipe_dev_id dev_id, pipe_mbr_hdl mbr_hdl);

pipe_status p4_pd_ms_set_mbr_act(p4_pd_ms_state* state, pipe_dev_id dev_id, pipe_mbr_hdl mbr_hdl, pipe_act_hdl act_hdl);

/* Refuses a member that is unknown or has no action. Writes *act_hdl only if it returns 0. */
pipe_status p4_pd_ms_get_mbr_act(p4_pd_ms_state* state, pipe_dev_id dev_id, pipe_mbr_hdl mbr_hdl,
                                 pipe_act_hdl* act_hdl);

pipe_status p4_pd_ms_del_mbr(pipe_sess_hdl sess_hdl, p4_pd_ms_state* state, pipe_dev_id dev_id, pipe_mbr_hdl mbr_hdl);

pipe_status p4_pd_ms_new_grp(pipe_sess_hdl sess_hdl, p4_pd_ms_state* state, pipe_dev_id dev_id, pipe_grp_hdl grp_hdl);

/* mbr_hdls lists the members that the driver had in the group. It is null if count is 0. */
pipe_status p4_pd_ms_del_grp(pipe_sess_hdl sess_hdl, p4_pd_ms_state* state, pipe_dev_id dev_id, pipe_grp_hdl grp_hdl,
                             uint32_t count, const pipe_mbr_hdl* mbr_hdls);

pipe_status p4_pd_ms_add_mbr_to_grp(pipe_sess_hdl sess_hdl, p4_pd_ms_state* state, pipe_dev_id dev_id,
                                    pipe_mbr_hdl mbr_hdl, pipe_grp_hdl grp_hdl);

pipe_status p4_pd_ms_del_mbr_from_grp(pipe_sess_hdl sess_hdl, p4_pd_ms_state* state, pipe_dev_id dev_id,
                                      pipe_mbr_hdl mbr_hdl, pipe_grp_hdl grp_hdl);

pipe_status p4_pd_ms_set_grp_act(p4_pd_ms_state* state, pipe_dev_id dev_id, pipe_grp_hdl grp_hdl, pipe_act_hdl act_hdl);

/* Like p4_pd_ms_get_mbr_act. */
pipe_status p4_pd_ms_get_grp_act(p4_pd_ms_state* state, pipe_dev_id dev_id, pipe_grp_hdl grp_hdl,
                                 pipe_act_hdl* act_hdl);

/* Write the number of resources, and a list that belongs to the component. */
pipe_status p4_pd_ms_mbr_get_res(p4_pd_ms_state* state, pipe_dev_id dev_id, pipe_mbr_hdl mbr_hdl, uint32_t* count,
                                 void** res);

pipe_status p4_pd_ms_grp_get_res(p4_pd_ms_state* state, pipe_dev_id dev_id, pipe_grp_hdl grp_hdl, uint32_t* count,
                                 void** res);

typedef pipe_status (*p4_pd_ms_grp_fn)(pipe_dev_id dev_id, pipe_grp_hdl grp_hdl, pipe_mbr_hdl mbr_hdl, void* cookie);

/* Calls fn for each group that holds the member. */
pipe_status p4_pd_ms_mbr_apply_to_grps(p4_pd_ms_state* state, pipe_dev_id dev_id, pipe_mbr_hdl mbr_hdl,
                                       p4_pd_ms_grp_fn fn, void* cookie);

/* A p4_pd_ms_grp_fn. The group takes over the member's resources; the cookie is the state. */
pipe_status p4_pd_ms_grp_update_res(pipe_dev_id dev_id, pipe_grp_hdl grp_hdl, pipe_mbr_hdl mbr_hdl, void* cookie);

/* Write a device's part of the state into an object of the device state log, and read it back from one. */
pipe_status p4_pd_ms_log_state(pipe_dev_id dev_id, p4_pd_ms_state* state, struct cJSON* object);

pipe_status p4_pd_ms_restore_state(pipe_dev_id dev_id, p4_pd_ms_state* state, struct cJSON* object);

pipe_status p4_pd_ms_destroy_state_for_dev(p4_pd_ms_state* state, pipe_dev_id dev_id);

/* Called once, when the states of all profiles have been destroyed for the device. */
pipe_status p4_pd_ms_destroy_txn_state_for_dev(pipe_dev_id dev_id);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
