// Selector groups: sets of members among which the data plane chooses per packet.
//
// Driver calls take the group before the member, shadow calls the member before the group. The selector's handle stands
// behind the session in the walking calls and behind the device in all others.
#pragma once

#include "pd/device.h"
#include "pd/encoding.h"
#include "pd/shadow.h"
#include "vl_driver/profiles.h"
#include "vl_driver/system.h"
#include "vl_driver/tables.h"

namespace vl_pd::groups {

using catalog::ProfileRef;
using encoding::no_flags;

template <ProfileRef P>
pd_status create(pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t max_grp_size, pd_group* grp_hdl) noexcept {
    const pd_status refused = pipe_mgr_sel_grp_add(sess_hdl, to_driver(dev_tgt), P->selector, 0, max_grp_size,
                                                   PIPE_SEL_GRP_MARK, grp_hdl, no_flags);
    if (refused != PD_STATUS_OK) return refused;
    p4_pd_ms_new_grp(sess_hdl, shadow<P>(), dev_tgt.dev_id, *grp_hdl);
    return PD_STATUS_OK;
}

// The group takes over the action of the member that joined last.
template <ProfileRef P>
pd_status add_member(pd_session sess_hdl, pd_device dev_id, pd_group grp_hdl, pd_member mbr_hdl) noexcept {
    pipe_act_hdl action = 0;
    const pd_status unknown = p4_pd_ms_get_mbr_act(shadow<P>(), dev_id, mbr_hdl, &action);
    if (unknown != PD_STATUS_OK) return unknown;
    const pd_status refused =
        pipe_mgr_sel_grp_mbr_add(sess_hdl, dev_id, P->selector, grp_hdl, action, mbr_hdl, no_flags);
    if (refused != PD_STATUS_OK) return refused;
    p4_pd_ms_add_mbr_to_grp(sess_hdl, shadow<P>(), dev_id, mbr_hdl, grp_hdl);
    p4_pd_ms_set_grp_act(shadow<P>(), dev_id, grp_hdl, action);
    return PD_STATUS_OK;
}

template <ProfileRef P>
pd_status remove_member(pd_session sess_hdl, pd_device dev_id, pd_group grp_hdl, pd_member mbr_hdl) noexcept {
    const pd_status refused = pipe_mgr_sel_grp_mbr_del(sess_hdl, dev_id, P->selector, grp_hdl, mbr_hdl, no_flags);
    if (refused != PD_STATUS_OK) return refused;
    p4_pd_ms_del_mbr_from_grp(sess_hdl, shadow<P>(), dev_id, mbr_hdl, grp_hdl);
    return PD_STATUS_OK;
}

// Deletes a group of the selector. The shadow wants the members, and the driver can list them only while the group
// exists, so they are fetched first. Returns the shadow's status, once the driver has agreed.
pd_status remove_from(uint32_t selector, p4_pd_ms_state* shadow, pd_session sess_hdl, pd_device dev_id,
                      pd_group grp_hdl) noexcept;

template <ProfileRef P>
pd_status remove(pd_session sess_hdl, pd_device dev_id, pd_group grp_hdl) noexcept {
    return remove_from(P->selector, shadow<P>(), sess_hdl, dev_id, grp_hdl);
}

// For a state that is none of the two: logs the broken precondition. PD_STATUS_INVALID, without a driver call.
pd_status refuse_member_state() noexcept;

template <ProfileRef P>
pd_status set_member_state(pd_session sess_hdl, pd_dev_tgt dev_tgt, pd_group grp_hdl, pd_member mbr_hdl,
                           uint32_t mbr_state) noexcept {
    switch (mbr_state) {
    case P4_PD_GRP_MBR_STATE_ACTIVE:
        return pipe_mgr_sel_grp_mbr_enable(sess_hdl, to_driver(dev_tgt), P->selector, grp_hdl, mbr_hdl, no_flags);
    case P4_PD_GRP_MBR_STATE_INACTIVE:
        return pipe_mgr_sel_grp_mbr_disable(sess_hdl, to_driver(dev_tgt), P->selector, grp_hdl, mbr_hdl, no_flags);
    default:
        return refuse_member_state();
    }
}

// Lets through the two states that agents know, and writes nothing else.
template <ProfileRef P>
pd_status get_member_state(pd_session sess_hdl, pd_dev_tgt dev_tgt, pd_group grp_hdl, pd_member mbr_hdl,
                           uint32_t* mbr_state) noexcept {
    uint32_t driver_state = 0;
    const pd_status status =
        pipe_mgr_sel_grp_mbr_state_get(sess_hdl, to_driver(dev_tgt), P->selector, grp_hdl, mbr_hdl, &driver_state);
    if (status != PD_STATUS_OK) return status;
    if (driver_state == PIPE_MBR_STATE_ACTIVE) *mbr_state = P4_PD_GRP_MBR_STATE_ACTIVE;
    if (driver_state == PIPE_MBR_STATE_INACTIVE) *mbr_state = P4_PD_GRP_MBR_STATE_INACTIVE;
    return status;
}

template <ProfileRef P>
pd_status set_fallback_member(pd_session sess_hdl, pd_dev_tgt dev_tgt, pd_member mbr_hdl) noexcept {
    return pipe_mgr_sel_fallback_mbr_set(sess_hdl, to_driver(dev_tgt), P->selector, mbr_hdl, no_flags);
}

template <ProfileRef P>
pd_status reset_fallback_member(pd_session sess_hdl, pd_dev_tgt dev_tgt) noexcept {
    return pipe_mgr_sel_fallback_mbr_reset(sess_hdl, to_driver(dev_tgt), P->selector, no_flags);
}

template <ProfileRef P>
pd_status get_first(pd_session sess_hdl, pd_dev_tgt dev_tgt, pd_group* grp_hdl) noexcept {
    return pipe_mgr_get_first_entry_handle(sess_hdl, P->selector, to_driver(dev_tgt), grp_hdl);
}

template <ProfileRef P>
pd_status get_next(pd_session sess_hdl, pd_dev_tgt dev_tgt, pd_group grp_hdl, uint32_t n,
                   pd_group* next_grp_hdls) noexcept {
    return pipe_mgr_get_next_entry_handles(sess_hdl, P->selector, to_driver(dev_tgt), grp_hdl, n, next_grp_hdls);
}

template <ProfileRef P>
pd_status get_first_member(pd_session sess_hdl, pd_device dev_id, pd_group grp_hdl, pd_member* mbr_hdl) noexcept {
    return pipe_mgr_get_first_group_member(sess_hdl, P->selector, dev_id, grp_hdl, mbr_hdl);
}

template <ProfileRef P>
pd_status get_next_members(pd_session sess_hdl, pd_device dev_id, pd_group grp_hdl, pd_member mbr_hdl, uint32_t n,
                           pd_member* next_mbr_hdls) noexcept {
    return pipe_mgr_get_next_group_members(sess_hdl, P->selector, dev_id, grp_hdl, mbr_hdl, n, next_mbr_hdls);
}

template <ProfileRef P>
pd_status get_count(pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t* count) noexcept {
    return pipe_mgr_get_entry_count(sess_hdl, to_driver(dev_tgt), P->selector, 0, count);
}

template <ProfileRef P>
pd_status get_member_count(pd_session sess_hdl, pd_dev_tgt dev_tgt, pd_group grp_hdl, uint32_t* count) noexcept {
    return pipe_mgr_get_sel_grp_mbr_count(sess_hdl, to_driver(dev_tgt), P->selector, grp_hdl, count);
}

template <ProfileRef P>
pd_status get_word_active_member_count(pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t word,
                                       uint32_t* count) noexcept {
    return pipe_mgr_get_word_llp_active_member_count(sess_hdl, to_driver(dev_tgt), P->selector, word, count);
}

template <ProfileRef P>
pd_status get_word_active_members(pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t word, uint32_t count,
                                  pd_member* mbr_hdls) noexcept {
    return pipe_mgr_get_word_llp_active_members(sess_hdl, to_driver(dev_tgt), P->selector, word, count, mbr_hdls);
}

template <ProfileRef P>
pd_status get_member_from_hash(pd_session sess_hdl, pd_dev_tgt dev_tgt, pd_group grp_hdl, const uint8_t* hash,
                               uint32_t hash_len, pd_member* mbr_hdl) noexcept {
    return pipe_mgr_sel_grp_mbr_get_from_hash(sess_hdl, to_driver(dev_tgt), P->selector, grp_hdl, hash, hash_len,
                                              mbr_hdl);
}

template <ProfileRef P>
pd_status register_callback(pd_session sess_hdl, pd_dev_tgt dev_tgt, pd_driver_callback callback,
                            void* cookie) noexcept {
    return pipe_mgr_sel_tbl_register_cb(sess_hdl, to_driver(dev_tgt), P->selector,
                                        reinterpret_cast<pipe_sel_tbl_cb>(callback), cookie);
}

// The same registration without a session.
template <ProfileRef P>
pd_status track_updates(pd_device dev_id, pd_driver_callback callback, void* cookie) noexcept {
    return pipe_mgr_sel_tbl_register_cb(0, on_device(dev_id), P->selector, reinterpret_cast<pipe_sel_tbl_cb>(callback),
                                        cookie);
}

template <ProfileRef P>
pd_status register_update_callback(pd_session sess_hdl, pd_dev_tgt dev_tgt, pd_driver_callback callback,
                                   void* cookie) noexcept {
    return pipe_register_sel_update_cb(sess_hdl, to_driver(dev_tgt), P->selector,
                                       reinterpret_cast<pipe_sel_update_cb>(callback), cookie);
}

} // namespace vl_pd::groups
