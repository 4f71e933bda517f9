// Entries that point at a member or a group of their table's action profile, in place of action data of their own.
//
// The driver wants the target's action with every entry; the shadow knows it. An unknown target is refused with the
// shadow's status before the driver is asked. The shadow is only read here.
#pragma once

#include "pd/device.h"
#include "pd/encoding.h"
#include "pd/shadow.h"
#include "vl_driver/tables.h"

namespace vl_pd::indirect {

using catalog::TableRef;
using encoding::no_flags;

enum class Target { member, group };

// The driver's record for a target, and the target's action.
struct Pointer {
    alignas(bytes::Vector) pipe_action_record record;
    pipe_act_hdl action;
};

template <TableRef T, Target target>
VL_INLINE pd_status build_pointer(pd_device dev_id, uint32_t target_hdl, Pointer& out) {
    p4_pd_ms_state* const state = shadow<catalog::profile_of(T)>();
    bytes::clear(out.record);
    uint32_t count = 0;
    void* resources = nullptr; // no entry of these tables carries any; the component is asked all the same
    if constexpr (target == Target::member) {
        out.record.kind = PIPE_KIND_MEMBER;
        out.record.member_hdl = target_hdl;
        const pd_status unknown = p4_pd_ms_get_mbr_act(state, dev_id, target_hdl, &out.action);
        if (unknown != PD_STATUS_OK) return unknown;
        p4_pd_ms_mbr_get_res(state, dev_id, target_hdl, &count, &resources);
    } else {
        out.record.kind = PIPE_KIND_GROUP;
        out.record.group_hdl = target_hdl;
        const pd_status unknown = p4_pd_ms_get_grp_act(state, dev_id, target_hdl, &out.action);
        if (unknown != PD_STATUS_OK) return unknown;
        p4_pd_ms_grp_get_res(state, dev_id, target_hdl, &count, &resources);
    }
    return PD_STATUS_OK;
}

template <TableRef T, Target target>
VL_INLINE pd_status add(pd_session sess_hdl, pd_dev_tgt dev_tgt, const void* match_spec, uint32_t priority,
                        uint32_t target_hdl, pd_entry* entry_hdl) noexcept {
    encoding::MatchRecord<T> match;
    encoding::build_match_spec<T>(match_spec, priority, match);
    Pointer pointer;
    const pd_status unknown = build_pointer<T, target>(dev_tgt.dev_id, target_hdl, pointer);
    if (unknown != PD_STATUS_OK) return unknown;
    return pipe_mgr_mat_ent_add(sess_hdl, to_driver(dev_tgt), T->handle, &match.record, pointer.action, &pointer.record,
                                0, no_flags, entry_hdl);
}

template <TableRef T, Target target>
VL_INLINE pd_status modify(pd_session sess_hdl, pd_device dev_id, pd_entry entry_hdl, uint32_t target_hdl) noexcept {
    Pointer pointer;
    const pd_status unknown = build_pointer<T, target>(dev_id, target_hdl, pointer);
    if (unknown != PD_STATUS_OK) return unknown;
    return pipe_mgr_mat_ent_set_action(sess_hdl, dev_id, T->handle, entry_hdl, pointer.action, &pointer.record,
                                       no_flags);
}

template <TableRef T, Target target>
VL_INLINE pd_status modify_by_match_spec(pd_session sess_hdl, pd_dev_tgt dev_tgt, const void* match_spec,
                                         uint32_t priority, uint32_t target_hdl) noexcept {
    encoding::MatchRecord<T> match;
    encoding::build_match_spec<T>(match_spec, priority, match);
    Pointer pointer;
    const pd_status unknown = build_pointer<T, target>(dev_tgt.dev_id, target_hdl, pointer);
    if (unknown != PD_STATUS_OK) return unknown;
    return pipe_mgr_mat_ent_set_action_by_match_spec(sess_hdl, to_driver(dev_tgt), T->handle, &match.record,
                                                     pointer.action, &pointer.record, no_flags);
}

template <TableRef T, Target target>
VL_INLINE pd_status set_default(pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t target_hdl,
                                pd_entry* entry_hdl) noexcept {
    Pointer pointer;
    const pd_status unknown = build_pointer<T, target>(dev_tgt.dev_id, target_hdl, pointer);
    if (unknown != PD_STATUS_OK) return unknown;
    return pipe_mgr_mat_default_entry_set(sess_hdl, to_driver(dev_tgt), T->handle, pointer.action, &pointer.record,
                                          no_flags, entry_hdl);
}

} // namespace vl_pd::indirect
