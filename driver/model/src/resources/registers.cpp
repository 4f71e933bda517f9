// Registers at the boundary, and the packets that change them.
#include <algorithm>
#include <cstring>

#include "core/boundary.h"
#include "reads/readback.h"

#include <vl_model/traffic.h>

using namespace vl_model;

namespace {

// Run `body` on a register and its pipes that the target names.
template <class Body>
pipe_status with_register(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl stful_hdl, Body&& body) {
    return with_device(sess_hdl, dev_tgt, [&](Device& device) {
        return on_array(device.registers, stful_hdl,
                        [&](Register& stateful) { return body(stateful, pipes_of(stateful, dev_tgt.pipe_id)); });
    });
}

template <class Body>
pipe_status with_cell(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl stful_hdl, uint32_t index,
                      Body&& body) {
    return with_device(sess_hdl, dev_tgt, [&](Device& device) {
        return on_cell(device.registers, stful_hdl, index,
                       [&](Register& stateful) { return body(stateful, pipes_of(stateful, dev_tgt.pipe_id)); });
    });
}

template <class Body>
pipe_status with_direct(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl tbl_hdl, Body&& body) {
    return with_table(sess_hdl, dev_tgt, tbl_hdl, [&](const Table& table) -> pipe_status {
        if (table.stateful == nullptr) return VL_MODEL_NOT_SUPPORTED;
        return body(table, *table.stateful, pipes_of(*table.stateful, dev_tgt.pipe_id));
    });
}

bool has_room(const pipe_stful_query& query) {
    return query.count == 0 || query.elements != nullptr;
}

// The cell's values, pipe by pipe, as many as there is room for.
void read_cell(Register& stateful, PipeRange range, uint32_t cell, bool from_hw, pipe_stful_query& query) {
    query.count = std::min(query.count, range.count);
    for (uint32_t i = 0; i < range.count; ++i) {
        auto& cells = stateful.pipes[range.first + i];
        if (from_hw) cells.sync(cell);
        if (i < query.count) query.elements[i] = cells.software(cell);
    }
}

pipe_status sync_pipes(Register& stateful, PipeRange range) {
    for (uint32_t i = 0; i < range.count; ++i)
        stateful.pipes[range.first + i].sync_all();
    return VL_MODEL_OK;
}

pipe_status write_hardware(Register& stateful, PipeRange range, uint32_t cell, const pipe_stful_element& element) {
    for (uint32_t i = 0; i < range.count; ++i)
        stateful.pipes[range.first + i].hardware(cell) = element;
    return VL_MODEL_OK;
}

} // namespace

pipe_status pipe_stful_query_get_sizes(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl stful_hdl,
                                       int32_t* size) {
    const auto measure = [&](Register&, PipeRange range) -> pipe_status {
        *size = static_cast<int32_t>(range.count);
        return VL_MODEL_OK;
    };
    // Readers of a direct register ask by its handle too.
    const auto body = [&]() -> pipe_status {
        if (size == nullptr) return VL_MODEL_INVALID;
        return with_device(sess_hdl, dev_tgt, [&](Device& device) {
            return on_resource(device.registers, stful_hdl, [&](Register& stateful) {
                return measure(stateful, pipes_of(stateful, dev_tgt.pipe_id));
            });
        });
    };
    return boundary("pipe_stful_query_get_sizes", body, sess_hdl, dev_tgt, stful_hdl, size);
}

pipe_status pipe_stful_ent_query(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl stful_hdl, uint32_t index,
                                 pipe_stful_query* query, uint32_t from_hw) {
    const auto read = [&](Register& stateful, PipeRange range) -> pipe_status {
        read_cell(stateful, range, index, from_hw != 0, *query);
        return VL_MODEL_OK;
    };
    const auto body = [&]() -> pipe_status {
        if (query == nullptr || !has_room(*query)) return VL_MODEL_INVALID;
        return with_cell(sess_hdl, dev_tgt, stful_hdl, index, read);
    };
    return boundary("pipe_stful_ent_query", body, sess_hdl, dev_tgt, stful_hdl, index, input(query), from_hw);
}

pipe_status pipe_stful_ent_query_range(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl stful_hdl,
                                       uint32_t first_index, int32_t count, pipe_stful_query* queries,
                                       uint32_t* cells_read, uint32_t from_hw) {
    const size_t query_count = count > 0 ? static_cast<size_t>(count) : 0;
    // The range may reach beyond the last cell: then fewer are read.
    const auto read = [&](Register& stateful, PipeRange range) -> pipe_status {
        const uint32_t behind = stateful.description.cell_count - first_index;
        const uint32_t reading = std::min(static_cast<uint32_t>(count), behind);
        for (uint32_t i = 0; i < reading; ++i)
            read_cell(stateful, range, first_index + i, from_hw != 0, queries[i]);
        *cells_read = reading;
        return VL_MODEL_OK;
    };
    const auto body = [&]() -> pipe_status {
        if (count < 0 || (count > 0 && queries == nullptr) || cells_read == nullptr ||
            !std::all_of(queries, queries + query_count, has_room))
            return VL_MODEL_INVALID;
        return with_cell(sess_hdl, dev_tgt, stful_hdl, first_index, read);
    };
    return boundary("pipe_stful_ent_query_range", body, sess_hdl, dev_tgt, stful_hdl, first_index, count,
                    input(queries, query_count), cells_read, from_hw);
}

pipe_status pipe_stful_direct_ent_query(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl tbl_hdl,
                                        pipe_ent_hdl ent_hdl, pipe_stful_query* query, uint32_t from_hw) {
    const auto read = [&](const Table& table, Register& stateful, PipeRange range) -> pipe_status {
        if (!has_row(table, ent_hdl)) return VL_MODEL_NOT_FOUND;
        read_cell(stateful, range, ent_hdl, from_hw != 0, *query);
        return VL_MODEL_OK;
    };
    const auto body = [&]() -> pipe_status {
        if (query == nullptr || !has_room(*query)) return VL_MODEL_INVALID;
        return with_direct(sess_hdl, dev_tgt, tbl_hdl, read);
    };
    return boundary("pipe_stful_direct_ent_query", body, sess_hdl, dev_tgt, tbl_hdl, ent_hdl, input(query), from_hw);
}

pipe_status pipe_stful_ent_set(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl stful_hdl, uint32_t index,
                               const pipe_stful_element* element, uint32_t flags) {
    const auto write = [&](Register& stateful, PipeRange range) -> pipe_status {
        for (uint32_t i = 0; i < range.count; ++i)
            stateful.pipes[range.first + i].set(index, *element);
        return VL_MODEL_OK;
    };
    const auto body = [&]() -> pipe_status {
        return element == nullptr ? pipe_status{VL_MODEL_INVALID}
                                  : with_cell(sess_hdl, dev_tgt, stful_hdl, index, write);
    };
    return boundary("pipe_stful_ent_set", body, sess_hdl, dev_tgt, stful_hdl, index, input(element), flags);
}

pipe_status pipe_stful_table_reset(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl stful_hdl,
                                   const pipe_stful_element* element) {
    const pipe_stful_element value = element != nullptr ? *element : pipe_stful_element{};
    const auto fill = [&](Register& stateful, PipeRange range) -> pipe_status {
        for (uint32_t i = 0; i < range.count; ++i)
            stateful.pipes[range.first + i].fill(value);
        return VL_MODEL_OK;
    };
    const auto body = [&] { return with_register(sess_hdl, dev_tgt, stful_hdl, fill); };
    return boundary("pipe_stful_table_reset", body, sess_hdl, dev_tgt, stful_hdl, input(element));
}

pipe_status pipe_stful_table_reset_range(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl stful_hdl,
                                         uint32_t first_index, uint32_t count, const pipe_stful_element* element) {
    const pipe_stful_element value = element != nullptr ? *element : pipe_stful_element{};
    const auto fill = [&](Register& stateful, PipeRange range) -> pipe_status {
        if (count > stateful.description.cell_count - first_index) return VL_MODEL_OUT_OF_RANGE;
        for (uint32_t pipe = range.first; pipe < range.first + range.count; ++pipe)
            for (uint32_t i = 0; i < count; ++i)
                stateful.pipes[pipe].set(first_index + i, value);
        return VL_MODEL_OK;
    };
    const auto body = [&] { return with_cell(sess_hdl, dev_tgt, stful_hdl, first_index, fill); };
    return boundary("pipe_stful_table_reset_range", body, sess_hdl, dev_tgt, stful_hdl, first_index, count,
                    input(element));
}

pipe_status pipe_stful_database_sync(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl stful_hdl,
                                     pipe_sync_cb callback, void* cookie) {
    const auto body = [&]() -> pipe_status {
        const pipe_status status = with_register(sess_hdl, dev_tgt, stful_hdl, sync_pipes);
        if (status == VL_MODEL_OK && callback != nullptr) {
            const WithinCallback within;
            callback(dev_tgt.dev_id, cookie);
        }
        return status;
    };
    return boundary("pipe_stful_database_sync", body, sess_hdl, dev_tgt, stful_hdl, callback, cookie);
}

pipe_status pipe_stful_direct_database_sync(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl tbl_hdl,
                                            pipe_sync_cb callback, void* cookie) {
    const auto sync = [](const Table&, Register& stateful, PipeRange range) { return sync_pipes(stateful, range); };
    const auto body = [&]() -> pipe_status {
        const pipe_status status = with_direct(sess_hdl, dev_tgt, tbl_hdl, sync);
        if (status == VL_MODEL_OK && callback != nullptr) {
            const WithinCallback within;
            callback(dev_tgt.dev_id, cookie);
        }
        return status;
    };
    return boundary("pipe_stful_direct_database_sync", body, sess_hdl, dev_tgt, tbl_hdl, callback, cookie);
}

uint32_t vl_model_register_write(uint32_t dev_id, uint32_t hdl, uint32_t cell, uint16_t pipe,
                                 const uint8_t value[VL_MODEL_REGISTER_VALUE_SIZE]) {
    static_assert(sizeof(pipe_stful_element) == VL_MODEL_REGISTER_VALUE_SIZE);
    const auto body = [&]() -> pipe_status {
        if (value == nullptr) return VL_MODEL_INVALID;
        pipe_stful_element element;
        std::memcpy(element.bytes, value, sizeof(element.bytes));
        const auto write = [&](Register& stateful) {
            return write_hardware(stateful, pipes_of(stateful, pipe), cell, element);
        };
        const std::lock_guard lock(model().mutex);
        pipe_status status = VL_MODEL_OK;
        Device* device = find_device({dev_id, pipe}, status);
        if (device == nullptr) return status;
        if (const auto table = device->tables.find(hdl); table != device->tables.end()) {
            if (table->second->stateful == nullptr) return VL_MODEL_NOT_SUPPORTED;
            return has_row(*table->second, cell) ? write(*table->second->stateful) : pipe_status{VL_MODEL_NOT_FOUND};
        }
        return on_cell(device->registers, hdl, cell, write);
    };
    return run_guarded(body);
}
