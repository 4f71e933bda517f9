/*
 * Counters, meters and WRED. Direct resources are attached to match entries; calls name them by match table and entry.
 * Indirect resources are arrays of cells; calls name them by resource handle and index.
 */
#ifndef VL_DRIVER_RESOURCES_H
#define VL_DRIVER_RESOURCES_H

#include "types.h"

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

/* The two counts of a counter cell. The driver chooses which of them counts packets. */
typedef struct pipe_counter_record {
    uint64_t count_b;
    uint64_t count_a;
} pipe_counter_record;

enum { PIPE_METER_COLOR_AWARE = 0, PIPE_METER_COLOR_UNAWARE = 1 };
enum { PIPE_METER_UNIT_BYTES = 0, PIPE_METER_UNIT_PACKETS = 1 };

/* A two-rate meter; also the content of pipe_resource_slot.spec. */
typedef struct pipe_meter_spec {
    uint32_t type; /* PIPE_METER_COLOR_... */
    uint32_t reserved_4;
    uint32_t committed_unit; /* PIPE_METER_UNIT_... */
    uint32_t reserved_12;
    uint64_t committed_rate;
    uint64_t committed_burst;
    uint32_t peak_unit;
    uint32_t reserved_36;
    uint64_t peak_rate;
    uint64_t peak_burst;
} pipe_meter_spec;

/* The library doesn't look inside. */
typedef struct pipe_wred_spec {
    uint64_t words[2];
} pipe_wred_spec;

static_assert(sizeof(pipe_counter_record) == 16, "counter record");
static_assert(sizeof(pipe_meter_spec) == PIPE_RESOURCE_SPEC_SIZE && offsetof(pipe_meter_spec, committed_unit) == 8 &&
                  offsetof(pipe_meter_spec, committed_rate) == 16 && offsetof(pipe_meter_spec, committed_burst) == 24 &&
                  offsetof(pipe_meter_spec, peak_unit) == 32 && offsetof(pipe_meter_spec, peak_rate) == 40 &&
                  offsetof(pipe_meter_spec, peak_burst) == 48,
              "meter spec");
static_assert(sizeof(pipe_wred_spec) == 16, "WRED spec");

/* Says that all cells of a resource have been read from the hardware. Registers use this type, too. */
typedef void (*pipe_sync_cb)(pipe_dev_id dev_id, void* cookie);

/* Direct counters. tbl_hdl is the match table, not the counter. */
pipe_status pipe_mgr_mat_ent_direct_stat_query(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_tbl_hdl tbl_hdl,
                                               pipe_ent_hdl ent_hdl, pipe_counter_record* record);

pipe_status pipe_mgr_mat_ent_direct_stat_set(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl tbl_hdl,
                                             pipe_ent_hdl ent_hdl, const pipe_counter_record* record);

pipe_status pipe_mgr_direct_stat_ent_database_sync(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_tbl_hdl tbl_hdl,
                                                   pipe_ent_hdl ent_hdl);

pipe_status pipe_mgr_direct_stat_database_sync(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl tbl_hdl,
                                               pipe_sync_cb callback, void* cookie);

/* Indirect counters. The query fills one record for each index. */
pipe_status pipe_mgr_stat_ent_query(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl stat_hdl,
                                    const uint32_t* indices, uint32_t count, pipe_counter_record* const* records);

pipe_status pipe_mgr_stat_ent_set(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl stat_hdl, uint32_t index,
                                  const pipe_counter_record* record);

pipe_status pipe_mgr_stat_ent_database_sync(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl stat_hdl,
                                            uint32_t index);

pipe_status pipe_mgr_stat_database_sync(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl stat_hdl,
                                        pipe_sync_cb callback, void* cookie);

/* Sets direct resources of an entry to the values in the slots. The library sends one slot. */
pipe_status pipe_mgr_mat_ent_set_resource(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_tbl_hdl tbl_hdl,
                                          pipe_ent_hdl ent_hdl, const pipe_resource_slot* slots, uint32_t slot_count,
                                          uint32_t flags);

/* Reads a direct meter. tbl_hdl is the match table. */
pipe_status pipe_mgr_meter_read_entry(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl tbl_hdl,
                                      pipe_ent_hdl ent_hdl, pipe_meter_spec* spec);

pipe_status pipe_mgr_meter_ent_set(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl meter_hdl, uint32_t index,
                                   const pipe_meter_spec* spec, uint32_t flags);

pipe_status pipe_mgr_meter_read_entry_idx(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl meter_hdl,
                                          uint32_t index, pipe_meter_spec* spec, uint32_t flags);

/* The number of bytes to add to each packet's length before metering. A direct meter goes by its own handle, too. */
pipe_status pipe_mgr_meter_set_bytecount_adjust(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl meter_hdl,
                                                uint32_t adjustment);

pipe_status pipe_mgr_meter_get_bytecount_adjust(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl meter_hdl,
                                                uint32_t* adjustment);

pipe_status pipe_mgr_wred_ent_set(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl wred_hdl, uint32_t index,
                                  const pipe_wred_spec* spec, uint32_t flags);

pipe_status pipe_mgr_wred_read_entry_idx(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl wred_hdl,
                                         uint32_t index, pipe_wred_spec* spec, uint32_t flags);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
