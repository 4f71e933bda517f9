/*
 * Match tables: entries, default entries, reading, walking, properties and update callbacks.
 * Match and action records and their buffers are read or filled during a call only. `flags` is 0 in all calls that this
 * library makes. Changes by key take a device target, changes by handle a device id; so do most reads the former.
 */
#ifndef VL_DRIVER_TABLES_H
#define VL_DRIVER_TABLES_H

#include "types.h"

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

/* Adds an entry. The driver writes *ent_hdl when it accepts. `ttl` starts the idle time of tables that have one. */
pipe_status pipe_mgr_mat_ent_add(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl tbl_hdl,
                                 const pipe_match_record* match, pipe_act_hdl act_hdl, const pipe_action_record* action,
                                 uint32_t ttl, uint32_t flags, pipe_ent_hdl* ent_hdl);

/* Replaces an entry's action. A slot with PIPE_SLOT_UNCHANGED leaves that resource of the entry as it was. */
pipe_status pipe_mgr_mat_ent_set_action(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_tbl_hdl tbl_hdl,
                                        pipe_ent_hdl ent_hdl, pipe_act_hdl act_hdl, const pipe_action_record* action,
                                        uint32_t flags);

pipe_status pipe_mgr_mat_ent_set_action_by_match_spec(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt,
                                                      pipe_tbl_hdl tbl_hdl, const pipe_match_record* match,
                                                      pipe_act_hdl act_hdl, const pipe_action_record* action,
                                                      uint32_t flags);

pipe_status pipe_mgr_mat_ent_del(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_tbl_hdl tbl_hdl, pipe_ent_hdl ent_hdl,
                                 uint32_t flags);

pipe_status pipe_mgr_mat_ent_del_by_match_spec(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl tbl_hdl,
                                               const pipe_match_record* match, uint32_t flags);

/* Finds the entry that was added with this very match record, and writes its handle to *ent_hdl. */
pipe_status pipe_mgr_match_spec_to_ent_hdl(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl tbl_hdl,
                                           const pipe_match_record* match, pipe_ent_hdl* ent_hdl, uint32_t flags);

/* Sets the default entry of a table and writes its handle to *ent_hdl. */
pipe_status pipe_mgr_mat_default_entry_set(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl tbl_hdl,
                                           pipe_act_hdl act_hdl, const pipe_action_record* action, uint32_t flags,
                                           pipe_ent_hdl* ent_hdl);

/* Puts the default entry back to what the pipeline started with. */
pipe_status pipe_mgr_mat_tbl_default_entry_reset(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl tbl_hdl,
                                                 uint32_t flags);

pipe_status pipe_mgr_table_get_default_entry_handle(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl tbl_hdl,
                                                    pipe_ent_hdl* ent_hdl);

/* Fills *action and *act_hdl as pipe_mgr_get_entry does. */
pipe_status pipe_mgr_table_get_default_entry(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl tbl_hdl,
                                             pipe_action_record* action, pipe_act_hdl* act_hdl, uint8_t read_from_hw,
                                             uint32_t always_1, uint32_t always_0);

/*
 * Reads an entry, or the default entry by its handle. The caller attaches its key, mask and action data buffers and
 * says how long they are. The driver fills them and priority and partition_index; for an entry without a key it leaves
 * key_bytes null or sets key_len to 0. It sets kind, with kind 1 the action data (no more than data_len says) and the
 * slots, else the member or the group; and *act_hdl.
 */
pipe_status pipe_mgr_get_entry(pipe_sess_hdl sess_hdl, pipe_tbl_hdl tbl_hdl, pipe_dev_tgt dev_tgt, pipe_ent_hdl ent_hdl,
                               pipe_match_record* match, pipe_action_record* action, pipe_act_hdl* act_hdl,
                               uint8_t read_from_hw, uint32_t always_1, uint32_t always_0);

/* Counting and walking serve match, action data and selector tables: handles are entries, members or groups. */
pipe_status pipe_mgr_get_entry_count(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl tbl_hdl,
                                     uint32_t always_0, uint32_t* count);

pipe_status pipe_mgr_get_first_entry_handle(pipe_sess_hdl sess_hdl, pipe_tbl_hdl tbl_hdl, pipe_dev_tgt dev_tgt,
                                            uint32_t* hdl);

/* Writes up to n handles that follow `hdl`, and PIPE_HDL_END behind the last one if there is room. */
pipe_status pipe_mgr_get_next_entry_handles(pipe_sess_hdl sess_hdl, pipe_tbl_hdl tbl_hdl, pipe_dev_tgt dev_tgt,
                                            uint32_t hdl, uint32_t n, uint32_t* hdls);

/* Properties, their values and the arguments word are the driver's own numbers. */
pipe_status pipe_mgr_tbl_get_property(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_tbl_hdl tbl_hdl,
                                      uint32_t property, uint32_t* value, uint32_t* args);

pipe_status pipe_mgr_tbl_set_property(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_tbl_hdl tbl_hdl,
                                      uint32_t property, uint32_t value, uint32_t args);

/* What happened to the entry that a pipe_mat_update_cb names. */
enum { PIPE_UPDATE_ADDED = 1, PIPE_UPDATE_CHANGED = 2, PIPE_UPDATE_DELETED = 3 };

typedef void (*pipe_mat_update_cb)(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl tbl_hdl,
                                   pipe_ent_hdl ent_hdl, uint32_t update, void* cookie);

/*
 * The driver keeps callback and cookie, one for a table; null ends the updates. Changes of the default entry count.
 * Session and device are those of the call that made the change, or the device on all pipes where that took no pipe.
 */
pipe_status pipe_register_mat_update_cb(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_tbl_hdl tbl_hdl,
                                        pipe_mat_update_cb callback, void* cookie);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
