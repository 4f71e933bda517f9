/*
 * The snapshot service: captures the packet header vector at a range of stages when a trigger matches.
 * Trigger records are in network byte order here.
 */
#ifndef VL_DRIVER_SNAPSHOT_H
#define VL_DRIVER_SNAPSHOT_H

#include "types.h"

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

typedef uint32_t bf_snapshot_hdl; /* bit 1 selects one of the two record layouts */

#define BF_SNAPSHOT_RECORD_SIZE 676

/* The state of a trigger. The library passes its address on; the driver defines the members. */
typedef struct bf_snapshot_capture_ctrl bf_snapshot_capture_ctrl;

pipe_status bf_snapshot_create(pipe_dev_id dev_id, uint32_t pipe, uint8_t start_stage, uint8_t end_stage,
                               uint32_t direction, bf_snapshot_hdl* hdl);

pipe_status bf_snapshot_delete(bf_snapshot_hdl hdl);

/* Both records have BF_SNAPSHOT_RECORD_SIZE bytes. The driver reads them during the call only. */
pipe_status bf_snapshot_capture_trigger_set(bf_snapshot_hdl hdl, const void* value, const void* mask);

/* Writes the size of a whole capture and that of one stage, which is at least BF_SNAPSHOT_RECORD_SIZE. */
pipe_status bf_snapshot_capture_phv_fields_dict_size(bf_snapshot_hdl hdl, uint32_t* total_size, uint32_t* stage_size);

/* Fills a buffer of the total size and *ctrl, and writes the number of captures to *count. */
pipe_status bf_snapshot_capture_get(bf_snapshot_hdl hdl, uint32_t pipe, uint8_t* buffer, bf_snapshot_capture_ctrl* ctrl,
                                    uint32_t* count);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
