/*
 * Action data tables with members, selector tables with groups of members, and the replay of both.
 * The driver makes member and group handles, which are never 0. The library always sends 0 as `flags`.
 */
#ifndef VL_DRIVER_PROFILES_H
#define VL_DRIVER_PROFILES_H

#include "types.h"

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

/* Adds a member and writes *mbr_hdl. The action record has action data only: kind and resource_count are 0. */
pipe_status pipe_mgr_adt_ent_add(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl adt_hdl,
                                 pipe_act_hdl act_hdl, uint32_t always_0, const pipe_action_record* action,
                                 pipe_mbr_hdl* mbr_hdl, uint32_t flags);

pipe_status pipe_mgr_adt_ent_set(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_tbl_hdl adt_hdl, pipe_mbr_hdl mbr_hdl,
                                 pipe_act_hdl act_hdl, const pipe_action_record* action, uint32_t flags);

/* The driver refuses this while an entry, a default entry or a group uses the member, or it is a fallback member. */
pipe_status pipe_mgr_adt_ent_del(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_tbl_hdl adt_hdl, pipe_mbr_hdl mbr_hdl,
                                 uint32_t flags);

/* Reads a member. Fills at most data_len bytes of data, and *act_hdl. */
pipe_status pipe_mgr_get_action_data_entry(pipe_tbl_hdl adt_hdl, pipe_dev_tgt dev_tgt, pipe_mbr_hdl mbr_hdl,
                                           pipe_action_data* data, pipe_act_hdl* act_hdl, uint8_t read_from_hw);

/* The library sends this as the sixth argument of pipe_mgr_sel_grp_add. */
#define PIPE_SEL_GRP_MARK UINT32_C(0xdeadbeef)

/* Makes an empty group and writes *grp_hdl. A max_grp_size of 0 sets no limit. */
pipe_status pipe_mgr_sel_grp_add(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl sel_hdl, uint32_t always_0,
                                 uint32_t max_grp_size, uint32_t mark, pipe_grp_hdl* grp_hdl, uint32_t flags);

/* The driver refuses this while an entry or a default entry uses the group. The members stay in the data table. */
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

/* Sets the member that takes packets for which no member of their group is active. */
pipe_status pipe_mgr_sel_fallback_mbr_set(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl sel_hdl,
                                          pipe_mbr_hdl mbr_hdl, uint32_t flags);

pipe_status pipe_mgr_sel_fallback_mbr_reset(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl sel_hdl,
                                            uint32_t flags);

pipe_status pipe_mgr_get_sel_grp_mbr_count(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl sel_hdl,
                                           pipe_grp_hdl grp_hdl, uint32_t* count);

/* Writes at most `room` members, their states, one byte each, and the number of members written to *count. */
pipe_status pipe_mgr_sel_grp_mbrs_get(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_tbl_hdl sel_hdl,
                                      pipe_grp_hdl grp_hdl, uint32_t room, pipe_mbr_hdl* mbr_hdls, uint8_t* states,
                                      uint32_t* count, uint32_t flags);

pipe_status pipe_mgr_get_first_group_member(pipe_sess_hdl sess_hdl, pipe_tbl_hdl sel_hdl, pipe_dev_id dev_id,
                                            pipe_grp_hdl grp_hdl, pipe_mbr_hdl* mbr_hdl);

/* Writes at most n members that follow `mbr_hdl`, and PIPE_HDL_END after the last one if there is room. */
pipe_status pipe_mgr_get_next_group_members(pipe_sess_hdl sess_hdl, pipe_tbl_hdl sel_hdl, pipe_dev_id dev_id,
                                            pipe_grp_hdl grp_hdl, pipe_mbr_hdl mbr_hdl, uint32_t n,
                                            pipe_mbr_hdl* mbr_hdls);

/* Writes the member that a hash value of hash_len bytes selects. */
pipe_status pipe_mgr_sel_grp_mbr_get_from_hash(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl sel_hdl,
                                               pipe_grp_hdl grp_hdl, const uint8_t* hash, uint32_t hash_len,
                                               pipe_mbr_hdl* mbr_hdl);

/*
 * A selector's memory consists of words with positions for members. These functions write the number of active members
 * of one word, and at most `count` of these members in the order of their positions, with PIPE_HDL_END after the last
 * one if there is room.
 */
pipe_status pipe_mgr_get_word_llp_active_member_count(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt,
                                                      pipe_tbl_hdl sel_hdl, uint32_t word, uint32_t* count);

pipe_status pipe_mgr_get_word_llp_active_members(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl sel_hdl,
                                                 uint32_t word, uint32_t count, pipe_mbr_hdl* mbr_hdls);

/* `update` says what happened to the member or group, in the driver's own numbers. A handle of 0 is none. */
typedef void (*pipe_adt_update_cb)(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl adt_hdl,
                                   pipe_mbr_hdl mbr_hdl, uint32_t update, void* cookie);

typedef void (*pipe_sel_update_cb)(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl sel_hdl,
                                   pipe_grp_hdl grp_hdl, pipe_mbr_hdl mbr_hdl, uint32_t update, void* cookie);

/* The driver keeps one callback and cookie for a table. Null ends the updates. */
pipe_status pipe_register_adt_update_cb(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl adt_hdl,
                                        pipe_adt_update_cb callback, void* cookie);

pipe_status pipe_register_sel_update_cb(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl sel_hdl,
                                        pipe_sel_update_cb callback, void* cookie);

/*
 * Tracks a selector's memory: position `index`, counted through all words, now leads to mbr_hdl, or is free if mbr_hdl
 * is 0.
 */
typedef void (*pipe_sel_tbl_cb)(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_grp_hdl grp_hdl,
                                pipe_mbr_hdl mbr_hdl, uint32_t index, uint32_t active, void* cookie);

/* The driver keeps this callback like those above. Session 0 is allowed here. */
pipe_status pipe_mgr_sel_tbl_register_cb(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl sel_hdl,
                                         pipe_sel_tbl_cb callback, void* cookie);

/*
 * Gets one row of a replay: a member with its action (group 0), a group (member 0), or a member in a group. The row of
 * a member comes before the rows that put it into groups.
 */
typedef void (*pipe_adt_sel_restore_cb)(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_tbl_hdl adt_hdl,
                                        pipe_act_hdl act_hdl, pipe_grp_hdl grp_hdl, pipe_mbr_hdl mbr_hdl,
                                        uint32_t resource_count);

/* Replays all action data and selector tables through the callback. The library passes the five words on. */
pipe_status pipe_mgr_hitless_ha_restore_virtual_dev_state(uint64_t a1, uint64_t a2, uint64_t a3, uint64_t a4,
                                                          uint64_t a5, pipe_adt_sel_restore_cb callback);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
