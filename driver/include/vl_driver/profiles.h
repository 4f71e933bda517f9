/*
 * Action data tables, selector tables and the replay of both: members, groups, and who is in which group.
 * The driver makes member and group handles, never 0. `flags` is 0 in all calls that this library makes.
 */
#ifndef VL_DRIVER_PROFILES_H
#define VL_DRIVER_PROFILES_H

#include "types.h"

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

/* Adds a member and writes *mbr_hdl. The action record carries action data only: kind and resource_count stay 0. */
pipe_status pipe_mgr_adt_ent_add(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl adt_hdl,
                                 pipe_act_hdl act_hdl, uint32_t always_0, const pipe_action_record* action,
                                 pipe_mbr_hdl* mbr_hdl, uint32_t flags);

pipe_status pipe_mgr_adt_ent_set(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_tbl_hdl adt_hdl, pipe_mbr_hdl mbr_hdl,
                                 pipe_act_hdl act_hdl, const pipe_action_record* action, uint32_t flags);

/* Refused while an entry, a default entry or a group uses the member, or it is a selector's fallback. */
pipe_status pipe_mgr_adt_ent_del(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_tbl_hdl adt_hdl, pipe_mbr_hdl mbr_hdl,
                                 uint32_t flags);

/* Reads a member: fills data (no more than data_len says) and *act_hdl. Takes no session. */
pipe_status pipe_mgr_get_action_data_entry(pipe_tbl_hdl adt_hdl, pipe_dev_tgt dev_tgt, pipe_mbr_hdl mbr_hdl,
                                           pipe_action_data* data, pipe_act_hdl* act_hdl, uint8_t read_from_hw);

/* What this library sends as the sixth argument of pipe_mgr_sel_grp_add. */
#define PIPE_SEL_GRP_MARK UINT32_C(0xdeadbeef)

/* Makes an empty group and writes *grp_hdl. A max_grp_size of 0 sets no limit. */
pipe_status pipe_mgr_sel_grp_add(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl sel_hdl, uint32_t always_0,
                                 uint32_t max_grp_size, uint32_t mark, pipe_grp_hdl* grp_hdl, uint32_t flags);

/* Refused while an entry or a default entry uses the group. Its members stay in the data table. */
pipe_status pipe_mgr_sel_grp_del(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_tbl_hdl sel_hdl, pipe_grp_hdl grp_hdl,
                                 uint32_t flags);

/* act_hdl is the member's action. */
pipe_status pipe_mgr_sel_grp_mbr_add(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_tbl_hdl sel_hdl,
                                     pipe_grp_hdl grp_hdl, pipe_act_hdl act_hdl, pipe_mbr_hdl mbr_hdl, uint32_t flags);

pipe_status pipe_mgr_sel_grp_mbr_del(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_tbl_hdl sel_hdl,
                                     pipe_grp_hdl grp_hdl, pipe_mbr_hdl mbr_hdl, uint32_t flags);

/* A disabled member stays in its group, but no packet goes to it. */
pipe_status pipe_mgr_sel_grp_mbr_enable(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl sel_hdl,
                                        pipe_grp_hdl grp_hdl, pipe_mbr_hdl mbr_hdl, uint32_t flags);

pipe_status pipe_mgr_sel_grp_mbr_disable(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl sel_hdl,
                                         pipe_grp_hdl grp_hdl, pipe_mbr_hdl mbr_hdl, uint32_t flags);

enum { PIPE_MBR_STATE_ACTIVE = 0, PIPE_MBR_STATE_INACTIVE = 1 };

pipe_status pipe_mgr_sel_grp_mbr_state_get(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl sel_hdl,
                                           pipe_grp_hdl grp_hdl, pipe_mbr_hdl mbr_hdl, uint32_t* state);

/* The member that takes a packet when no member of its group is active. */
pipe_status pipe_mgr_sel_fallback_mbr_set(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl sel_hdl,
                                          pipe_mbr_hdl mbr_hdl, uint32_t flags);

pipe_status pipe_mgr_sel_fallback_mbr_reset(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl sel_hdl,
                                            uint32_t flags);

pipe_status pipe_mgr_get_sel_grp_mbr_count(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl sel_hdl,
                                           pipe_grp_hdl grp_hdl, uint32_t* count);

/*
 * Writes up to `room` members and their states, one byte each, and how many it wrote to *count. The members of a group
 * come in ascending order of their handles, here and in the walk.
 */
pipe_status pipe_mgr_sel_grp_mbrs_get(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_tbl_hdl sel_hdl,
                                      pipe_grp_hdl grp_hdl, uint32_t room, pipe_mbr_hdl* mbr_hdls, uint8_t* states,
                                      uint32_t* count, uint32_t flags);

pipe_status pipe_mgr_get_first_group_member(pipe_sess_hdl sess_hdl, pipe_tbl_hdl sel_hdl, pipe_dev_id dev_id,
                                            pipe_grp_hdl grp_hdl, pipe_mbr_hdl* mbr_hdl);

/* Writes up to n members that follow `mbr_hdl`, and PIPE_HDL_END behind the last one if there is room. */
pipe_status pipe_mgr_get_next_group_members(pipe_sess_hdl sess_hdl, pipe_tbl_hdl sel_hdl, pipe_dev_id dev_id,
                                            pipe_grp_hdl grp_hdl, pipe_mbr_hdl mbr_hdl, uint32_t n,
                                            pipe_mbr_hdl* mbr_hdls);

/*
 * The member that a hash value of hash_len bytes picks. In the embedded driver: the hash is one number, most
 * significant byte first; its remainder by the count of the group's active members says which of these, from 0, in the
 * order of their handles. If none is active, the selector's fallback member; without one, the call is refused.
 */
pipe_status pipe_mgr_sel_grp_mbr_get_from_hash(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl sel_hdl,
                                               pipe_grp_hdl grp_hdl, const uint8_t* hash, uint32_t hash_len,
                                               pipe_mbr_hdl* mbr_hdl);

/*
 * The active members of one word of the selector's memory, in the order of their positions, and PIPE_HDL_END behind the
 * last one if there is room. In the embedded driver a word has 32 positions and belongs to one group: a group begins
 * with one and takes another when all are full; a member takes the group's lowest free position. A word that belongs to
 * no group is refused.
 */
pipe_status pipe_mgr_get_word_llp_active_member_count(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt,
                                                      pipe_tbl_hdl sel_hdl, uint32_t word, uint32_t* count);

pipe_status pipe_mgr_get_word_llp_active_members(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl sel_hdl,
                                                 uint32_t word, uint32_t count, pipe_mbr_hdl* mbr_hdls);

/*
 * What happened: PIPE_UPDATE_... of tables.h. Member or group 0 stands for none. A member that is enabled or disabled
 * changes. Session and device are those of the call that made the change, or the device on all pipes where that took
 * no pipe.
 */
typedef void (*pipe_adt_update_cb)(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl adt_hdl,
                                   pipe_mbr_hdl mbr_hdl, uint32_t update, void* cookie);

typedef void (*pipe_sel_update_cb)(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl sel_hdl,
                                   pipe_grp_hdl grp_hdl, pipe_mbr_hdl mbr_hdl, uint32_t update, void* cookie);

/* The driver keeps callback and cookie, one for a table; null ends the updates. */
pipe_status pipe_register_adt_update_cb(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl adt_hdl,
                                        pipe_adt_update_cb callback, void* cookie);

pipe_status pipe_register_sel_update_cb(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl sel_hdl,
                                        pipe_sel_update_cb callback, void* cookie);

/*
 * Tracks a selector's memory: the position `index` now leads to mbr_hdl, or is free if that is 0. A new group tells its
 * first position, and one that goes all that led somewhere, with the first. Positions count through all words.
 */
typedef void (*pipe_sel_tbl_cb)(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_grp_hdl grp_hdl,
                                pipe_mbr_hdl mbr_hdl, uint32_t index, uint32_t active, void* cookie);

/* Kept like the callbacks above. Session 0 is good here. */
pipe_status pipe_mgr_sel_tbl_register_cb(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl sel_hdl,
                                         pipe_sel_tbl_cb callback, void* cookie);

/*
 * One row of a replay: a member with its action (group 0), a group (member 0), or a member of a group. A member's own
 * row comes before the rows that put it into groups.
 */
typedef void (*pipe_adt_sel_restore_cb)(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_tbl_hdl adt_hdl,
                                        pipe_act_hdl act_hdl, pipe_grp_hdl grp_hdl, pipe_mbr_hdl mbr_hdl,
                                        uint32_t resource_count);

/*
 * Replays all action data and selector tables through the callback. The five words are between agent and driver: the
 * embedded one takes a1 for the device id, a2 for the session that it gives the callback, and the others for nothing.
 * It replays one data table after another, in each all members, then all groups (action 0), then who is in them.
 */
pipe_status pipe_mgr_hitless_ha_restore_virtual_dev_state(uint64_t a1, uint64_t a2, uint64_t a3, uint64_t a4,
                                                          uint64_t a5, pipe_adt_sel_restore_cb callback);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
