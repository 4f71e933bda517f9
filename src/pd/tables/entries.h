// Writing entries: add, modify, delete, and finding an entry by its key.
//
// Each operation encodes its arguments, makes one driver call and returns its status. Table and action are constants of
// the function. priority, action_spec, meter_spec and ttl count only if the table or the action takes them.
#pragma once

#include "codec/actions.h"
#include "codec/driver_args.h"
#include "codec/encoding.h"
#include "vl_driver/tables.h"

namespace vl_pd::entries {

using catalog::ActionRef;
using catalog::TableRef;
using encoding::Operation;

template <TableRef T, ActionRef A>
VL_INLINE pd_status add(pd_session sess_hdl, pd_dev_tgt dev_tgt, const void* match_spec, uint32_t priority,
                        const void* action_spec, const pd_meter_spec* meter_spec, uint32_t ttl,
                        pd_entry* entry_hdl) noexcept {
    encoding::MatchRecord<T> match;
    encoding::build_match_spec<T>(match_spec, priority, match);
    encoding::ActionRecord<A> action;
    encoding::build_action_record<T, A, Operation::add>(action_spec, meter_spec, action);
    return pipe_mgr_mat_ent_add(sess_hdl, to_driver(dev_tgt), T->handle, &match.record, action_handle<T, A>,
                                &action.record, ttl, no_flags, entry_hdl);
}

template <TableRef T, ActionRef A>
VL_INLINE pd_status modify(pd_session sess_hdl, pd_device dev_id, pd_entry entry_hdl, const void* action_spec,
                           const pd_meter_spec* meter_spec) noexcept {
    encoding::ActionRecord<A> action;
    encoding::build_action_record<T, A, Operation::modify>(action_spec, meter_spec, action);
    return pipe_mgr_mat_ent_set_action(sess_hdl, dev_id, T->handle, entry_hdl, action_handle<T, A>, &action.record,
                                       no_flags);
}

template <TableRef T, ActionRef A>
VL_INLINE pd_status modify_by_match_spec(pd_session sess_hdl, pd_dev_tgt dev_tgt, const void* match_spec,
                                         uint32_t priority, const void* action_spec,
                                         const pd_meter_spec* meter_spec) noexcept {
    encoding::MatchRecord<T> match;
    encoding::build_match_spec<T>(match_spec, priority, match);
    encoding::ActionRecord<A> action;
    encoding::build_action_record<T, A, Operation::modify>(action_spec, meter_spec, action);
    return pipe_mgr_mat_ent_set_action_by_match_spec(sess_hdl, to_driver(dev_tgt), T->handle, &match.record,
                                                     action_handle<T, A>, &action.record, no_flags);
}

inline pd_status remove(uint32_t table, pd_session sess_hdl, pd_device dev_id, pd_entry entry_hdl) noexcept {
    return pipe_mgr_mat_ent_del(sess_hdl, dev_id, table, entry_hdl, no_flags);
}

template <TableRef T>
VL_INLINE pd_status remove_by_match_spec(pd_session sess_hdl, pd_dev_tgt dev_tgt, const void* match_spec,
                                         uint32_t priority) noexcept {
    encoding::MatchRecord<T> match;
    encoding::build_match_spec<T>(match_spec, priority, match);
    return pipe_mgr_mat_ent_del_by_match_spec(sess_hdl, to_driver(dev_tgt), T->handle, &match.record, no_flags);
}

template <TableRef T>
VL_INLINE pd_status find(pd_session sess_hdl, pd_dev_tgt dev_tgt, const void* match_spec, uint32_t priority,
                         pd_entry* entry_hdl) noexcept {
    encoding::MatchRecord<T> match;
    encoding::build_match_spec<T>(match_spec, priority, match);
    return pipe_mgr_match_spec_to_ent_hdl(sess_hdl, to_driver(dev_tgt), T->handle, &match.record, entry_hdl, no_flags);
}

} // namespace vl_pd::entries
