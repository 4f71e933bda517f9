// Members of action profiles: shared instances of an action. The driver holds them; the shadow holds their actions.
#pragma once

#include "pd/lifecycle.h"
#include "pd/tables/reading.h"
#include "vl_driver/profiles.h"

namespace vl_pd::members {

using catalog::ActionRef;
using catalog::ProfileRef;
using lifecycle::shadow_of;

template <ProfileRef P, ActionRef A>
pd_status add(pd_session sess_hdl, pd_dev_tgt dev_tgt, const void* action_spec, pd_member* mbr_hdl) noexcept {
    encoding::ActionRecord<A> action;
    encoding::build_data_record<A>(static_cast<const bytes::Byte*>(action_spec), action);
    const pd_status refused = pipe_mgr_adt_ent_add(sess_hdl, to_driver(dev_tgt), P->data_table, action_handle<P, A>, 0,
                                                   &action.record, mbr_hdl, no_flags);
    if (refused != PD_STATUS_OK) return refused;
    const pd_member made = *mbr_hdl;
    p4_pd_ms_new_mbr(sess_hdl, shadow_of(P), dev_tgt.dev_id, made);
    p4_pd_ms_set_mbr_act(shadow_of(P), dev_tgt.dev_id, made, action_handle<P, A>);
    return PD_STATUS_OK;
}

// Changes the data of a member. A member keeps its action: a different one is refused without a driver call.
template <ProfileRef P, ActionRef A>
pd_status modify(pd_session sess_hdl, pd_device dev_id, pd_member mbr_hdl, const void* action_spec) noexcept {
    pipe_act_hdl present = 0;
    const pd_status unknown = p4_pd_ms_get_mbr_act(shadow_of(P), dev_id, mbr_hdl, &present);
    if (unknown != PD_STATUS_OK) return unknown;
    if (present != action_handle<P, A>) return PD_STATUS_MISMATCH;
    encoding::ActionRecord<A> action;
    encoding::build_data_record<A>(static_cast<const bytes::Byte*>(action_spec), action);
    return pipe_mgr_adt_ent_set(sess_hdl, dev_id, P->data_table, mbr_hdl, action_handle<P, A>, &action.record,
                                no_flags);
}

inline pd_status remove(ProfileRef profile, pd_session sess_hdl, pd_device dev_id, pd_member mbr_hdl) noexcept {
    const pd_status refused = pipe_mgr_adt_ent_del(sess_hdl, dev_id, profile->data_table, mbr_hdl, no_flags);
    if (refused != PD_STATUS_OK) return refused;
    p4_pd_ms_del_mbr(sess_hdl, shadow_of(profile), dev_id, mbr_hdl);
    return PD_STATUS_OK;
}

// No member has resources, but the shadow is asked for them before a member's parameters are written.
inline void ask_resources(p4_pd_ms_state* shadow, pd_device dev_id, pd_member mbr_hdl) {
    uint32_t count = 0;
    void* resources = nullptr;
    p4_pd_ms_mbr_get_res(shadow, dev_id, mbr_hdl, &count, &resources);
}

// Writes a member's action as a record, and calls before_params() first if the action has parameters. False if the
// action isn't the profile's.
template <ProfileRef P, class BeforeParams>
VL_INLINE bool write_record(uint32_t action_hdl, const pipe_action_data& action, BeforeParams before_params,
                            void* action_record) {
    return visit_action<P>(action_hdl, [&](auto visited) VL_INLINE_LAMBDA {
        constexpr ActionRef A = visited.value;
        if constexpr (A->params.size() != 0) before_params();
        decoding::unbuild_action<A>(action, nullptr, 0, action_record, decoding::spec_of(action_record));
    });
}

inline constexpr std::string_view get_member_suffix = "_get_member";

// Reads the driver, because the shadow holds no data.
template <ProfileRef P>
pd_status get(pd_session, pd_device dev_id, pd_member mbr_hdl, uint32_t read_from_hw, void* action_record) noexcept {
    bytes::Byte data[decoding::data_capacity]{};
    pipe_action_data action{.data_bits = 0, .data_len = decoding::data_capacity, .reserved = 0, .data = data};
    pipe_act_hdl action_hdl = 0;
    const pd_status refused = pipe_mgr_get_action_data_entry(P->data_table, on_all_pipes(dev_id), mbr_hdl, &action,
                                                             &action_hdl, static_cast<uint8_t>(read_from_hw));
    if (refused != PD_STATUS_OK) return refused;
    const auto before_params = [&] { ask_resources(shadow_of(P), dev_id, mbr_hdl); };
    if (write_record<P>(action_hdl, action, before_params, action_record)) return PD_STATUS_OK;
    assertion_failed(Condition::null_pointer, joined<name_prefix, name_of<P>, get_member_suffix>.data(), __LINE__);
    return PD_STATUS_UNEXPECTED;
}

inline pd_status register_update_callback(ProfileRef profile, pd_session sess_hdl, pd_dev_tgt dev_tgt,
                                          pd_driver_callback callback, void* cookie) noexcept {
    return pipe_register_adt_update_cb(sess_hdl, to_driver(dev_tgt), profile->data_table,
                                       reinterpret_cast<pipe_adt_update_cb>(callback), cookie);
}

} // namespace vl_pd::members
