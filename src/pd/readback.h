// Reading entries back and walking tables.
//
// An entry is read by one driver call and decoded. A refused call writes no output; in a direct table, nor does an
// answer without action data. An action that isn't the table's still lets the key through.
#pragma once

#include "pd/assertion.h"
#include "pd/decoding.h"
#include "pd/device.h"
#include "pd/exported_name.h"
#include "pd/resource_list.h"
#include "pd/visit_action.h"
#include "vl_driver/tables.h"
#include "vl_pd/velmar_switch/program.h"

namespace vl_pd::readback {

using bytes::Byte;
using catalog::ActionRef;
using catalog::TableRef;
using decoding::action_layout;
using decoding::key_layout;
using decoding::unbuild_action_spec;
using decoding::unbuild_key;
using decoding::unbuild_mask;

// Room for the action data of every table.
inline constexpr size_t data_capacity = 32;

// Bytes of a table's key; C++ has no empty arrays.
template <TableRef T>
inline constexpr size_t key_room = key_layout<T>.bytes == 0 ? 1 : key_layout<T>.bytes;

template <ActionRef A>
inline constexpr bool fits_buffers = action_layout<A>.bytes <= data_capacity&& action_layout<A>.record_size <=
                                     sizeof(pd_action_record::spec);

// "p4_pd_velmar_switch_<table>_get_entry"
template <TableRef T>
inline constexpr auto get_entry_name =
    join_names<name_prefix.size() + std::string_view(T->name).size() + 10>(name_prefix, T->name, "_get_entry");

template <TableRef T>
VL_INLINE void prepare(pipe_match_record& match, Byte* key, Byte* mask) {
    constexpr catalog::KeyLayout layout = key_layout<T>;
    if constexpr (layout.bytes != 0) {
        match.key_bytes = key;
        match.mask_bytes = mask;
        match.key_bits = layout.bits;
        match.key_len = layout.bytes;
    }
}

template <TableRef T>
VL_INLINE void write_key(const pipe_match_record& match, void* match_spec, uint32_t* priority, uint8_t* is_default) {
    constexpr catalog::KeyShape shape = catalog::key_shape(*T);
    if constexpr (shape != catalog::KeyShape::keyless) {
        const bool has_key = match.key_bytes != nullptr && match.key_len != 0;
        *is_default = has_key ? 0 : 1;
        if constexpr (shape == catalog::KeyShape::masked) *priority = match.priority;
        if (!has_key) {
            std::memset(match_spec, 0, key_layout<T>.record_size);
            return;
        }
        unbuild_key<T>(match, match_spec);
        if constexpr (shape != catalog::KeyShape::exact) unbuild_mask<T>(match, match_spec);
    }
}

// With the terminator.
template <ActionRef A>
inline constexpr size_t full_name_size = name_prefix.size() + std::string_view(A->name).size() + 1;

// Writes an action as one record: its number, and from byte 4 on its parameters, if it has any.
template <ActionRef A>
VL_INLINE void write_action_record(const pipe_action_data& action, const pd_resource_index* resources,
                                   uint32_t resource_count, void* action_record) {
    static_assert(fits_buffers<A>);
    constexpr uint32_t number = A.number;
    std::memcpy(action_record, &number, sizeof number);
    if constexpr (action_layout<A>.param_count != 0)
        unbuild_action_spec<A>(action, resources, resource_count, static_cast<Byte*>(action_record) + sizeof number);
}

template <TableRef T>
VL_INLINE pd_status get_entry(pd_session sess_hdl, pd_device dev_id, pd_entry entry_hdl, uint32_t read_from_hw,
                              void* match_spec, uint32_t* priority, char* action_name, void* action_spec,
                              uint32_t* action_id, uint8_t* is_default) noexcept {
    Byte key[key_room<T>]{};
    Byte mask[key_room<T>]{};
    Byte data[data_capacity]{};
    pipe_match_record match{};
    prepare<T>(match, key, mask);
    alignas(bytes::Vector) pipe_action_record action;
    bytes::clear(action);
    action.action.data = data;
    action.action.data_len = data_capacity;
    pipe_act_hdl action_hdl = 0;

    const pd_status refused = pipe_mgr_get_entry(sess_hdl, T->handle, on_all_pipes(dev_id), entry_hdl, &match, &action,
                                                 &action_hdl, static_cast<uint8_t>(read_from_hw), 1, 0);
    if (refused != PD_STATUS_OK) return refused;
    if (action.kind != PIPE_KIND_ACTION_DATA) {
        assertion_failed(Condition::zero, get_entry_name<T>.data(), __LINE__);
        return PD_STATUS_UNEXPECTED;
    }
    ResourceList resources;
    if (!resources.build_pd_res_spec(action)) return PD_STATUS_NO_MEMORY;

    const bool known = visit_action<T>(action_hdl, [&]<ActionRef A>() VL_INLINE_LAMBDA {
        if (action_name != nullptr)
            std::memcpy(action_name, p4_pd_velmar_switch_action_name_strings[A.number], full_name_size<A>);
        static_assert(fits_buffers<A>);
        if (action_id != nullptr) *action_id = A.number;
        if constexpr (action_layout<A>.param_count != 0)
            unbuild_action_spec<A>(action.action, resources.pairs(), resources.count(), action_spec);
    });
    if (!known) assertion_failed(Condition::null_pointer, get_entry_name<T>.data(), __LINE__);
    write_key<T>(match, match_spec, priority, is_default);
    return known ? PD_STATUS_OK : PD_STATUS_UNEXPECTED;
}

// What an entry of an indirect table points at. The handle that it doesn't hold isn't written.
inline void write_target(const pipe_action_record& action, uint8_t* has_mbr, uint8_t* has_grp, pd_group* grp_hdl,
                         pd_member* mbr_hdl) {
    *has_mbr = action.kind == PIPE_KIND_MEMBER;
    *has_grp = action.kind == PIPE_KIND_GROUP;
    if (*has_mbr) *mbr_hdl = action.member_hdl;
    if (*has_grp) *grp_hdl = action.group_hdl;
}

template <TableRef T>
VL_INLINE pd_status get_indirect_entry(pd_session sess_hdl, pd_device dev_id, pd_entry entry_hdl, uint32_t read_from_hw,
                                       void* match_spec, uint32_t* priority, uint8_t* has_mbr, uint8_t* has_grp,
                                       pd_group* grp_hdl, pd_member* mbr_hdl, uint8_t* is_default) noexcept {
    Byte key[key_layout<T>.bytes]{};
    Byte mask[key_layout<T>.bytes]{};
    pipe_match_record match{};
    prepare<T>(match, key, mask);
    alignas(bytes::Vector) pipe_action_record action;
    bytes::clear(action);
    pipe_act_hdl action_hdl = 0;

    const pd_status refused = pipe_mgr_get_entry(sess_hdl, T->handle, on_all_pipes(dev_id), entry_hdl, &match, &action,
                                                 &action_hdl, static_cast<uint8_t>(read_from_hw), 1, 0);
    if (refused != PD_STATUS_OK) return refused;
    write_target(action, has_mbr, has_grp, grp_hdl, mbr_hdl);
    write_key<T>(match, match_spec, priority, is_default);
    return PD_STATUS_OK;
}

template <TableRef T>
VL_INLINE pd_status get_entry_count(pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t* count) noexcept {
    return pipe_mgr_get_entry_count(sess_hdl, to_driver(dev_tgt), T->handle, 0, count);
}

// Mind the order: the table stands before the device in the walking calls, behind it elsewhere.
template <TableRef T>
VL_INLINE pd_status get_first_entry_handle(pd_session sess_hdl, pd_dev_tgt dev_tgt, pd_entry* entry_hdl) noexcept {
    return pipe_mgr_get_first_entry_handle(sess_hdl, T->handle, to_driver(dev_tgt), entry_hdl);
}

template <TableRef T>
VL_INLINE pd_status get_next_entry_handles(pd_session sess_hdl, pd_dev_tgt dev_tgt, pd_entry entry_hdl, uint32_t n,
                                           pd_entry* next_entry_hdls) noexcept {
    return pipe_mgr_get_next_entry_handles(sess_hdl, T->handle, to_driver(dev_tgt), entry_hdl, n, next_entry_hdls);
}

} // namespace vl_pd::readback
