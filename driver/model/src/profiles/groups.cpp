// Changes of selectors at the boundary: groups, who is in them and in which state, and the fallback member.
#include <vl_driver/profiles.h>
#include <vl_driver/tables.h>

#include "core/boundary.h"
#include "core/model.h"

using namespace vl_model;

namespace {

// Where a position of a selector's memory now leads.
struct Position {
    pipe_mbr_hdl mbr_hdl; // 0 for nowhere
    uint32_t index;
    bool active;
};

// What callbacks are told of a change.
struct GroupChange {
    pipe_grp_hdl grp_hdl = 0;
    pipe_mbr_hdl mbr_hdl = 0;
    uint32_t update = 0;
    std::vector<Position> positions;
};

// Runs a change of a selector, and tells of it when the mutex is free again: first the positions, then the update.
template <class Body>
pipe_status change_selector(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl sel_hdl, Body&& body) {
    GroupChange change;
    Subscriber<pipe_sel_update_cb> updates;
    Subscriber<pipe_sel_tbl_cb> memory;
    const pipe_status status = with_selector(sess_hdl, dev_tgt, sel_hdl, [&](Selector& selector) {
        updates = selector.updates;
        memory = selector.memory_updates;
        return body(selector, change);
    });
    if (status != VL_MODEL_OK) return status;
    for (const Position& position : change.positions)
        memory.tell(sess_hdl, dev_tgt, change.grp_hdl, position.mbr_hdl, position.index, position.active ? 1U : 0U);
    updates.tell(sess_hdl, dev_tgt, sel_hdl, change.grp_hdl, change.mbr_hdl, change.update);
    return VL_MODEL_OK;
}

// Runs `body` on a group and the position of one of its members.
template <class Body>
pipe_status change_membership(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl sel_hdl, pipe_grp_hdl grp_hdl,
                              pipe_mbr_hdl mbr_hdl, Body&& body) {
    return change_selector(sess_hdl, dev_tgt, sel_hdl, [&](Selector& selector, GroupChange& change) -> pipe_status {
        Group* group = selector.groups.find(grp_hdl);
        if (group == nullptr) return VL_MODEL_NOT_FOUND;
        const auto membership = group->positions.find(mbr_hdl);
        if (membership == group->positions.end()) return VL_MODEL_NOT_FOUND;
        change.grp_hdl = grp_hdl;
        change.mbr_hdl = mbr_hdl;
        change.positions.reserve(1);
        body(selector, *group, membership->second, change);
        forget_placement(group->placement);
        return VL_MODEL_OK;
    });
}

pipe_status set_member_state(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl sel_hdl, pipe_grp_hdl grp_hdl,
                             pipe_mbr_hdl mbr_hdl, bool active) {
    return change_membership(sess_hdl, dev_tgt, sel_hdl, grp_hdl, mbr_hdl,
                             [&](Selector& selector, Group&, uint32_t position, GroupChange& change) {
                                 selector.set_active(position, active);
                                 change.update = PIPE_UPDATE_CHANGED;
                                 change.positions.push_back({mbr_hdl, position, active});
                             });
}

// The fallback counts as a use of the member.
void set_fallback(Selector& selector, pipe_mbr_hdl mbr_hdl) {
    RowMap<Member>& members = selector.data_table.members;
    if (mbr_hdl != 0) ++members.find(mbr_hdl)->uses;
    if (selector.fallback != 0) --members.find(selector.fallback)->uses;
    selector.fallback = mbr_hdl;
}

} // namespace

pipe_status pipe_mgr_sel_grp_add(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl sel_hdl, uint32_t always_0,
                                 uint32_t max_grp_size, uint32_t mark, pipe_grp_hdl* grp_hdl, uint32_t flags) {
    const auto add = [&](Selector& selector, GroupChange& change) -> pipe_status {
        pipe_grp_hdl& last = model().last_group;
        if (selector.groups.count() >= selector.capacity || last == before_groups + most_profile_handles)
            return VL_MODEL_TABLE_FULL;
        change.positions.reserve(1);
        const Group& group = selector.add_group(last + 1, max_grp_size);
        change.grp_hdl = ++last;
        change.update = PIPE_UPDATE_ADDED;
        change.positions.push_back({0, group.words.front() * VL_MODEL_SELECTOR_WORD_SLOTS, false});
        *grp_hdl = change.grp_hdl;
        return VL_MODEL_OK;
    };
    const auto body = [&]() -> pipe_status {
        return grp_hdl == nullptr ? pipe_status{VL_MODEL_INVALID} : change_selector(sess_hdl, dev_tgt, sel_hdl, add);
    };
    return boundary("pipe_mgr_sel_grp_add", body, sess_hdl, dev_tgt, sel_hdl, always_0, max_grp_size, mark, grp_hdl,
                    flags);
}

pipe_status pipe_mgr_sel_grp_del(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_tbl_hdl sel_hdl, pipe_grp_hdl grp_hdl,
                                 uint32_t flags) {
    const auto remove = [&](Selector& selector, GroupChange& change) -> pipe_status {
        Group* group = selector.groups.find(grp_hdl);
        if (group == nullptr) return VL_MODEL_NOT_FOUND;
        if (group->uses != 0) return VL_MODEL_IN_USE;
        change.grp_hdl = grp_hdl;
        change.update = PIPE_UPDATE_DELETED;
        const uint32_t first = group->words.front() * VL_MODEL_SELECTOR_WORD_SLOTS;
        change.positions.push_back({0, first, false});
        for (const auto& [mbr_hdl, position] : group->positions)
            if (position != first) change.positions.push_back({0, position, false});
        forget_placement(group->placement);
        selector.remove_group(grp_hdl);
        return VL_MODEL_OK;
    };
    const auto body = [&]() -> pipe_status { return change_selector(sess_hdl, all_pipes(dev_id), sel_hdl, remove); };
    return boundary("pipe_mgr_sel_grp_del", body, sess_hdl, dev_id, sel_hdl, grp_hdl, flags);
}

pipe_status pipe_mgr_sel_grp_mbr_add(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_tbl_hdl sel_hdl,
                                     pipe_grp_hdl grp_hdl, pipe_act_hdl act_hdl, pipe_mbr_hdl mbr_hdl, uint32_t flags) {
    const auto add = [&](Selector& selector, GroupChange& change) -> pipe_status {
        Group* group = selector.groups.find(grp_hdl);
        const Member* member = selector.data_table.members.find(mbr_hdl);
        if (group == nullptr || member == nullptr) return VL_MODEL_NOT_FOUND;
        if (member->action_hdl != act_hdl) return VL_MODEL_FOREIGN_ACTION;
        if (group->positions.contains(mbr_hdl)) return VL_MODEL_EXISTS;
        if (group->max_size != 0 && group->positions.size() >= group->max_size) return VL_MODEL_GROUP_FULL;
        change.grp_hdl = grp_hdl;
        change.mbr_hdl = mbr_hdl;
        change.update = PIPE_UPDATE_ADDED;
        change.positions.reserve(1);
        change.positions.push_back({mbr_hdl, selector.join(grp_hdl, *group, mbr_hdl), true});
        forget_placement(group->placement);
        return VL_MODEL_OK;
    };
    const auto body = [&]() -> pipe_status { return change_selector(sess_hdl, all_pipes(dev_id), sel_hdl, add); };
    return boundary("pipe_mgr_sel_grp_mbr_add", body, sess_hdl, dev_id, sel_hdl, grp_hdl, act_hdl, mbr_hdl, flags);
}

pipe_status pipe_mgr_sel_grp_mbr_del(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_tbl_hdl sel_hdl,
                                     pipe_grp_hdl grp_hdl, pipe_mbr_hdl mbr_hdl, uint32_t flags) {
    const auto remove = [&](Selector& selector, Group& group, uint32_t position, GroupChange& change) {
        selector.leave(group, mbr_hdl);
        change.update = PIPE_UPDATE_DELETED;
        change.positions.push_back({0, position, false});
    };
    const auto body = [&]() -> pipe_status {
        return change_membership(sess_hdl, all_pipes(dev_id), sel_hdl, grp_hdl, mbr_hdl, remove);
    };
    return boundary("pipe_mgr_sel_grp_mbr_del", body, sess_hdl, dev_id, sel_hdl, grp_hdl, mbr_hdl, flags);
}

pipe_status pipe_mgr_sel_grp_mbr_enable(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl sel_hdl,
                                        pipe_grp_hdl grp_hdl, pipe_mbr_hdl mbr_hdl, uint32_t flags) {
    const auto body = [&] { return set_member_state(sess_hdl, dev_tgt, sel_hdl, grp_hdl, mbr_hdl, true); };
    return boundary("pipe_mgr_sel_grp_mbr_enable", body, sess_hdl, dev_tgt, sel_hdl, grp_hdl, mbr_hdl, flags);
}

pipe_status pipe_mgr_sel_grp_mbr_disable(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl sel_hdl,
                                         pipe_grp_hdl grp_hdl, pipe_mbr_hdl mbr_hdl, uint32_t flags) {
    const auto body = [&] { return set_member_state(sess_hdl, dev_tgt, sel_hdl, grp_hdl, mbr_hdl, false); };
    return boundary("pipe_mgr_sel_grp_mbr_disable", body, sess_hdl, dev_tgt, sel_hdl, grp_hdl, mbr_hdl, flags);
}

pipe_status pipe_mgr_sel_fallback_mbr_set(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl sel_hdl,
                                          pipe_mbr_hdl mbr_hdl, uint32_t flags) {
    const auto body = [&]() -> pipe_status {
        return with_selector(sess_hdl, dev_tgt, sel_hdl, [&](Selector& selector) -> pipe_status {
            if (selector.data_table.members.find(mbr_hdl) == nullptr) return VL_MODEL_NOT_FOUND;
            set_fallback(selector, mbr_hdl);
            return VL_MODEL_OK;
        });
    };
    return boundary("pipe_mgr_sel_fallback_mbr_set", body, sess_hdl, dev_tgt, sel_hdl, mbr_hdl, flags);
}

pipe_status pipe_mgr_sel_fallback_mbr_reset(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl sel_hdl,
                                            uint32_t flags) {
    const auto body = [&]() -> pipe_status {
        return with_selector(sess_hdl, dev_tgt, sel_hdl, [&](Selector& selector) -> pipe_status {
            set_fallback(selector, 0);
            return VL_MODEL_OK;
        });
    };
    return boundary("pipe_mgr_sel_fallback_mbr_reset", body, sess_hdl, dev_tgt, sel_hdl, flags);
}

pipe_status pipe_register_sel_update_cb(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl sel_hdl,
                                        pipe_sel_update_cb callback, void* cookie) {
    const auto body = [&]() -> pipe_status {
        std::shared_ptr<Registration> replaced;
        const pipe_status status = with_selector(sess_hdl, dev_tgt, sel_hdl, [&](Selector& selector) -> pipe_status {
            replaced = selector.updates.replace(callback, cookie);
            return VL_MODEL_OK;
        });
        end(replaced);
        return status;
    };
    return boundary("pipe_register_sel_update_cb", body, sess_hdl, dev_tgt, sel_hdl, callback, cookie);
}

pipe_status pipe_mgr_sel_tbl_register_cb(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl sel_hdl,
                                         pipe_sel_tbl_cb callback, void* cookie) {
    std::shared_ptr<Registration> replaced;
    const auto subscribe = [&](Selector& selector) -> pipe_status {
        replaced = selector.memory_updates.replace(callback, cookie);
        return VL_MODEL_OK;
    };
    // A tracker has no session.
    const auto subscribe_tracker = [&]() -> pipe_status {
        const std::lock_guard lock(model().mutex);
        pipe_status status = VL_MODEL_OK;
        Device* device = find_device(dev_tgt, status);
        return device == nullptr ? status : on_selector(*device, sel_hdl, subscribe);
    };
    const auto body = [&]() -> pipe_status {
        const pipe_status status =
            sess_hdl != 0 ? with_selector(sess_hdl, dev_tgt, sel_hdl, subscribe) : subscribe_tracker();
        end(replaced);
        return status;
    };
    return boundary("pipe_mgr_sel_tbl_register_cb", body, sess_hdl, dev_tgt, sel_hdl, callback, cookie);
}
