// Selector groups: sets of members among which the data plane chooses per packet.
//
// The driver's calls take the group before the member, the shadow's calls the member before the group. The driver's
// walks take the selector before the device, its other calls take it after the device.
#pragma once

#include "codec/driver_args.h"
#include "pd/driver_array.h"
#include "pd/lifecycle.h"
#include "vl_driver/profiles.h"
#include "vl_driver/system.h"
#include "vl_driver/tables.h"

namespace vl_pd::groups {

using catalog::ProfileRef;
using lifecycle::shadow_of;

inline pd_status create(ProfileRef profile, pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t max_grp_size,
                        pd_group* grp_hdl) noexcept {
    const pd_status refused = pipe_mgr_sel_grp_add(sess_hdl, to_driver(dev_tgt), profile->selector, 0, max_grp_size,
                                                   PIPE_SEL_GRP_MARK, grp_hdl, no_flags);
    if (refused != PD_STATUS_OK) return refused;
    p4_pd_ms_new_grp(sess_hdl, shadow_of(profile), dev_tgt.dev_id, *grp_hdl);
    return PD_STATUS_OK;
}

// The group takes over the action of the member that joined last.
inline pd_status add_member(ProfileRef profile, pd_session sess_hdl, pd_device dev_id, pd_group grp_hdl,
                            pd_member mbr_hdl) noexcept {
    pipe_act_hdl action = 0;
    const pd_status unknown = p4_pd_ms_get_mbr_act(shadow_of(profile), dev_id, mbr_hdl, &action);
    if (unknown != PD_STATUS_OK) return unknown;
    const pd_status refused =
        pipe_mgr_sel_grp_mbr_add(sess_hdl, dev_id, profile->selector, grp_hdl, action, mbr_hdl, no_flags);
    if (refused != PD_STATUS_OK) return refused;
    p4_pd_ms_add_mbr_to_grp(sess_hdl, shadow_of(profile), dev_id, mbr_hdl, grp_hdl);
    p4_pd_ms_set_grp_act(shadow_of(profile), dev_id, grp_hdl, action);
    return PD_STATUS_OK;
}

inline pd_status remove_member(ProfileRef profile, pd_session sess_hdl, pd_device dev_id, pd_group grp_hdl,
                               pd_member mbr_hdl) noexcept {
    const pd_status refused = pipe_mgr_sel_grp_mbr_del(sess_hdl, dev_id, profile->selector, grp_hdl, mbr_hdl, no_flags);
    if (refused != PD_STATUS_OK) return refused;
    p4_pd_ms_del_mbr_from_grp(sess_hdl, shadow_of(profile), dev_id, mbr_hdl, grp_hdl);
    return PD_STATUS_OK;
}

// Deletes a group. The shadow takes the members, and the driver lists them only while the group exists, so they are
// fetched first. Returns the shadow's status, once the driver has deleted the group.
inline pd_status remove(ProfileRef profile, pd_session sess_hdl, pd_device dev_id, pd_group grp_hdl) noexcept {
    const uint32_t selector = profile->selector;
    uint32_t count = 0;
    pd_status refused = pipe_mgr_get_sel_grp_mbr_count(sess_hdl, on_device(dev_id), selector, grp_hdl, &count);
    if (refused != PD_STATUS_OK) return refused;
    if (count == 0) {
        refused = pipe_mgr_sel_grp_del(sess_hdl, dev_id, selector, grp_hdl, no_flags);
        if (refused != PD_STATUS_OK) return refused;
        return p4_pd_ms_del_grp(sess_hdl, shadow_of(profile), dev_id, grp_hdl, 0, nullptr);
    }

    const DriverArray<pd_member> members(count);
    const DriverArray<uint8_t> states(count); // not used, but the driver fills it
    if (members.get() == nullptr || states.get() == nullptr) return PD_STATUS_NO_MEMORY;
    uint32_t returned = 0;
    refused = pipe_mgr_sel_grp_mbrs_get(sess_hdl, dev_id, selector, grp_hdl, count, members.get(), states.get(),
                                        &returned, no_flags);
    if (refused != PD_STATUS_OK) return refused;
    refused = pipe_mgr_sel_grp_del(sess_hdl, dev_id, selector, grp_hdl, no_flags);
    if (refused != PD_STATUS_OK) return refused;
    return p4_pd_ms_del_grp(sess_hdl, shadow_of(profile), dev_id, grp_hdl, returned, members.get());
}

// Logs an unknown state. Returns PD_STATUS_INVALID, without a driver call.
inline pd_status refuse_member_state() noexcept {
    bf_sys_log_and_trace(BF_SYS_MODULE_NONE, BF_SYS_LEVEL_ERROR, "%s",
                         "mbr_state == P4_PD_GRP_MBR_STATE_INACTIVE doesn't hold: no state of a group's member");
    return PD_STATUS_INVALID;
}

inline pd_status set_member_state(ProfileRef profile, pd_session sess_hdl, pd_dev_tgt dev_tgt, pd_group grp_hdl,
                                  pd_member mbr_hdl, uint32_t mbr_state) noexcept {
    switch (mbr_state) {
    case P4_PD_GRP_MBR_STATE_ACTIVE:
        return pipe_mgr_sel_grp_mbr_enable(sess_hdl, to_driver(dev_tgt), profile->selector, grp_hdl, mbr_hdl, no_flags);
    case P4_PD_GRP_MBR_STATE_INACTIVE:
        return pipe_mgr_sel_grp_mbr_disable(sess_hdl, to_driver(dev_tgt), profile->selector, grp_hdl, mbr_hdl,
                                            no_flags);
    default:
        return refuse_member_state();
    }
}

// If the driver reports a state that agents don't know, nothing is written.
inline pd_status get_member_state(ProfileRef profile, pd_session sess_hdl, pd_dev_tgt dev_tgt, pd_group grp_hdl,
                                  pd_member mbr_hdl, uint32_t* mbr_state) noexcept {
    uint32_t driver_state = 0;
    const pd_status status = pipe_mgr_sel_grp_mbr_state_get(sess_hdl, to_driver(dev_tgt), profile->selector, grp_hdl,
                                                            mbr_hdl, &driver_state);
    if (status != PD_STATUS_OK) return status;
    if (driver_state == PIPE_MBR_STATE_ACTIVE) *mbr_state = P4_PD_GRP_MBR_STATE_ACTIVE;
    if (driver_state == PIPE_MBR_STATE_INACTIVE) *mbr_state = P4_PD_GRP_MBR_STATE_INACTIVE;
    return status;
}

inline pd_status set_fallback_member(ProfileRef profile, pd_session sess_hdl, pd_dev_tgt dev_tgt,
                                     pd_member mbr_hdl) noexcept {
    return pipe_mgr_sel_fallback_mbr_set(sess_hdl, to_driver(dev_tgt), profile->selector, mbr_hdl, no_flags);
}

inline pd_status reset_fallback_member(ProfileRef profile, pd_session sess_hdl, pd_dev_tgt dev_tgt) noexcept {
    return pipe_mgr_sel_fallback_mbr_reset(sess_hdl, to_driver(dev_tgt), profile->selector, no_flags);
}

inline pd_status get_first_member(ProfileRef profile, pd_session sess_hdl, pd_device dev_id, pd_group grp_hdl,
                                  pd_member* mbr_hdl) noexcept {
    return pipe_mgr_get_first_group_member(sess_hdl, profile->selector, dev_id, grp_hdl, mbr_hdl);
}

inline pd_status get_next_members(ProfileRef profile, pd_session sess_hdl, pd_device dev_id, pd_group grp_hdl,
                                  pd_member mbr_hdl, uint32_t n, pd_member* next_mbr_hdls) noexcept {
    return pipe_mgr_get_next_group_members(sess_hdl, profile->selector, dev_id, grp_hdl, mbr_hdl, n, next_mbr_hdls);
}

inline pd_status get_member_count(ProfileRef profile, pd_session sess_hdl, pd_dev_tgt dev_tgt, pd_group grp_hdl,
                                  uint32_t* count) noexcept {
    return pipe_mgr_get_sel_grp_mbr_count(sess_hdl, to_driver(dev_tgt), profile->selector, grp_hdl, count);
}

inline pd_status get_word_active_member_count(ProfileRef profile, pd_session sess_hdl, pd_dev_tgt dev_tgt,
                                              uint32_t word, uint32_t* count) noexcept {
    return pipe_mgr_get_word_llp_active_member_count(sess_hdl, to_driver(dev_tgt), profile->selector, word, count);
}

inline pd_status get_word_active_members(ProfileRef profile, pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t word,
                                         uint32_t count, pd_member* mbr_hdls) noexcept {
    return pipe_mgr_get_word_llp_active_members(sess_hdl, to_driver(dev_tgt), profile->selector, word, count, mbr_hdls);
}

inline pd_status get_member_from_hash(ProfileRef profile, pd_session sess_hdl, pd_dev_tgt dev_tgt, pd_group grp_hdl,
                                      const uint8_t* hash, uint32_t hash_len, pd_member* mbr_hdl) noexcept {
    return pipe_mgr_sel_grp_mbr_get_from_hash(sess_hdl, to_driver(dev_tgt), profile->selector, grp_hdl, hash, hash_len,
                                              mbr_hdl);
}

inline pd_status register_callback(ProfileRef profile, pd_session sess_hdl, pd_dev_tgt dev_tgt,
                                   pd_driver_callback callback, void* cookie) noexcept {
    return pipe_mgr_sel_tbl_register_cb(sess_hdl, to_driver(dev_tgt), profile->selector,
                                        reinterpret_cast<pipe_sel_tbl_cb>(callback), cookie);
}

// Registers the same callback without a session.
inline pd_status track_updates(ProfileRef profile, pd_device dev_id, pd_driver_callback callback,
                               void* cookie) noexcept {
    return pipe_mgr_sel_tbl_register_cb(0, on_device(dev_id), profile->selector,
                                        reinterpret_cast<pipe_sel_tbl_cb>(callback), cookie);
}

inline pd_status register_update_callback(ProfileRef profile, pd_session sess_hdl, pd_dev_tgt dev_tgt,
                                          pd_driver_callback callback, void* cookie) noexcept {
    return pipe_register_sel_update_cb(sess_hdl, to_driver(dev_tgt), profile->selector,
                                       reinterpret_cast<pipe_sel_update_cb>(callback), cookie);
}

} // namespace vl_pd::groups
