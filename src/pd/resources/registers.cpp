// Sizes, reads and unpacks cells, and forwards all other operations.
#include "pd/resources/registers.h"

#include <cstring>

#include "codec/driver_args.h"
#include "pd/driver_array.h"
#include "vl_driver/resources.h"

namespace vl_pd::registers {

namespace {

// The one flag that goes to the driver.
uint32_t from_hardware(uint32_t flags) {
    return flags & 1;
}

// Bytes of a value, in the agent's records as in the driver's element.
size_t value_size(Cell cell) {
    switch (cell) { // one way: there are no other cells
    case Cell::flag:
        return sizeof(uint8_t);
    case Cell::word:
        return sizeof(uint32_t);
    case Cell::word_pair:
        break;
    }
    return sizeof(pd_register_pair);
}

// Copies the values of all cells to `to` with no gaps, and returns their number. Each record has its own count.
template <size_t size>
uint32_t unpack_values(const pipe_stful_query* queries, uint32_t cells, uint8_t* to) {
    uint32_t values = 0;
    for (uint32_t i = 0; i < cells; ++i) {
        const pipe_stful_query query = queries[i]; // a copy, so that the compiler knows that no store changes it
        // Unrolled, because a cell has few values and the end of a loop costs much beside them.
#pragma GCC unroll 4
        for (uint32_t j = 0; j < query.count; ++j, to += size)
            std::memcpy(to, query.elements[j].bytes, size);
        values += query.count;
    }
    return values;
}

uint32_t unpack(Cell cell, const pipe_stful_query* queries, uint32_t cells, void* values) {
    auto* const to = static_cast<uint8_t*>(values);
    switch (cell) { // one way: there are no other cells
    case Cell::flag:
        return unpack_values<sizeof(uint8_t)>(queries, cells, to);
    case Cell::word:
        return unpack_values<sizeof(uint32_t)>(queries, cells, to);
    case Cell::word_pair:
        break;
    }
    return unpack_values<sizeof(pd_register_pair)>(queries, cells, to);
}

pipe_stful_element pack(Cell cell, const void* value) {
    pipe_stful_element element{};
    std::memcpy(element.bytes, value, value_size(cell));
    if (cell == Cell::flag) element.bytes[0] = element.bytes[0] != 0;
    return element;
}

} // namespace

pd_status read(Cell cell, uint32_t handle, pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t index, uint32_t flags,
               void* values, uint32_t* value_count) noexcept {
    int32_t size = 0;
    pd_status refused = pipe_stful_query_get_sizes(sess_hdl, to_driver(dev_tgt), handle, &size);
    if (refused != PD_STATUS_OK) return refused;
    const DriverArray<pipe_stful_element> elements(static_cast<size_t>(size));
    if (elements.get() == nullptr) return PD_STATUS_NO_MEMORY;
    pipe_stful_query query{.count = static_cast<uint32_t>(size), .reserved = 0, .elements = elements.get()};
    refused = pipe_stful_ent_query(sess_hdl, to_driver(dev_tgt), handle, index, &query, from_hardware(flags));
    if (refused != PD_STATUS_OK) return refused;
    *value_count = unpack(cell, &query, 1, values);
    return PD_STATUS_OK;
}

pd_status read_range(Cell cell, uint32_t handle, pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t first_index,
                     int32_t count, uint32_t flags, uint32_t* cells_read, void* values,
                     uint32_t* value_count) noexcept {
    int32_t size = 0;
    pd_status refused = pipe_stful_query_get_sizes(sess_hdl, to_driver(dev_tgt), handle, &size);
    if (refused != PD_STATUS_OK) return refused;
    // Products of sizes and counts are 32-bit and signed. Both arrays are always asked for, the queries first.
    const auto times_size = [size](int32_t cells) {
        return static_cast<int32_t>(static_cast<uint32_t>(size) * static_cast<uint32_t>(cells));
    };
    DriverArray<pipe_stful_element> elements;
    const DriverArray<pipe_stful_query> queries(static_cast<size_t>(count));
    elements.allocate(static_cast<size_t>(times_size(count)));
    if (queries.get() == nullptr || elements.get() == nullptr) return PD_STATUS_NO_MEMORY;
    for (int32_t i = 0; i < count; ++i)
        queries[static_cast<size_t>(i)] = {
            .count = static_cast<uint32_t>(size), .reserved = 0, .elements = elements.get() + times_size(i)};

    uint32_t read_by_driver = 0;
    refused = pipe_stful_ent_query_range(sess_hdl, to_driver(dev_tgt), handle, first_index, count, queries.get(),
                                         &read_by_driver, from_hardware(flags));
    if (refused != PD_STATUS_OK) return refused;
    *cells_read = read_by_driver;
    *value_count = unpack(cell, queries.get(), read_by_driver, values);
    return PD_STATUS_OK;
}

pd_status write(Cell cell, uint32_t handle, pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t index,
                const void* value) noexcept {
    const pipe_stful_element element = pack(cell, value);
    return write_indirect(sess_hdl, dev_tgt, handle, index, &element);
}

pd_status write_all(Cell cell, uint32_t handle, pd_session sess_hdl, pd_dev_tgt dev_tgt, const void* value) noexcept {
    const pipe_stful_element element = pack(cell, value);
    return write_all_indirect(sess_hdl, dev_tgt, handle, &element);
}

pd_status reset_all(uint32_t handle, pd_session sess_hdl, pd_dev_tgt dev_tgt) noexcept {
    return pipe_stful_table_reset(sess_hdl, to_driver(dev_tgt), handle, nullptr);
}

// A range can only be reset, not filled.
pd_status reset_range(uint32_t handle, pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t first_index,
                      uint32_t count) noexcept {
    return pipe_stful_table_reset_range(sess_hdl, to_driver(dev_tgt), handle, first_index, count, nullptr);
}

pd_status sync(uint32_t handle, pd_session sess_hdl, pd_dev_tgt dev_tgt, pd_driver_callback callback,
               void* cookie) noexcept {
    return pipe_stful_database_sync(sess_hdl, to_driver(dev_tgt), handle, reinterpret_cast<pipe_sync_cb>(callback),
                                    cookie);
}

pd_status read_indirect(pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t handle, uint32_t index, uint32_t flags,
                        pipe_stful_query* query) noexcept {
    return pipe_stful_ent_query(sess_hdl, to_driver(dev_tgt), handle, index, query, from_hardware(flags));
}

pd_status read_direct(pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t table, pd_entry entry_hdl, uint32_t flags,
                      pipe_stful_query* query) noexcept {
    return pipe_stful_direct_ent_query(sess_hdl, to_driver(dev_tgt), table, entry_hdl, query, from_hardware(flags));
}

pd_status write_indirect(pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t handle, uint32_t index,
                         const pipe_stful_element* element) noexcept {
    return pipe_stful_ent_set(sess_hdl, to_driver(dev_tgt), handle, index, element, no_flags);
}

pd_status write_all_indirect(pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t handle,
                             const pipe_stful_element* element) noexcept {
    return pipe_stful_table_reset(sess_hdl, to_driver(dev_tgt), handle, element);
}

pd_status sync_direct(pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t table, pd_driver_callback callback,
                      void* cookie) noexcept {
    return pipe_stful_direct_database_sync(sess_hdl, to_driver(dev_tgt), table,
                                           reinterpret_cast<pipe_sync_cb>(callback), cookie);
}

// The handle names the register in the slot and the table in the call.
pd_status write_direct(pd_session sess_hdl, pd_device dev_id, uint32_t handle, pd_entry entry_hdl,
                       pd_register_value value) noexcept {
    pipe_resource_slot slot{};
    slot.resource_hdl = handle;
    std::memcpy(slot.spec, &value, sizeof value);
    slot.tag = PIPE_SLOT_ATTACHED;
    return pipe_mgr_mat_ent_set_resource(sess_hdl, static_cast<uint8_t>(dev_id), handle, entry_hdl, &slot, 1, no_flags);
}

} // namespace vl_pd::registers
