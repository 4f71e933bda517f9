// Counters at the boundary, and the packets that count.
#include "core/boundary.h"
#include "reads/readback.h"

#include <vl_model/traffic.h>

using namespace vl_model;

namespace {

// Runs `body` on the counter of a table's entries.
template <class Body>
pipe_status with_direct(pipe_sess_hdl sess_hdl, Target target, pipe_tbl_hdl tbl_hdl, Body&& body) {
    return with_table(sess_hdl, target, tbl_hdl, [&](const Table& table) -> pipe_status {
        return table.counter == nullptr ? pipe_status{VL_MODEL_NOT_SUPPORTED} : body(table, table.counter->cells);
    });
}

template <class Body>
pipe_status with_direct_cell(pipe_sess_hdl sess_hdl, Target target, pipe_tbl_hdl tbl_hdl, pipe_ent_hdl ent_hdl,
                             Body&& body) {
    return with_direct(sess_hdl, target, tbl_hdl,
                       [&](const Table& table, Cells<pipe_counter_record>& cells) -> pipe_status {
                           if (!has_row(table, ent_hdl)) return VL_MODEL_NOT_FOUND;
                           body(cells);
                           return VL_MODEL_OK;
                       });
}

template <class Body>
pipe_status with_cell(pipe_sess_hdl sess_hdl, Target target, pipe_tbl_hdl stat_hdl, uint32_t index, Body&& body) {
    return with_device(sess_hdl, target, [&](Device& device) {
        return on_cell(device.counters, stat_hdl, index, [&](Counter& counter) -> pipe_status {
            body(counter.cells);
            return VL_MODEL_OK;
        });
    });
}

void add_to(pipe_counter_record& record, uint64_t packets, uint64_t bytes) {
    record.count_a += packets;
    record.count_b += bytes;
}

} // namespace

pipe_status pipe_mgr_mat_ent_direct_stat_query(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_tbl_hdl tbl_hdl,
                                               pipe_ent_hdl ent_hdl, pipe_counter_record* record) {
    const auto body = [&]() -> pipe_status {
        if (record == nullptr) return VL_MODEL_INVALID;
        return with_direct_cell(sess_hdl, dev_id, tbl_hdl, ent_hdl,
                                [&](const auto& cells) { *record = cells.software(ent_hdl); });
    };
    return boundary("pipe_mgr_mat_ent_direct_stat_query", body, sess_hdl, dev_id, tbl_hdl, ent_hdl, record);
}

pipe_status pipe_mgr_mat_ent_direct_stat_set(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl tbl_hdl,
                                             pipe_ent_hdl ent_hdl, const pipe_counter_record* record) {
    const auto body = [&]() -> pipe_status {
        if (record == nullptr) return VL_MODEL_INVALID;
        return with_direct_cell(sess_hdl, dev_tgt, tbl_hdl, ent_hdl, [&](auto& cells) { cells.set(ent_hdl, *record); });
    };
    return boundary("pipe_mgr_mat_ent_direct_stat_set", body, sess_hdl, dev_tgt, tbl_hdl, ent_hdl, input(record));
}

pipe_status pipe_mgr_direct_stat_ent_database_sync(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_tbl_hdl tbl_hdl,
                                                   pipe_ent_hdl ent_hdl) {
    const auto body = [&] {
        return with_direct_cell(sess_hdl, dev_id, tbl_hdl, ent_hdl, [&](auto& cells) { cells.sync(ent_hdl); });
    };
    return boundary("pipe_mgr_direct_stat_ent_database_sync", body, sess_hdl, dev_id, tbl_hdl, ent_hdl);
}

pipe_status pipe_mgr_direct_stat_database_sync(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl tbl_hdl,
                                               pipe_sync_cb callback, void* cookie) {
    const auto body = [&]() -> pipe_status {
        const pipe_status status =
            with_direct(sess_hdl, dev_tgt, tbl_hdl, [](const Table&, auto& cells) -> pipe_status {
                cells.sync_all();
                return VL_MODEL_OK;
            });
        if (status == VL_MODEL_OK && callback != nullptr) {
            const WithinCallback within;
            callback(dev_tgt.dev_id, cookie);
        }
        return status;
    };
    return boundary("pipe_mgr_direct_stat_database_sync", body, sess_hdl, dev_tgt, tbl_hdl, callback, cookie);
}

pipe_status pipe_mgr_stat_ent_query(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl stat_hdl,
                                    const uint32_t* indices, uint32_t count, pipe_counter_record* const* records) {
    // All indices are looked at before the first record is written.
    const auto read = [&](const Counter& counter) -> pipe_status {
        for (uint32_t i = 0; i < count; ++i) {
            if (records[i] == nullptr) return VL_MODEL_INVALID;
            if (indices[i] >= counter.description.cell_count) return VL_MODEL_OUT_OF_RANGE;
        }
        for (uint32_t i = 0; i < count; ++i)
            *records[i] = counter.cells.software(indices[i]);
        return VL_MODEL_OK;
    };
    const auto body = [&]() -> pipe_status {
        if (count == 0 || indices == nullptr || records == nullptr) return VL_MODEL_INVALID;
        return with_device(sess_hdl, dev_tgt,
                           [&](const Device& device) { return on_array(device.counters, stat_hdl, read); });
    };
    return boundary("pipe_mgr_stat_ent_query", body, sess_hdl, dev_tgt, stat_hdl, input(indices, count), count,
                    records);
}

pipe_status pipe_mgr_stat_ent_set(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl stat_hdl, uint32_t index,
                                  const pipe_counter_record* record) {
    const auto body = [&]() -> pipe_status {
        if (record == nullptr) return VL_MODEL_INVALID;
        return with_cell(sess_hdl, dev_tgt, stat_hdl, index, [&](auto& cells) { cells.set(index, *record); });
    };
    return boundary("pipe_mgr_stat_ent_set", body, sess_hdl, dev_tgt, stat_hdl, index, input(record));
}

pipe_status pipe_mgr_stat_ent_database_sync(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl stat_hdl,
                                            uint32_t index) {
    const auto body = [&] {
        return with_cell(sess_hdl, dev_tgt, stat_hdl, index, [&](auto& cells) { cells.sync(index); });
    };
    return boundary("pipe_mgr_stat_ent_database_sync", body, sess_hdl, dev_tgt, stat_hdl, index);
}

pipe_status pipe_mgr_stat_database_sync(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl stat_hdl,
                                        pipe_sync_cb callback, void* cookie) {
    const auto sync = [](Counter& counter) -> pipe_status {
        counter.cells.sync_all();
        return VL_MODEL_OK;
    };
    const auto body = [&]() -> pipe_status {
        const pipe_status status =
            with_device(sess_hdl, dev_tgt, [&](Device& device) { return on_array(device.counters, stat_hdl, sync); });
        if (status == VL_MODEL_OK && callback != nullptr) {
            const WithinCallback within;
            callback(dev_tgt.dev_id, cookie);
        }
        return status;
    };
    return boundary("pipe_mgr_stat_database_sync", body, sess_hdl, dev_tgt, stat_hdl, callback, cookie);
}

uint32_t vl_model_counter_add(uint32_t dev_id, uint32_t hdl, uint32_t cell, uint64_t packets, uint64_t bytes) {
    const auto body = [&]() -> pipe_status {
        const std::lock_guard lock(model().mutex);
        pipe_status status = VL_MODEL_OK;
        Device* device = find_device(dev_id, status);
        if (device == nullptr) return status;
        if (const auto table = device->tables.find(hdl); table != device->tables.end()) {
            Counter* counter = table->second->counter;
            if (counter == nullptr) return VL_MODEL_NOT_SUPPORTED;
            if (!has_row(*table->second, cell)) return VL_MODEL_NOT_FOUND;
            add_to(counter->cells.hardware(cell), packets, bytes);
            return VL_MODEL_OK;
        }
        return on_cell(device->counters, hdl, cell, [&](Counter& counter) -> pipe_status {
            add_to(counter.cells.hardware(cell), packets, bytes);
            return VL_MODEL_OK;
        });
    };
    return run_guarded(body);
}
