/*
 * Match tables: entries, default entries, reading, walking, properties and update callbacks.
 * The driver uses match and action records and their buffers during a call only. The library always sends 0 as `flags`.
 * Changes by key and most reads take a device target; changes by handle take a device id.
 */
#ifndef VL_DRIVER_TABLES_H
#define VL_DRIVER_TABLES_H

#include "types.h"

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

/* Adds an entry, and writes *ent_hdl on success. `ttl` is the entry's time to live, in tables with idle time. */
pipe_status pipe_mgr_mat_ent_add(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl tbl_hdl,
                                 const pipe_match_record* match, pipe_act_hdl act_hdl, const pipe_action_record* action,
                                 uint32_t ttl, uint32_t flags, pipe_ent_hdl* ent_hdl);

/* Replaces an entry's action. A slot with PIPE_SLOT_UNCHANGED leaves its resource as it was. */
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

/* Writes the handle of the entry that was added with an equal match record. */
pipe_status pipe_mgr_match_spec_to_ent_hdl(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl tbl_hdl,
                                           const pipe_match_record* match, pipe_ent_hdl* ent_hdl, uint32_t flags);

/* Sets the default entry of a table and writes its handle to *ent_hdl. */
pipe_status pipe_mgr_mat_default_entry_set(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl tbl_hdl,
                                           pipe_act_hdl act_hdl, const pipe_action_record* action, uint32_t flags,
                                           pipe_ent_hdl* ent_hdl);

/* Restores the default entry that the pipeline started with. */
pipe_status pipe_mgr_mat_tbl_default_entry_reset(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl tbl_hdl,
                                                 uint32_t flags);

pipe_status pipe_mgr_table_get_default_entry_handle(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl tbl_hdl,
                                                    pipe_ent_hdl* ent_hdl);

/* Fills *action and *act_hdl as pipe_mgr_get_entry does. */
pipe_status pipe_mgr_table_get_default_entry(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl tbl_hdl,
                                             pipe_action_record* action, pipe_act_hdl* act_hdl, uint8_t read_from_hw,
                                             uint32_t always_1, uint32_t always_0);

/*
 * Reads an entry, or the default entry by its handle. The caller attaches buffers for key, mask and action data, and
 * sets their lengths. The driver fills key and mask and sets priority and partition_index; for an entry without a key,
 * it leaves key_bytes null or sets key_len to 0. It sets *act_hdl and kind. With PIPE_KIND_ACTION_DATA it fills at most
 * data_len bytes of action data and sets the slots; otherwise it sets the member or the group.
 */
pipe_status pipe_mgr_get_entry(pipe_sess_hdl sess_hdl, pipe_tbl_hdl tbl_hdl, pipe_dev_tgt dev_tgt, pipe_ent_hdl ent_hdl,
                               pipe_match_record* match, pipe_action_record* action, pipe_act_hdl* act_hdl,
                               uint8_t read_from_hw, uint32_t always_1, uint32_t always_0);

/* Counting and walking work on match, action data and selector tables. Handles are entries, members or groups. */
pipe_status pipe_mgr_get_entry_count(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl tbl_hdl,
                                     uint32_t always_0, uint32_t* count);

pipe_status pipe_mgr_get_first_entry_handle(pipe_sess_hdl sess_hdl, pipe_tbl_hdl tbl_hdl, pipe_dev_tgt dev_tgt,
                                            uint32_t* hdl);

/* Writes at most n handles that follow `hdl`, and PIPE_HDL_END after the last one if there is room. */
pipe_status pipe_mgr_get_next_entry_handles(pipe_sess_hdl sess_hdl, pipe_tbl_hdl tbl_hdl, pipe_dev_tgt dev_tgt,
                                            uint32_t hdl, uint32_t n, uint32_t* hdls);

/* The driver chooses the numbers of properties, their values and the meaning of the arguments word. */
pipe_status pipe_mgr_tbl_get_property(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_tbl_hdl tbl_hdl,
                                      uint32_t property, uint32_t* value, uint32_t* args);

pipe_status pipe_mgr_tbl_set_property(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_tbl_hdl tbl_hdl,
                                      uint32_t property, uint32_t value, uint32_t args);

/* `update` says what happened to the entry, in the driver's own numbers. */
typedef void (*pipe_mat_update_cb)(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl tbl_hdl,
                                   pipe_ent_hdl ent_hdl, uint32_t update, void* cookie);

/* The driver keeps one callback and cookie for a table. Null ends the updates. */
pipe_status pipe_register_mat_update_cb(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_tbl_hdl tbl_hdl,
                                        pipe_mat_update_cb callback, void* cookie);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
