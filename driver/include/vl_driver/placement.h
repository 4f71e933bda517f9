/*
 * Placement data: the driver's record of what it placed in the hardware for one entry, member or group, and where.
 * A record belongs to the driver. The library passes its address on and never looks inside.
 */
#ifndef VL_DRIVER_PLACEMENT_H
#define VL_DRIVER_PLACEMENT_H

#include "types.h"

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

pipe_status pipe_mgr_plcmt_mat_data_get(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl tbl_hdl,
                                        pipe_ent_hdl ent_hdl, const void** plcmt_data);

pipe_status pipe_mgr_plcmt_adt_data_get(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl adt_hdl,
                                        pipe_mbr_hdl mbr_hdl, const void** plcmt_data);

pipe_status pipe_mgr_plcmt_sel_data_get(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl sel_hdl,
                                        pipe_grp_hdl grp_hdl, const void** plcmt_data);

/*
 * Decode placement data without access to the device. The caller attaches zeroed buffers that are large enough. Here
 * the driver sets the lengths; in a read of an entry, the caller does.
 */
pipe_status pipe_mgr_plcmt_mat_data_get_entry(const void* plcmt_data, pipe_match_record* match,
                                              pipe_action_record* action, pipe_act_hdl* act_hdl);

pipe_status pipe_mgr_plcmt_adt_data_get_entry(const void* plcmt_data, pipe_action_data* data, pipe_act_hdl* act_hdl);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
