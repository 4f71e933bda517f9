/*
 * Parser value sets: small tables of values and masks. The parser compares packet fields with them.
 */
#ifndef VL_DRIVER_VALUE_SETS_H
#define VL_DRIVER_VALUE_SETS_H

#include "types.h"

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

typedef uint32_t pipe_pvs_id;      /* a value set: a constant of the pipeline */
typedef uint32_t pipe_pvs_ent_hdl; /* made by the driver */

/* The argument of a property, passed by value. The second word has no meaning. */
typedef struct pipe_pvs_property_args {
    uint64_t arg;
    uint64_t unused;
} pipe_pvs_property_args;

static_assert(sizeof(pipe_pvs_property_args) == 16, "value set property argument");

pipe_status pipe_mgr_pvs_entry_add(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_pvs_id pvs_id, uint32_t gress,
                                   uint32_t pipe, uint8_t parser, uint32_t value, uint32_t mask,
                                   pipe_pvs_ent_hdl* ent_hdl);

pipe_status pipe_mgr_pvs_entry_modify(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_pvs_id pvs_id,
                                      pipe_pvs_ent_hdl ent_hdl, uint32_t value, uint32_t mask);

pipe_status pipe_mgr_pvs_entry_delete(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_pvs_id pvs_id,
                                      pipe_pvs_ent_hdl ent_hdl);

/* gress, pipe and parser may be null. */
pipe_status pipe_mgr_pvs_entry_get(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_pvs_id pvs_id,
                                   pipe_pvs_ent_hdl ent_hdl, uint32_t* value, uint32_t* mask, uint32_t* gress,
                                   uint32_t* pipe, uint8_t* parser);

pipe_status pipe_mgr_pvs_entry_get_count(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_pvs_id pvs_id, uint32_t gress,
                                         uint32_t pipe, uint8_t parser, uint8_t read_from_hw, uint32_t* count);

pipe_status pipe_mgr_pvs_entry_handle_get(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_pvs_id pvs_id,
                                          uint32_t gress, uint32_t pipe, uint8_t parser, uint32_t value, uint32_t mask,
                                          pipe_pvs_ent_hdl* ent_hdl);

pipe_status pipe_mgr_pvs_entry_get_first(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_pvs_id pvs_id, uint32_t gress,
                                         uint32_t pipe, uint8_t parser, pipe_pvs_ent_hdl* ent_hdl);

/* Writes at most `count` handles that follow `ent_hdl`, and PIPE_HDL_END after the last one if there is room. */
pipe_status pipe_mgr_pvs_entry_get_next(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_pvs_id pvs_id, uint32_t gress,
                                        uint32_t pipe, uint8_t parser, pipe_pvs_ent_hdl ent_hdl, uint32_t count,
                                        pipe_pvs_ent_hdl* ent_hdls);

/* The driver chooses the numbers of properties, their values and the meaning of the argument. */
pipe_status pipe_mgr_pvs_set_property(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_pvs_id pvs_id, uint32_t property,
                                      uint32_t value, pipe_pvs_property_args args);

pipe_status pipe_mgr_pvs_get_property(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_pvs_id pvs_id, uint32_t property,
                                      uint32_t* value, pipe_pvs_property_args args);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
