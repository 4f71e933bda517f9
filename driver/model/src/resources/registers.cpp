// Registers at the boundary, and packets that change them.
#include <algorithm>
#include <cstring>

#include "core/model.h"

#include <vl_model/traffic.h>

using namespace vl_model;

namespace {

using Pipes = std::span<Cells<pipe_stful_element>>;

Register& direct_register(const Table& table) {
    refuse_if(table.stateful == nullptr, VL_MODEL_NOT_SUPPORTED);
    return *table.stateful;
}

Register& direct_register(const Table& table, pipe_ent_hdl ent_hdl) {
    Register& stateful = direct_register(table);
    table.require_row(ent_hdl);
    return stateful;
}

bool has_room(const pipe_stful_query& query) {
    return query.count == 0 || query.elements != nullptr;
}

// Reads the values of a cell, pipe by pipe, as far as there is room.
void read_cell(Pipes pipes, uint32_t cell, bool from_hw, pipe_stful_query& query) {
    query.count = std::min(query.count, static_cast<uint32_t>(pipes.size()));
    for (size_t i = 0; i < pipes.size(); ++i) {
        if (from_hw) pipes[i].sync(cell);
        if (i < query.count) query.elements[i] = pipes[i].software(cell);
    }
}

void sync(Pipes pipes) {
    for (auto& cells : pipes)
        cells.sync_all();
}

} // namespace

// Readers of a direct register use its own handle here.
pipe_status pipe_stful_query_get_sizes(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl stful_hdl,
                                       int32_t* size) {
    return device_call(__func__, sess_hdl, dev_tgt, stful_hdl, size)([&](Device& device) {
        *size = static_cast<int32_t>(resource_in(device.registers, stful_hdl).pipes_of(dev_tgt.pipe_id).size());
    });
}

pipe_status pipe_stful_ent_query(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl stful_hdl, uint32_t index,
                                 pipe_stful_query* query, uint32_t from_hw) {
    return Boundary(__func__, sess_hdl, dev_tgt, stful_hdl, index, input(query), from_hw)([&] {
        refuse_if(!has_room(*query), VL_MODEL_INVALID);
        const auto device = lock_device(sess_hdl, dev_tgt);
        Register& stateful = array_with_cell(device->registers, stful_hdl, index);
        read_cell(stateful.pipes_of(dev_tgt.pipe_id), index, from_hw != 0, *query);
    });
}

// If the range reaches beyond the last cell, fewer cells are read.
pipe_status pipe_stful_ent_query_range(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl stful_hdl,
                                       uint32_t first_index, int32_t count, pipe_stful_query* queries,
                                       uint32_t* cells_read, uint32_t from_hw) {
    const uint32_t wanted = count > 0 ? static_cast<uint32_t>(count) : 0;
    return Boundary(__func__, sess_hdl, dev_tgt, stful_hdl, first_index, count, input(queries, wanted), cells_read,
                    from_hw)([&] {
        refuse_if(count < 0 || !std::all_of(queries, queries + wanted, has_room), VL_MODEL_INVALID);
        const auto device = lock_device(sess_hdl, dev_tgt);
        Register& stateful = array_with_cell(device->registers, stful_hdl, first_index);
        *cells_read = std::min(wanted, stateful.description.cell_count - first_index);
        for (uint32_t i = 0; i < *cells_read; ++i)
            read_cell(stateful.pipes_of(dev_tgt.pipe_id), first_index + i, from_hw != 0, queries[i]);
    });
}

pipe_status pipe_stful_direct_ent_query(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl tbl_hdl,
                                        pipe_ent_hdl ent_hdl, pipe_stful_query* query, uint32_t from_hw) {
    return Boundary(__func__, sess_hdl, dev_tgt, tbl_hdl, ent_hdl, input(query), from_hw)([&] {
        refuse_if(!has_room(*query), VL_MODEL_INVALID);
        const auto device = lock_device(sess_hdl, dev_tgt);
        Register& stateful = direct_register(device->table(tbl_hdl), ent_hdl);
        read_cell(stateful.pipes_of(dev_tgt.pipe_id), ent_hdl, from_hw != 0, *query);
    });
}

pipe_status pipe_stful_ent_set(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl stful_hdl, uint32_t index,
                               const pipe_stful_element* element, uint32_t flags) {
    return device_call(__func__, sess_hdl, dev_tgt, stful_hdl, index, input(element), flags)([&](Device& device) {
        for (auto& cells : array_with_cell(device.registers, stful_hdl, index).pipes_of(dev_tgt.pipe_id))
            cells.set(index, *element);
    });
}

pipe_status pipe_stful_table_reset(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl stful_hdl,
                                   const pipe_stful_element* element) {
    return device_call(__func__, sess_hdl, dev_tgt, stful_hdl, nullable_input(element))([&](Device& device) {
        for (auto& cells : array_in(device.registers, stful_hdl).pipes_of(dev_tgt.pipe_id))
            cells.fill(element != nullptr ? *element : pipe_stful_element{});
    });
}

pipe_status pipe_stful_table_reset_range(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl stful_hdl,
                                         uint32_t first_index, uint32_t count, const pipe_stful_element* element) {
    return device_call(__func__, sess_hdl, dev_tgt, stful_hdl, first_index, count,
                       nullable_input(element))([&](Device& device) {
        Register& stateful = array_with_cell(device.registers, stful_hdl, first_index);
        refuse_if(count > stateful.description.cell_count - first_index, VL_MODEL_OUT_OF_RANGE);
        for (auto& cells : stateful.pipes_of(dev_tgt.pipe_id))
            for (uint32_t i = 0; i < count; ++i)
                cells.set(first_index + i, element != nullptr ? *element : pipe_stful_element{});
    });
}

pipe_status pipe_stful_database_sync(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl stful_hdl,
                                     pipe_sync_cb callback, void* cookie) {
    return Boundary(__func__, sess_hdl, dev_tgt, stful_hdl, callback, cookie)([&] {
        sync(array_in(lock_device(sess_hdl, dev_tgt)->registers, stful_hdl).pipes_of(dev_tgt.pipe_id));
        call_once(callback, dev_tgt.dev_id, cookie);
    });
}

pipe_status pipe_stful_direct_database_sync(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl tbl_hdl,
                                            pipe_sync_cb callback, void* cookie) {
    return Boundary(__func__, sess_hdl, dev_tgt, tbl_hdl, callback, cookie)([&] {
        sync(direct_register(lock_device(sess_hdl, dev_tgt)->table(tbl_hdl)).pipes_of(dev_tgt.pipe_id));
        call_once(callback, dev_tgt.dev_id, cookie);
    });
}

uint32_t vl_model_register_write(uint32_t dev_id, uint32_t hdl, uint32_t cell, uint16_t pipe,
                                 const uint8_t value[VL_MODEL_REGISTER_VALUE_SIZE]) {
    static_assert(sizeof(pipe_stful_element) == VL_MODEL_REGISTER_VALUE_SIZE);
    return guarded([&] {
        refuse_if(value == nullptr, VL_MODEL_INVALID);
        pipe_stful_element element;
        std::memcpy(element.bytes, value, sizeof(element.bytes));
        const auto device = lock_device(Target{dev_id, pipe});
        Register& stateful = device->tables.contains(hdl) ? direct_register(device->table(hdl), cell)
                                                          : array_with_cell(device->registers, hdl, cell);
        for (auto& cells : stateful.pipes_of(pipe))
            cells.hardware(cell) = element;
    });
}
