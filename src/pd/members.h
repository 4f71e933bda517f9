// Members of action profiles: shared instances of an action, held by the driver, with their action in the shadow too.
#pragma once

#include "pd/readback.h"
#include "pd/shadow.h"
#include "vl_driver/profiles.h"

namespace vl_pd::members {

using catalog::ActionRef;
using catalog::ProfileRef;
using encoding::no_flags;

template <ProfileRef P, ActionRef A>
inline constexpr uint32_t action_handle = catalog::find_binding(P->actions, A->name)->handle;

template <ProfileRef P, ActionRef A>
pd_status add(pd_session sess_hdl, pd_dev_tgt dev_tgt, const void* action_spec, pd_member* mbr_hdl) noexcept {
    encoding::ActionRecord<A> action;
    encoding::build_data_record<A>(static_cast<const bytes::Byte*>(action_spec), action);
    const pd_status refused = pipe_mgr_adt_ent_add(sess_hdl, to_driver(dev_tgt), P->data_table, action_handle<P, A>, 0,
                                                   &action.record, mbr_hdl, no_flags);
    if (refused != PD_STATUS_OK) return refused;
    const pd_member made = *mbr_hdl;
    p4_pd_ms_new_mbr(sess_hdl, shadow<P>(), dev_tgt.dev_id, made);
    p4_pd_ms_set_mbr_act(shadow<P>(), dev_tgt.dev_id, made, action_handle<P, A>);
    return PD_STATUS_OK;
}

// Changes the data of a member. A member keeps its action for life: naming another one is refused before the driver is
// asked.
template <ProfileRef P, ActionRef A>
pd_status modify(pd_session sess_hdl, pd_device dev_id, pd_member mbr_hdl, const void* action_spec) noexcept {
    pipe_act_hdl present = 0;
    const pd_status unknown = p4_pd_ms_get_mbr_act(shadow<P>(), dev_id, mbr_hdl, &present);
    if (unknown != PD_STATUS_OK) return unknown;
    if (present != action_handle<P, A>) return PD_STATUS_MISMATCH;
    encoding::ActionRecord<A> action;
    encoding::build_data_record<A>(static_cast<const bytes::Byte*>(action_spec), action);
    return pipe_mgr_adt_ent_set(sess_hdl, dev_id, P->data_table, mbr_hdl, action_handle<P, A>, &action.record,
                                no_flags);
}

template <ProfileRef P>
pd_status remove(pd_session sess_hdl, pd_device dev_id, pd_member mbr_hdl) noexcept {
    const pd_status refused = pipe_mgr_adt_ent_del(sess_hdl, dev_id, P->data_table, mbr_hdl, no_flags);
    if (refused != PD_STATUS_OK) return refused;
    p4_pd_ms_del_mbr(sess_hdl, shadow<P>(), dev_id, mbr_hdl);
    return PD_STATUS_OK;
}

// "p4_pd_velmar_switch_<profile>_get_member"
template <ProfileRef P>
inline constexpr auto get_member_name =
    join_names<name_prefix.size() + std::string_view(P->name).size() + 11>(name_prefix, P->name, "_get_member");

// Reads the driver, not the shadow, which holds no data.
template <ProfileRef P>
pd_status get(pd_session, pd_device dev_id, pd_member mbr_hdl, uint32_t read_from_hw, void* action_record) noexcept {
    bytes::Byte data[readback::data_capacity]{};
    pipe_action_data action{.data_bits = 0, .data_len = readback::data_capacity, .reserved = 0, .data = data};
    pipe_act_hdl action_hdl = 0;
    const pd_status refused = pipe_mgr_get_action_data_entry(P->data_table, on_all_pipes(dev_id), mbr_hdl, &action,
                                                             &action_hdl, static_cast<uint8_t>(read_from_hw));
    if (refused != PD_STATUS_OK) return refused;
    const bool known = visit_action<P>(action_hdl, [&]<ActionRef A>() VL_INLINE_LAMBDA {
        if constexpr (encoding::action_layout<A>.param_count != 0) {
            uint32_t count = 0;
            void* resources = nullptr; // no profile's action carries any; the component is asked all the same
            p4_pd_ms_mbr_get_res(shadow<P>(), dev_id, mbr_hdl, &count, &resources);
        }
        readback::write_action_record<A>(action, nullptr, 0, action_record);
    });
    if (known) return PD_STATUS_OK;
    assertion_failed(Condition::null_pointer, get_member_name<P>.data(), __LINE__);
    return PD_STATUS_UNEXPECTED;
}

template <ProfileRef P>
pd_status get_first(pd_session sess_hdl, pd_dev_tgt dev_tgt, pd_member* mbr_hdl) noexcept {
    return pipe_mgr_get_first_entry_handle(sess_hdl, P->data_table, to_driver(dev_tgt), mbr_hdl);
}

template <ProfileRef P>
pd_status get_next(pd_session sess_hdl, pd_dev_tgt dev_tgt, pd_member mbr_hdl, uint32_t n,
                   pd_member* next_mbr_hdls) noexcept {
    return pipe_mgr_get_next_entry_handles(sess_hdl, P->data_table, to_driver(dev_tgt), mbr_hdl, n, next_mbr_hdls);
}

template <ProfileRef P>
pd_status get_count(pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t* count) noexcept {
    return pipe_mgr_get_entry_count(sess_hdl, to_driver(dev_tgt), P->data_table, 0, count);
}

template <ProfileRef P>
pd_status register_update_callback(pd_session sess_hdl, pd_dev_tgt dev_tgt, pd_driver_callback callback,
                                   void* cookie) noexcept {
    return pipe_register_adt_update_cb(sess_hdl, to_driver(dev_tgt), P->data_table,
                                       reinterpret_cast<pipe_adt_update_cb>(callback), cookie);
}

} // namespace vl_pd::members
