// Default entries: what a table does with a packet that matches no entry. A table without a key has no other entry.
#pragma once

#include "pd/tables/entries.h"
#include "pd/tables/reading.h"

namespace vl_pd::defaults {

using catalog::ActionRef;
using catalog::TableRef;

// Sends the record that an add of the same action sends, except that a missing meter_spec detaches the meter.
template <TableRef T, ActionRef A>
pd_status set(pd_session sess_hdl, pd_dev_tgt dev_tgt, const void* action_spec, const pd_meter_spec* meter_spec,
              pd_entry* entry_hdl) noexcept {
    encoding::ActionRecord<A> action;
    encoding::build_action_record<T, A, encoding::Operation::set_default>(action_spec, meter_spec, action);
    return pipe_mgr_mat_default_entry_set(sess_hdl, to_driver(dev_tgt), T->handle, action_handle<T, A>, &action.record,
                                          no_flags, entry_hdl);
}

// Reads the default entry. PD_STATUS_UNEXPECTED, with nothing written or logged: the answer can't come from this
// pipeline.
template <TableRef T>
VL_INLINE pd_status get(pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t read_from_hw,
                        const reading::Outputs& out) noexcept {
    bytes::Byte data[decoding::data_capacity]{};
    pipe_action_record action{};
    if constexpr (!catalog::is_indirect(*T)) {
        action.action.data = data;
        action.action.data_len = decoding::data_capacity;
    }
    pipe_act_hdl action_hdl = 0;
    const pd_status refused = pipe_mgr_table_get_default_entry(sess_hdl, to_driver(dev_tgt), T->handle, &action,
                                                               &action_hdl, static_cast<uint8_t>(read_from_hw), 1, 0);
    if (refused != PD_STATUS_OK) return refused;
    if constexpr (catalog::is_indirect(*T)) {
        if (action.kind != PIPE_KIND_MEMBER && action.kind != PIPE_KIND_GROUP) return PD_STATUS_UNEXPECTED;
        reading::write_target(action, out);
        return PD_STATUS_OK;
    } else {
        if (action.kind != PIPE_KIND_ACTION_DATA) return PD_STATUS_UNEXPECTED;
        ResourceList resources;
        if (!resources.build_pd_res_spec(action)) return PD_STATUS_NO_MEMORY;
        return reading::write_action<T>(action_hdl, action.action, resources, out) ? PD_STATUS_OK
                                                                                   : PD_STATUS_UNEXPECTED;
    }
}

inline pd_status get_handle(uint32_t table, pd_session sess_hdl, pd_dev_tgt dev_tgt, pd_entry* entry_hdl) noexcept {
    return pipe_mgr_table_get_default_entry_handle(sess_hdl, to_driver(dev_tgt), table, entry_hdl);
}

inline pd_status reset(uint32_t table, pd_session sess_hdl, pd_dev_tgt dev_tgt) noexcept {
    return pipe_mgr_mat_tbl_default_entry_reset(sess_hdl, to_driver(dev_tgt), table, no_flags);
}

} // namespace vl_pd::defaults
