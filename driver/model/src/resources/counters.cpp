// Counters at the boundary, and packets that change them.
#include "core/model.h"

#include <vl_model/traffic.h>

using namespace vl_model;

namespace {

using CounterCells = Cells<pipe_counter_record>;

// The counter of a table's entries.
CounterCells& direct_cells(const Table& table) {
    refuse_if(table.counter == nullptr, VL_MODEL_NOT_SUPPORTED);
    return table.counter->cells;
}

CounterCells& direct_cells(const Table& table, pipe_ent_hdl ent_hdl) {
    CounterCells& cells = direct_cells(table);
    table.require_row(ent_hdl);
    return cells;
}

} // namespace

pipe_status pipe_mgr_mat_ent_direct_stat_query(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_tbl_hdl tbl_hdl,
                                               pipe_ent_hdl ent_hdl, pipe_counter_record* record) {
    return device_call(__func__, sess_hdl, dev_id, tbl_hdl, ent_hdl, record)(
        [&](Device& device) { *record = direct_cells(device.table(tbl_hdl), ent_hdl).software(ent_hdl); });
}

pipe_status pipe_mgr_mat_ent_direct_stat_set(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl tbl_hdl,
                                             pipe_ent_hdl ent_hdl, const pipe_counter_record* record) {
    return device_call(__func__, sess_hdl, dev_tgt, tbl_hdl, ent_hdl, input(record))(
        [&](Device& device) { direct_cells(device.table(tbl_hdl), ent_hdl).set(ent_hdl, *record); });
}

pipe_status pipe_mgr_direct_stat_ent_database_sync(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_tbl_hdl tbl_hdl,
                                                   pipe_ent_hdl ent_hdl) {
    return device_call(__func__, sess_hdl, dev_id, tbl_hdl,
                       ent_hdl)([&](Device& device) { direct_cells(device.table(tbl_hdl), ent_hdl).sync(ent_hdl); });
}

pipe_status pipe_mgr_direct_stat_database_sync(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl tbl_hdl,
                                               pipe_sync_cb callback, void* cookie) {
    return Boundary(__func__, sess_hdl, dev_tgt, tbl_hdl, callback, cookie)([&] {
        direct_cells(lock_device(sess_hdl, dev_tgt)->table(tbl_hdl)).sync_all();
        call_once(callback, dev_tgt.dev_id, cookie);
    });
}

// All indices are checked before the first record is written.
pipe_status pipe_mgr_stat_ent_query(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl stat_hdl,
                                    const uint32_t* indices, uint32_t count, pipe_counter_record* const* records) {
    return Boundary(__func__, sess_hdl, dev_tgt, stat_hdl, input(indices, count), count, records)([&] {
        refuse_if(count == 0, VL_MODEL_INVALID);
        const auto device = lock_device(sess_hdl, dev_tgt);
        const Counter& counter = array_in(device->counters, stat_hdl);
        for (uint32_t i = 0; i < count; ++i) {
            refuse_if(records[i] == nullptr, VL_MODEL_INVALID);
            refuse_if(indices[i] >= counter.description.cell_count, VL_MODEL_OUT_OF_RANGE);
        }
        for (uint32_t i = 0; i < count; ++i)
            *records[i] = counter.cells.software(indices[i]);
    });
}

pipe_status pipe_mgr_stat_ent_set(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl stat_hdl, uint32_t index,
                                  const pipe_counter_record* record) {
    return device_call(__func__, sess_hdl, dev_tgt, stat_hdl, index, input(record))(
        [&](Device& device) { array_with_cell(device.counters, stat_hdl, index).cells.set(index, *record); });
}

pipe_status pipe_mgr_stat_ent_database_sync(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl stat_hdl,
                                            uint32_t index) {
    return device_call(__func__, sess_hdl, dev_tgt, stat_hdl, index)(
        [&](Device& device) { array_with_cell(device.counters, stat_hdl, index).cells.sync(index); });
}

pipe_status pipe_mgr_stat_database_sync(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl stat_hdl,
                                        pipe_sync_cb callback, void* cookie) {
    return Boundary(__func__, sess_hdl, dev_tgt, stat_hdl, callback, cookie)([&] {
        array_in(lock_device(sess_hdl, dev_tgt)->counters, stat_hdl).cells.sync_all();
        call_once(callback, dev_tgt.dev_id, cookie);
    });
}

uint32_t vl_model_counter_add(uint32_t dev_id, uint32_t hdl, uint32_t cell, uint64_t packets, uint64_t bytes) {
    return guarded([&] {
        const auto device = lock_device(dev_id);
        CounterCells& cells = device->tables.contains(hdl) ? direct_cells(device->table(hdl), cell)
                                                           : array_with_cell(device->counters, hdl, cell).cells;
        pipe_counter_record& record = cells.hardware(cell);
        record.count_a += packets;
        record.count_b += bytes;
    });
}
