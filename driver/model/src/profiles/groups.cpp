// Changes of selectors at the boundary: groups, their members and states, and the fallback member.
#include <vl_driver/profiles.h>
#include <vl_driver/tables.h>

#include "core/model.h"

using namespace vl_model;

namespace {

// Where a position of a selector's memory now leads.
struct Position {
    pipe_mbr_hdl mbr_hdl; // 0 for nowhere
    uint32_t index;
    bool active;
};

// What callbacks learn about a change.
struct GroupChange {
    pipe_grp_hdl grp_hdl;
    pipe_mbr_hdl mbr_hdl;
    uint32_t update;
    std::vector<Position> positions;
};

// Runs a change of a selector, which returns a GroupChange. Callbacks are called when the mutex is free again: first
// for the positions, then for the update.
template <class Body>
void change_selector(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl sel_hdl, Body&& body) {
    Subscriber<pipe_sel_update_cb> updates;
    Subscriber<pipe_sel_tbl_cb> memory;
    const GroupChange change = [&]() -> GroupChange {
        const auto device = lock_device(sess_hdl, dev_tgt);
        Selector& selector = device->selector(sel_hdl);
        updates = selector.updates;
        memory = selector.memory_updates;
        return body(selector);
    }();
    for (const Position& position : change.positions)
        memory.tell(sess_hdl, dev_tgt, change.grp_hdl, position.mbr_hdl, position.index, position.active ? 1U : 0U);
    updates.tell(sess_hdl, dev_tgt, sel_hdl, change.grp_hdl, change.mbr_hdl, change.update);
}

// Runs a change of one of a group's members. `body` gets its position in the memory, and returns where that now leads.
template <class Body>
void change_membership(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl sel_hdl, pipe_grp_hdl grp_hdl,
                       pipe_mbr_hdl mbr_hdl, uint32_t update, Body&& body) {
    change_selector(sess_hdl, dev_tgt, sel_hdl, [&](Selector& selector) {
        Group& group = selector.groups.at(grp_hdl);
        GroupChange change{grp_hdl, mbr_hdl, update, {{}}};
        change.positions[0] = body(selector, group, found_in(group.positions, mbr_hdl, VL_MODEL_NOT_FOUND));
        forget_placement(group.placement);
        return change;
    });
}

void set_member_state(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl sel_hdl, pipe_grp_hdl grp_hdl,
                      pipe_mbr_hdl mbr_hdl, bool active) {
    change_membership(sess_hdl, dev_tgt, sel_hdl, grp_hdl, mbr_hdl, PIPE_UPDATE_CHANGED,
                      [&](Selector& selector, Group&, uint32_t position) -> Position {
                          selector.set_active(position, active);
                          return {mbr_hdl, position, active};
                      });
}

// Being the fallback counts as a use of the member.
void set_fallback(Selector& selector, pipe_mbr_hdl mbr_hdl) {
    RowMap<Member>& members = selector.data_table.members;
    if (mbr_hdl != 0) ++members.at(mbr_hdl).uses;
    if (selector.fallback != 0) --members.at(selector.fallback).uses;
    selector.fallback = mbr_hdl;
}

} // namespace

pipe_status pipe_mgr_sel_grp_add(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl sel_hdl, uint32_t always_0,
                                 uint32_t max_grp_size, uint32_t mark, pipe_grp_hdl* grp_hdl, uint32_t flags) {
    const auto add = [&](Selector& selector) {
        pipe_grp_hdl& last = model().last_group;
        refuse_if(selector.groups.count() >= selector.capacity || last == before_groups + most_profile_handles,
                  VL_MODEL_TABLE_FULL);
        GroupChange change{last + 1, 0, PIPE_UPDATE_ADDED, {{}}};
        const Group& group = selector.add_group(last + 1, max_grp_size);
        change.positions[0].index = group.words.front() * VL_MODEL_SELECTOR_WORD_SLOTS;
        *grp_hdl = ++last;
        return change;
    };
    return Boundary(__func__, sess_hdl, dev_tgt, sel_hdl, always_0, max_grp_size, mark, grp_hdl,
                    flags)([&] { change_selector(sess_hdl, dev_tgt, sel_hdl, add); });
}

pipe_status pipe_mgr_sel_grp_del(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_tbl_hdl sel_hdl, pipe_grp_hdl grp_hdl,
                                 uint32_t flags) {
    const auto remove = [&](Selector& selector) {
        Group& group = selector.groups.at(grp_hdl);
        refuse_if(group.uses != 0, VL_MODEL_IN_USE);
        const uint32_t first = group.words.front() * VL_MODEL_SELECTOR_WORD_SLOTS;
        GroupChange change{grp_hdl, 0, PIPE_UPDATE_DELETED, {{0, first, false}}};
        for (const auto& [mbr_hdl, position] : group.positions)
            if (position != first) change.positions.push_back({0, position, false});
        forget_placement(group.placement);
        selector.remove_group(grp_hdl);
        return change;
    };
    return Boundary(__func__, sess_hdl, dev_id, sel_hdl, grp_hdl,
                    flags)([&] { change_selector(sess_hdl, all_pipes(dev_id), sel_hdl, remove); });
}

pipe_status pipe_mgr_sel_grp_mbr_add(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_tbl_hdl sel_hdl,
                                     pipe_grp_hdl grp_hdl, pipe_act_hdl act_hdl, pipe_mbr_hdl mbr_hdl, uint32_t flags) {
    const auto add = [&](Selector& selector) {
        Group& group = selector.groups.at(grp_hdl);
        refuse_if(selector.data_table.members.at(mbr_hdl).action_hdl != act_hdl, VL_MODEL_FOREIGN_ACTION);
        refuse_if(group.positions.contains(mbr_hdl), VL_MODEL_EXISTS);
        refuse_if(group.max_size != 0 && group.positions.size() >= group.max_size, VL_MODEL_GROUP_FULL);
        GroupChange change{grp_hdl, mbr_hdl, PIPE_UPDATE_ADDED, {{mbr_hdl, 0, true}}};
        change.positions[0].index = selector.join(grp_hdl, group, mbr_hdl);
        forget_placement(group.placement);
        return change;
    };
    return Boundary(__func__, sess_hdl, dev_id, sel_hdl, grp_hdl, act_hdl, mbr_hdl,
                    flags)([&] { change_selector(sess_hdl, all_pipes(dev_id), sel_hdl, add); });
}

pipe_status pipe_mgr_sel_grp_mbr_del(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_tbl_hdl sel_hdl,
                                     pipe_grp_hdl grp_hdl, pipe_mbr_hdl mbr_hdl, uint32_t flags) {
    const auto remove = [&](Selector& selector, Group& group, uint32_t position) -> Position {
        selector.leave(group, mbr_hdl);
        return {0, position, false};
    };
    return Boundary(__func__, sess_hdl, dev_id, sel_hdl, grp_hdl, mbr_hdl, flags)([&] {
        change_membership(sess_hdl, all_pipes(dev_id), sel_hdl, grp_hdl, mbr_hdl, PIPE_UPDATE_DELETED, remove);
    });
}

pipe_status pipe_mgr_sel_grp_mbr_enable(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl sel_hdl,
                                        pipe_grp_hdl grp_hdl, pipe_mbr_hdl mbr_hdl, uint32_t flags) {
    return Boundary(__func__, sess_hdl, dev_tgt, sel_hdl, grp_hdl, mbr_hdl,
                    flags)([&] { set_member_state(sess_hdl, dev_tgt, sel_hdl, grp_hdl, mbr_hdl, true); });
}

pipe_status pipe_mgr_sel_grp_mbr_disable(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl sel_hdl,
                                         pipe_grp_hdl grp_hdl, pipe_mbr_hdl mbr_hdl, uint32_t flags) {
    return Boundary(__func__, sess_hdl, dev_tgt, sel_hdl, grp_hdl, mbr_hdl,
                    flags)([&] { set_member_state(sess_hdl, dev_tgt, sel_hdl, grp_hdl, mbr_hdl, false); });
}

pipe_status pipe_mgr_sel_fallback_mbr_set(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl sel_hdl,
                                          pipe_mbr_hdl mbr_hdl, uint32_t flags) {
    return device_call(__func__, sess_hdl, dev_tgt, sel_hdl, mbr_hdl, flags)([&](Device& device) {
        Selector& selector = device.selector(sel_hdl);
        selector.data_table.require_row(mbr_hdl);
        set_fallback(selector, mbr_hdl);
    });
}

pipe_status pipe_mgr_sel_fallback_mbr_reset(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl sel_hdl,
                                            uint32_t flags) {
    return device_call(__func__, sess_hdl, dev_tgt, sel_hdl,
                       flags)([&](Device& device) { set_fallback(device.selector(sel_hdl), 0); });
}

pipe_status pipe_register_sel_update_cb(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl sel_hdl,
                                        pipe_sel_update_cb callback, void* cookie) {
    return Boundary(__func__, sess_hdl, dev_tgt, sel_hdl, callback, cookie)([&] {
        const auto replaced = lock_device(sess_hdl, dev_tgt)->selector(sel_hdl).updates.replace(callback, cookie);
        end(replaced);
    });
}

// A tracker has no session.
pipe_status pipe_mgr_sel_tbl_register_cb(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl sel_hdl,
                                         pipe_sel_tbl_cb callback, void* cookie) {
    return Boundary(__func__, sess_hdl, dev_tgt, sel_hdl, callback, cookie)([&] {
        const auto subscribe = [&](const Locked<Device>& device) {
            return device->selector(sel_hdl).memory_updates.replace(callback, cookie);
        };
        const auto replaced =
            sess_hdl != 0 ? subscribe(lock_device(sess_hdl, dev_tgt)) : subscribe(lock_device(dev_tgt));
        end(replaced);
    });
}
