// Default entries: what a table does with a packet that matches no entry, and all that a keyless table does.
#pragma once

#include "pd/entries.h"
#include "pd/readback.h"

namespace vl_pd::defaults {

using catalog::ActionRef;
using catalog::TableRef;
using encoding::no_flags;

// Sends the record that an add of the same action sends, but for a missing meter: the default entry then has none.
template <TableRef T, ActionRef A>
pd_status set(pd_session sess_hdl, pd_dev_tgt dev_tgt, const void* action_spec, const pd_meter_spec* meter_spec,
              pd_entry* entry_hdl) noexcept {
    encoding::ActionRecord<A> action;
    encoding::build_action_record<T, A, encoding::Operation::set_default>(action_spec, meter_spec, action);
    return pipe_mgr_mat_default_entry_set(sess_hdl, to_driver(dev_tgt), T->handle, entries::action_handle<T, A>,
                                          &action.record, no_flags, entry_hdl);
}

inline pd_status read(pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t table, uint32_t read_from_hw,
                      pipe_action_record& action, pipe_act_hdl& action_hdl) noexcept {
    return pipe_mgr_table_get_default_entry(sess_hdl, to_driver(dev_tgt), table, &action, &action_hdl,
                                            static_cast<uint8_t>(read_from_hw), 1, 0);
}

// Writes the action's number and, behind it, its parameters. Unlike a read by handle it writes and logs nothing where
// the driver's answer can't come from this pipeline.
template <TableRef T>
pd_status get(pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t read_from_hw, void* action_record) noexcept {
    bytes::Byte data[readback::data_capacity]{};
    pipe_action_record action{};
    action.action.data = data;
    action.action.data_len = readback::data_capacity;
    pipe_act_hdl action_hdl = 0;

    const pd_status refused = read(sess_hdl, dev_tgt, T->handle, read_from_hw, action, action_hdl);
    if (refused != PD_STATUS_OK) return refused;
    if (action.kind != PIPE_KIND_ACTION_DATA) return PD_STATUS_UNEXPECTED;
    ResourceList resources;
    if (!resources.build_pd_res_spec(action)) return PD_STATUS_NO_MEMORY;
    const bool known = visit_action<T>(action_hdl, [&]<ActionRef A>() VL_INLINE_LAMBDA {
        readback::write_action_record<A>(action.action, resources.pairs(), resources.count(), action_record);
    });
    return known ? PD_STATUS_OK : PD_STATUS_UNEXPECTED;
}

template <TableRef T>
pd_status get_indirect(pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t read_from_hw, uint8_t* has_mbr,
                       uint8_t* has_grp, pd_group* grp_hdl, pd_member* mbr_hdl) noexcept {
    pipe_action_record action{};
    pipe_act_hdl action_hdl = 0;
    const pd_status refused = read(sess_hdl, dev_tgt, T->handle, read_from_hw, action, action_hdl);
    if (refused != PD_STATUS_OK) return refused;
    if (action.kind != PIPE_KIND_MEMBER && action.kind != PIPE_KIND_GROUP) return PD_STATUS_UNEXPECTED;
    readback::write_target(action, has_mbr, has_grp, grp_hdl, mbr_hdl);
    return PD_STATUS_OK;
}

template <TableRef T>
pd_status get_handle(pd_session sess_hdl, pd_dev_tgt dev_tgt, pd_entry* entry_hdl) noexcept {
    return pipe_mgr_table_get_default_entry_handle(sess_hdl, to_driver(dev_tgt), T->handle, entry_hdl);
}

template <TableRef T>
pd_status reset(pd_session sess_hdl, pd_dev_tgt dev_tgt) noexcept {
    return pipe_mgr_mat_tbl_default_entry_reset(sess_hdl, to_driver(dev_tgt), T->handle, no_flags);
}

} // namespace vl_pd::defaults
