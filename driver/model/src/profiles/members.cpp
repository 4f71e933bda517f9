// Changes of action data tables at the boundary.
#include <vl_driver/profiles.h>
#include <vl_driver/tables.h>

#include "core/model.h"

using namespace vl_model;

namespace {

void check_member(const DataTable& table, pipe_act_hdl act_hdl, const pipe_action_record& record) {
    const vl_model_action* action = find_action(table.actions, act_hdl);
    refuse_if(action == nullptr, VL_MODEL_FOREIGN_ACTION);
    const pipe_action_data& data = record.action;
    refuse_if(record.kind != 0 || record.resource_count != 0 || data.data_bits != action->data_bits ||
                  data.data_len != action->data_len || data.data == nullptr,
              VL_MODEL_BAD_DATA);
}

// Runs a change of a data table, which returns the member's handle. The update callback is called when the mutex is
// free again.
template <class Body>
void change_data_table(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl adt_hdl, uint32_t update,
                       Body&& body) {
    pipe_mbr_hdl mbr_hdl = 0;
    Subscriber<pipe_adt_update_cb> subscriber;
    {
        const auto device = lock_device(sess_hdl, dev_tgt);
        DataTable& table = device->data_table(adt_hdl);
        subscriber = table.updates;
        mbr_hdl = body(table);
    }
    subscriber.tell(sess_hdl, dev_tgt, adt_hdl, mbr_hdl, update);
}

std::vector<uint8_t> data_of(const pipe_action_record& record) {
    return {record.action.data, record.action.data + record.action.data_len};
}

} // namespace

pipe_status pipe_mgr_adt_ent_add(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl adt_hdl,
                                 pipe_act_hdl act_hdl, uint32_t always_0, const pipe_action_record* action,
                                 pipe_mbr_hdl* mbr_hdl, uint32_t flags) {
    const auto add = [&](DataTable& table) {
        check_member(table, act_hdl, *action);
        pipe_mbr_hdl& last = model().last_member;
        refuse_if(table.members.count() >= table.capacity || last == before_members + most_profile_handles,
                  VL_MODEL_TABLE_FULL);
        table.members.add(
            last + 1,
            {.action_hdl = act_hdl, .data_bits = action->action.data_bits, .data = data_of(*action), .uses = 0});
        return *mbr_hdl = ++last;
    };
    return Boundary(__func__, sess_hdl, dev_tgt, adt_hdl, act_hdl, always_0, action, mbr_hdl,
                    flags)([&] { change_data_table(sess_hdl, dev_tgt, adt_hdl, PIPE_UPDATE_ADDED, add); });
}

pipe_status pipe_mgr_adt_ent_set(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_tbl_hdl adt_hdl, pipe_mbr_hdl mbr_hdl,
                                 pipe_act_hdl act_hdl, const pipe_action_record* action, uint32_t flags) {
    const auto set = [&](DataTable& table) {
        Member& member = table.members.at(mbr_hdl);
        check_member(table, act_hdl, *action);
        member.data = data_of(*action);
        member.action_hdl = act_hdl;
        member.data_bits = action->action.data_bits;
        table.hardware.erase(mbr_hdl);
        forget_placement(member.placement);
        return mbr_hdl;
    };
    return Boundary(__func__, sess_hdl, dev_id, adt_hdl, mbr_hdl, act_hdl, action,
                    flags)([&] { change_data_table(sess_hdl, all_pipes(dev_id), adt_hdl, PIPE_UPDATE_CHANGED, set); });
}

pipe_status pipe_mgr_adt_ent_del(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_tbl_hdl adt_hdl, pipe_mbr_hdl mbr_hdl,
                                 uint32_t flags) {
    const auto remove = [&](DataTable& table) {
        Member& member = table.members.at(mbr_hdl);
        refuse_if(member.uses != 0, VL_MODEL_IN_USE);
        forget_placement(member.placement);
        table.members.remove(mbr_hdl);
        table.hardware.erase(mbr_hdl);
        return mbr_hdl;
    };
    return Boundary(__func__, sess_hdl, dev_id, adt_hdl, mbr_hdl, flags)(
        [&] { change_data_table(sess_hdl, all_pipes(dev_id), adt_hdl, PIPE_UPDATE_DELETED, remove); });
}

pipe_status pipe_register_adt_update_cb(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl adt_hdl,
                                        pipe_adt_update_cb callback, void* cookie) {
    return Boundary(__func__, sess_hdl, dev_tgt, adt_hdl, callback, cookie)([&] {
        const auto replaced = lock_device(sess_hdl, dev_tgt)->data_table(adt_hdl).updates.replace(callback, cookie);
        end(replaced);
    });
}
