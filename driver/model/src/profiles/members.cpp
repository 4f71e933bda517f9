// Changes of action data tables at the boundary.
#include <algorithm>

#include <vl_driver/profiles.h>
#include <vl_driver/tables.h>

#include "core/boundary.h"
#include "core/model.h"

using namespace vl_model;

namespace {

pipe_status check_member(const DataTable& table, pipe_act_hdl act_hdl, const pipe_action_record& record) {
    const auto action = std::find_if(table.actions.begin(), table.actions.end(),
                                     [&](const vl_model_action& known) { return known.handle == act_hdl; });
    if (action == table.actions.end()) return VL_MODEL_FOREIGN_ACTION;
    const pipe_action_data& data = record.action;
    const bool good = record.kind == 0 && record.resource_count == 0 && data.data_bits == action->data_bits &&
                      data.data_len == action->data_len && data.data != nullptr;
    return good ? VL_MODEL_OK : VL_MODEL_BAD_DATA;
}

// Runs a change of a data table, which gives the member that it is about, and tells of it when the mutex is free again.
template <class Body>
pipe_status change_data_table(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl adt_hdl, uint32_t update,
                              Body&& body) {
    pipe_mbr_hdl mbr_hdl = 0;
    Subscriber<pipe_adt_update_cb> subscriber;
    const pipe_status status = with_data_table(sess_hdl, dev_tgt, adt_hdl, [&](DataTable& table) -> pipe_status {
        subscriber = table.updates;
        return body(table, mbr_hdl);
    });
    if (status == VL_MODEL_OK) subscriber.tell(sess_hdl, dev_tgt, adt_hdl, mbr_hdl, update);
    return status;
}

std::vector<uint8_t> data_of(const pipe_action_record& record) {
    return {record.action.data, record.action.data + record.action.data_len};
}

} // namespace

pipe_status pipe_mgr_adt_ent_add(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl adt_hdl,
                                 pipe_act_hdl act_hdl, uint32_t always_0, const pipe_action_record* action,
                                 pipe_mbr_hdl* mbr_hdl, uint32_t flags) {
    const auto add = [&](DataTable& table, pipe_mbr_hdl& added) -> pipe_status {
        if (const pipe_status status = check_member(table, act_hdl, *action)) return status;
        pipe_mbr_hdl& last = model().last_member;
        if (table.members.count() >= table.capacity || last == before_members + most_profile_handles)
            return VL_MODEL_TABLE_FULL;
        table.members.add(
            last + 1,
            {.action_hdl = act_hdl, .data_bits = action->action.data_bits, .data = data_of(*action), .uses = 0});
        added = ++last;
        *mbr_hdl = added;
        return VL_MODEL_OK;
    };
    const auto body = [&]() -> pipe_status {
        if (action == nullptr || mbr_hdl == nullptr) return VL_MODEL_INVALID;
        return change_data_table(sess_hdl, dev_tgt, adt_hdl, PIPE_UPDATE_ADDED, add);
    };
    return boundary("pipe_mgr_adt_ent_add", body, sess_hdl, dev_tgt, adt_hdl, act_hdl, always_0, action, mbr_hdl,
                    flags);
}

pipe_status pipe_mgr_adt_ent_set(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_tbl_hdl adt_hdl, pipe_mbr_hdl mbr_hdl,
                                 pipe_act_hdl act_hdl, const pipe_action_record* action, uint32_t flags) {
    const auto set = [&](DataTable& table, pipe_mbr_hdl& changed) -> pipe_status {
        Member* member = table.members.find(mbr_hdl);
        if (member == nullptr) return VL_MODEL_NOT_FOUND;
        if (const pipe_status status = check_member(table, act_hdl, *action)) return status;
        member->data = data_of(*action);
        member->action_hdl = act_hdl;
        member->data_bits = action->action.data_bits;
        table.hardware.erase(mbr_hdl);
        forget_placement(member->placement);
        changed = mbr_hdl;
        return VL_MODEL_OK;
    };
    const auto body = [&]() -> pipe_status {
        if (action == nullptr) return VL_MODEL_INVALID;
        return change_data_table(sess_hdl, all_pipes(dev_id), adt_hdl, PIPE_UPDATE_CHANGED, set);
    };
    return boundary("pipe_mgr_adt_ent_set", body, sess_hdl, dev_id, adt_hdl, mbr_hdl, act_hdl, action, flags);
}

pipe_status pipe_mgr_adt_ent_del(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_tbl_hdl adt_hdl, pipe_mbr_hdl mbr_hdl,
                                 uint32_t flags) {
    const auto remove = [&](DataTable& table, pipe_mbr_hdl& removed) -> pipe_status {
        Member* member = table.members.find(mbr_hdl);
        if (member == nullptr) return VL_MODEL_NOT_FOUND;
        if (member->uses != 0) return VL_MODEL_IN_USE;
        forget_placement(member->placement);
        table.members.remove(mbr_hdl);
        table.hardware.erase(mbr_hdl);
        removed = mbr_hdl;
        return VL_MODEL_OK;
    };
    const auto body = [&]() -> pipe_status {
        return change_data_table(sess_hdl, all_pipes(dev_id), adt_hdl, PIPE_UPDATE_DELETED, remove);
    };
    return boundary("pipe_mgr_adt_ent_del", body, sess_hdl, dev_id, adt_hdl, mbr_hdl, flags);
}

pipe_status pipe_register_adt_update_cb(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl adt_hdl,
                                        pipe_adt_update_cb callback, void* cookie) {
    const auto body = [&]() -> pipe_status {
        std::shared_ptr<Registration> replaced;
        const pipe_status status = with_data_table(sess_hdl, dev_tgt, adt_hdl, [&](DataTable& table) -> pipe_status {
            replaced = table.updates.replace(callback, cookie);
            return VL_MODEL_OK;
        });
        end(replaced);
        return status;
    };
    return boundary("pipe_register_adt_update_cb", body, sess_hdl, dev_tgt, adt_hdl, callback, cookie);
}
