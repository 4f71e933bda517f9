// Reading entries back, by handle or from placement data, and walking tables.
//
// Both readers fill the same outputs. After a refused driver call or PD_STATUS_NO_MEMORY, nothing is written. A read of
// a direct table by handle also writes nothing if the answer has no action data. If the action isn't the table's, only
// the key is written; the status is PD_STATUS_UNEXPECTED by handle, and PD_STATUS_INVALID from placement data.
#pragma once

#include "codec/actions.h"
#include "codec/assertion.h"
#include "codec/decoding.h"
#include "codec/driver_args.h"
#include "pd/names.h"
#include "pd/tables/resource_list.h"
#include "vl_driver/placement.h"
#include "vl_driver/tables.h"

namespace vl_pd::reading {

using bytes::Byte;
using catalog::TableRef;
using decoding::data_capacity;
using decoding::key_layout;

// Where a reader writes an entry: one shape for tables of all classes. The table's class says which members count.
struct Outputs {
    void* match_spec = nullptr;    // of a table with a key
    uint32_t* priority = nullptr;  // of a masked table
    uint8_t* is_default = nullptr; // of a table with a key; placement data of a keyless table writes 1

    // The action of a direct table. The name may be null. In a read by handle, the number may also be null.
    char* action_name = nullptr;
    void* action_number = nullptr; // four bytes
    void* action_spec = nullptr;

    // What an entry of an indirect table points at. Only the handle that the entry has is written.
    uint8_t* has_mbr = nullptr;
    uint8_t* has_grp = nullptr;
    pd_group* grp_hdl = nullptr;
    pd_member* mbr_hdl = nullptr;
};

// Bytes of the program's largest key. The driver writes the key of the entry that the placement data describes, and the
// caller may pass data of another table.
inline constexpr size_t key_capacity = [] {
    size_t largest = 1;
    for (const catalog::Table& table : catalog::tables(catalog::program))
        largest = std::max<size_t>(largest, catalog::key_layout(table).bytes);
    return largest;
}();

// The driver's answer: its records, and the buffers that they point at. All of it is zero at first.
template <size_t key_room>
struct Answer {
    Byte key[key_room]{};
    Byte mask[key_room]{};
    Byte data[data_capacity]{};
    pipe_match_record match{};
    alignas(bytes::Vector) pipe_action_record action;
    pipe_act_hdl action_hdl = 0;

    Answer() {
        bytes::clear(action);
    }
    Answer(const Answer&) = delete;
    Answer& operator=(const Answer&) = delete;
};

// A key of no bytes marks the default entry: its record is all zero.
template <TableRef T>
VL_INLINE void write_key(const pipe_match_record& match, const Outputs& out) {
    constexpr catalog::KeyShape shape = catalog::key_shape(*T);
    if constexpr (shape != catalog::KeyShape::keyless) {
        const bool has_key = match.key_bytes != nullptr && match.key_len != 0;
        *out.is_default = has_key ? 0 : 1;
        if constexpr (shape == catalog::KeyShape::masked) *out.priority = match.priority;
        if (!has_key) {
            std::memset(out.match_spec, 0, key_layout<T>.record_size);
            return;
        }
        decoding::unbuild_key<T>(match, out.match_spec);
        if constexpr (shape != catalog::KeyShape::exact) decoding::unbuild_mask<T>(match, out.match_spec);
    }
}

inline void write_target(const pipe_action_record& action, const Outputs& out) {
    *out.has_mbr = action.kind == PIPE_KIND_MEMBER;
    *out.has_grp = action.kind == PIPE_KIND_GROUP;
    if (*out.has_mbr) *out.mbr_hdl = action.member_hdl;
    if (*out.has_grp) *out.grp_hdl = action.group_hdl;
}

// Writes the table's action of this handle. False if no action of the table has the handle.
template <TableRef T>
VL_INLINE bool write_action(uint32_t action_hdl, const pipe_action_data& action, const ResourceList& resources,
                            const Outputs& out) {
    return visit_action<T>(action_hdl, [&](auto visited) VL_INLINE_LAMBDA {
        constexpr auto& name = joined<name_prefix, name_of<visited.value>>;
        if (out.action_name != nullptr) std::memcpy(out.action_name, name.data(), name.size());
        decoding::unbuild_action<visited.value>(action, resources.pairs(), resources.count(), out.action_number,
                                                out.action_spec);
    });
}

inline constexpr std::string_view get_entry_suffix = "_get_entry";

// Reads an entry by its handle, in one driver call.
template <TableRef T>
VL_INLINE pd_status get_entry(pd_session sess_hdl, pd_device dev_id, pd_entry entry_hdl, uint32_t read_from_hw,
                              Outputs out) noexcept {
    uint32_t unasked_number = 0;
    if (out.action_number == nullptr) out.action_number = &unasked_number;
    constexpr catalog::KeyLayout key = key_layout<T>;
    constexpr const char* name = joined<name_prefix, name_of<T>, get_entry_suffix>.data();
    Answer<key.bytes == 0 ? 1 : key.bytes> answer;
    if constexpr (key.bytes != 0)
        answer.match = {.key_bytes = answer.key,
                        .mask_bytes = answer.mask,
                        .partition_index = 0,
                        .priority = 0,
                        .key_bits = key.bits,
                        .key_len = key.bytes,
                        .reserved = 0};
    if constexpr (!catalog::is_indirect(*T)) {
        answer.action.action.data = answer.data;
        answer.action.action.data_len = data_capacity;
    }
    const pd_status refused =
        pipe_mgr_get_entry(sess_hdl, T->handle, on_all_pipes(dev_id), entry_hdl, &answer.match, &answer.action,
                           &answer.action_hdl, static_cast<uint8_t>(read_from_hw), 1, 0);
    if (refused != PD_STATUS_OK) return refused;
    if constexpr (catalog::is_indirect(*T)) {
        write_target(answer.action, out);
        write_key<T>(answer.match, out);
        return PD_STATUS_OK;
    } else {
        if (answer.action.kind != PIPE_KIND_ACTION_DATA) {
            assertion_failed(Condition::zero, name, __LINE__);
            return PD_STATUS_UNEXPECTED;
        }
        ResourceList resources;
        if (!resources.build_pd_res_spec(answer.action)) return PD_STATUS_NO_MEMORY;
        const bool known = write_action<T>(answer.action_hdl, answer.action.action, resources, out);
        if (!known) assertion_failed(Condition::null_pointer, name, __LINE__);
        write_key<T>(answer.match, out);
        return known ? PD_STATUS_OK : PD_STATUS_UNEXPECTED;
    }
}

inline constexpr std::string_view decode_suffix = "_get_entry_from_plcmt_data";

// Decodes an entry from placement data, without access to the device. Here the driver reports the lengths, and the kind
// of the action is ignored. PD_STATUS_INVALID: the action isn't the table's; the key is written all the same.
template <TableRef T>
pd_status decode_entry(const void* plcmt_data, const Outputs& out) noexcept {
    Answer<key_capacity> answer;
    if constexpr (key_layout<T>.bytes != 0) {
        answer.match.key_bytes = answer.key;
        answer.match.mask_bytes = answer.mask;
    }
    answer.action.action.data = answer.data;
    const pd_status refused =
        pipe_mgr_plcmt_mat_data_get_entry(plcmt_data, &answer.match, &answer.action, &answer.action_hdl);
    if (refused != PD_STATUS_OK) return refused;
    if constexpr (catalog::is_indirect(*T)) {
        write_key<T>(answer.match, out);
        write_target(answer.action, out);
        return PD_STATUS_OK;
    } else {
        ResourceList resources;
        if (!resources.build_pd_res_spec(answer.action)) return PD_STATUS_NO_MEMORY;
        if constexpr (catalog::key_shape(*T) == catalog::KeyShape::keyless) *out.is_default = 1;
        write_key<T>(answer.match, out);
        if (write_action<T>(answer.action_hdl, answer.action.action, resources, out)) return PD_STATUS_OK;
        assertion_failed(Condition::null_pointer, joined<name_prefix, name_of<T>, decode_suffix>.data(), __LINE__);
        return PD_STATUS_INVALID;
    }
}

// The walks work on match tables, data tables and selectors. The driver's walks take the table before the device, its
// other calls take it after the device.
inline pd_status get_count(uint32_t table, pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t* count) noexcept {
    return pipe_mgr_get_entry_count(sess_hdl, to_driver(dev_tgt), table, 0, count);
}

inline pd_status get_first(uint32_t table, pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t* handle) noexcept {
    return pipe_mgr_get_first_entry_handle(sess_hdl, table, to_driver(dev_tgt), handle);
}

inline pd_status get_next(uint32_t table, pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t handle, uint32_t n,
                          uint32_t* next_handles) noexcept {
    return pipe_mgr_get_next_entry_handles(sess_hdl, table, to_driver(dev_tgt), handle, n, next_handles);
}

} // namespace vl_pd::reading
