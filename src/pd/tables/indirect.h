// Entries that point at a member or a group of an action profile, instead of having action data.
//
// With every entry, the driver takes the action of its member or group, which the shadow knows. A handle that the
// shadow doesn't know is refused with the shadow's status, without a driver call. The shadow is only read here.
#pragma once

#include "codec/driver_args.h"
#include "codec/encoding.h"
#include "pd/lifecycle.h"
#include "vl_driver/tables.h"

namespace vl_pd::indirect {

using catalog::TableRef;

// What an entry points at.
enum class PointsAt { member, group };

// The driver's record of an entry that points at a member or group, and the action of that member or group.
struct Pointer {
    alignas(bytes::Vector) pipe_action_record record;
    pipe_act_hdl action;
};

VL_INLINE pd_status build_pointer(p4_pd_ms_state* shadow, PointsAt what, pd_device dev_id, uint32_t handle,
                                  Pointer& out) {
    bytes::clear(out.record);
    uint32_t count = 0;
    void* resources = nullptr; // these tables have none, but the shadow is always asked
    if (what == PointsAt::member) {
        out.record.kind = PIPE_KIND_MEMBER;
        out.record.member_hdl = handle;
        const pd_status unknown = p4_pd_ms_get_mbr_act(shadow, dev_id, handle, &out.action);
        if (unknown != PD_STATUS_OK) return unknown;
        p4_pd_ms_mbr_get_res(shadow, dev_id, handle, &count, &resources);
    } else {
        out.record.kind = PIPE_KIND_GROUP;
        out.record.group_hdl = handle;
        const pd_status unknown = p4_pd_ms_get_grp_act(shadow, dev_id, handle, &out.action);
        if (unknown != PD_STATUS_OK) return unknown;
        p4_pd_ms_grp_get_res(shadow, dev_id, handle, &count, &resources);
    }
    return PD_STATUS_OK;
}

template <TableRef T>
p4_pd_ms_state* shadow() {
    return lifecycle::shadow_of(catalog::profile_of(catalog::program, *T));
}

template <TableRef T>
pd_status add(PointsAt what, pd_session sess_hdl, pd_dev_tgt dev_tgt, const void* match_spec, uint32_t priority,
              uint32_t handle, pd_entry* entry_hdl) noexcept {
    encoding::MatchRecord<T> match;
    encoding::build_match_spec<T>(match_spec, priority, match);
    Pointer pointer;
    const pd_status unknown = build_pointer(shadow<T>(), what, dev_tgt.dev_id, handle, pointer);
    if (unknown != PD_STATUS_OK) return unknown;
    return pipe_mgr_mat_ent_add(sess_hdl, to_driver(dev_tgt), T->handle, &match.record, pointer.action, &pointer.record,
                                0, no_flags, entry_hdl);
}

template <TableRef T>
pd_status modify(PointsAt what, pd_session sess_hdl, pd_device dev_id, pd_entry entry_hdl, uint32_t handle) noexcept {
    Pointer pointer;
    const pd_status unknown = build_pointer(shadow<T>(), what, dev_id, handle, pointer);
    if (unknown != PD_STATUS_OK) return unknown;
    return pipe_mgr_mat_ent_set_action(sess_hdl, dev_id, T->handle, entry_hdl, pointer.action, &pointer.record,
                                       no_flags);
}

template <TableRef T>
pd_status modify_by_match_spec(PointsAt what, pd_session sess_hdl, pd_dev_tgt dev_tgt, const void* match_spec,
                               uint32_t priority, uint32_t handle) noexcept {
    encoding::MatchRecord<T> match;
    encoding::build_match_spec<T>(match_spec, priority, match);
    Pointer pointer;
    const pd_status unknown = build_pointer(shadow<T>(), what, dev_tgt.dev_id, handle, pointer);
    if (unknown != PD_STATUS_OK) return unknown;
    return pipe_mgr_mat_ent_set_action_by_match_spec(sess_hdl, to_driver(dev_tgt), T->handle, &match.record,
                                                     pointer.action, &pointer.record, no_flags);
}

template <TableRef T>
pd_status set_default(PointsAt what, pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t handle,
                      pd_entry* entry_hdl) noexcept {
    Pointer pointer;
    const pd_status unknown = build_pointer(shadow<T>(), what, dev_tgt.dev_id, handle, pointer);
    if (unknown != PD_STATUS_OK) return unknown;
    return pipe_mgr_mat_default_entry_set(sess_hdl, to_driver(dev_tgt), T->handle, pointer.action, &pointer.record,
                                          no_flags, entry_hdl);
}

} // namespace vl_pd::indirect
