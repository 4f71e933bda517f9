// Placement data to records: the software's view of an entry or a member, decoded without access to the device.
//
// The driver's decoder fills the records that a read fills, and they are decoded by the same rules. What differs from a
// read: the driver reports the lengths, the kind of action data isn't looked at, and the action comes as one record.
#pragma once

#include <algorithm>

#include "pd/members.h"
#include "pd/pass_through.h"
#include "pd/readback.h"
#include "vl_driver/placement.h"

namespace vl_pd::placement {

using bytes::Byte;
using catalog::ActionRef;
using catalog::ProfileRef;
using catalog::TableRef;
using readback::data_capacity;

// The full name of a function of the table or profile, for a failed assertion.
inline constexpr std::string_view entry_suffix = "_get_entry_from_plcmt_data";
inline constexpr std::string_view member_suffix = "_get_member_from_plcmt_data";
inline constexpr std::string_view full_member_suffix = "_get_full_member_info_from_plcmt_data";

template <auto row, const std::string_view& suffix>
inline constexpr auto function_name =
    join_names<name_prefix.size() + std::string_view(row->name).size() + suffix.size()>(name_prefix, row->name, suffix);

// Bytes of the catalog's largest key. The driver writes the key of whatever entry the data is of, also where the caller
// took another table for its own.
inline constexpr size_t key_capacity = [] {
    size_t largest = 0;
    for (const catalog::Seam& seam : catalog::seams)
        for (const catalog::Table& table : seam.tables)
            largest = std::max<size_t>(largest, catalog::key_layout(table).bytes);
    return largest;
}();

// What the driver makes of an entry's data. Its records are zero but for the buffers, whose lengths it isn't told.
template <TableRef T>
struct PlacedEntry {
    Byte key[key_capacity]{};
    Byte mask[key_capacity]{};
    Byte data[data_capacity]{};
    pipe_match_record match{};
    pipe_action_record action{};
    pipe_act_hdl action_hdl = 0;

    PlacedEntry() {
        if constexpr (decoding::key_layout<T>.bytes != 0) {
            match.key_bytes = key;
            match.mask_bytes = mask;
        }
        action.action.data = data;
    }
    PlacedEntry(const PlacedEntry&) = delete;
    PlacedEntry& operator=(const PlacedEntry&) = delete;

    pd_status read(const void* plcmt_data) {
        return pipe_mgr_plcmt_mat_data_get_entry(plcmt_data, &match, &action, &action_hdl);
    }
};

// PD_STATUS_INVALID: the action isn't the table's; the key outputs are written then, the action record isn't.
template <TableRef T>
VL_INLINE pd_status decode_entry(const void* plcmt_data, void* match_spec, uint32_t* priority, void* action_record,
                                 uint8_t* is_default) noexcept {
    PlacedEntry<T> entry;
    if (const pd_status refused = entry.read(plcmt_data); refused != PD_STATUS_OK) return refused;
    ResourceList resources;
    if (!resources.build_pd_res_spec(entry.action)) return PD_STATUS_NO_MEMORY;

    if constexpr (catalog::key_shape(*T) == catalog::KeyShape::keyless)
        *is_default = 1; // it has no other entry
    else
        readback::write_key<T>(entry.match, match_spec, priority, is_default);
    const bool known = visit_action<T>(entry.action_hdl, [&]<ActionRef A>() VL_INLINE_LAMBDA {
        readback::write_action_record<A>(entry.action.action, resources.pairs(), resources.count(), action_record);
    });
    if (known) return PD_STATUS_OK;
    assertion_failed(Condition::null_pointer, function_name<T, entry_suffix>.data(), __LINE__);
    return PD_STATUS_INVALID;
}

// Mind the order of the outputs: a read of the same table has the flags in front, and the group before the member.
template <TableRef T>
VL_INLINE pd_status decode_indirect_entry(const void* plcmt_data, void* match_spec, uint32_t* priority,
                                          pd_member* mbr_hdl, pd_group* grp_hdl, uint8_t* has_mbr, uint8_t* has_grp,
                                          uint8_t* is_default) noexcept {
    PlacedEntry<T> entry;
    if (const pd_status refused = entry.read(plcmt_data); refused != PD_STATUS_OK) return refused;
    readback::write_key<T>(entry.match, match_spec, priority, is_default);
    readback::write_target(entry.action, has_mbr, has_grp, grp_hdl, mbr_hdl);
    return PD_STATUS_OK;
}

// before_data() is called when an action with parameters has been recognised.
template <ProfileRef P, const std::string_view& suffix>
pd_status decode_member_data(const void* plcmt_data, void* action_record, auto before_data) {
    Byte data[data_capacity]{};
    pipe_action_data action{.data_bits = 0, .data_len = 0, .reserved = 0, .data = data};
    pipe_act_hdl action_hdl = 0;
    const pd_status refused = pipe_mgr_plcmt_adt_data_get_entry(plcmt_data, &action, &action_hdl);
    if (refused != PD_STATUS_OK) return refused;
    const bool known = visit_action<P>(action_hdl, [&]<ActionRef A>() VL_INLINE_LAMBDA {
        if constexpr (encoding::action_layout<A>.param_count != 0) before_data();
        readback::write_action_record<A>(action, nullptr, 0, action_record);
    });
    if (known) return PD_STATUS_OK;
    assertion_failed(Condition::null_pointer, function_name<P, suffix>.data(), __LINE__);
    return PD_STATUS_UNEXPECTED;
}

template <ProfileRef P>
pd_status decode_member(const void* plcmt_data, void* action_record) noexcept {
    return decode_member_data<P, member_suffix>(plcmt_data, action_record, [] {});
}

// Also asks the component for the member's resources, if there is a shadow by now; no profile's action carries any.
template <ProfileRef P>
pd_status decode_full_member(pd_device dev_id, pd_member mbr_hdl, const void* plcmt_data,
                             void* action_record) noexcept {
    return decode_member_data<P, full_member_suffix>(plcmt_data, action_record, [&] {
        if (shadow<P>() == nullptr) return;
        uint32_t count = 0;
        void* resources = nullptr;
        p4_pd_ms_mbr_get_res(shadow<P>(), dev_id, mbr_hdl, &count, &resources);
    });
}

} // namespace vl_pd::placement
