// Changes of match tables at the boundary: what is refused, what counts as used, and who is told.
#include <algorithm>

#include <vl_driver/tables.h>

#include "core/boundary.h"
#include "core/model.h"

using namespace vl_model;

namespace {

pipe_status check_key(const Table& table, const pipe_match_record& match) {
    const vl_model_table& t = table.description;
    if (t.match == VL_MODEL_KEYLESS) return VL_MODEL_NOT_SUPPORTED;
    if (match.key_bits != t.key_bits || match.key_len != t.key_len || match.key_bytes == nullptr ||
        match.mask_bytes == nullptr)
        return VL_MODEL_BAD_KEY;
    // The priority of a prefix is the count of bits that it leaves out; above the key's bits it says that the caller's
    // prefix was longer than its field.
    if (t.match == VL_MODEL_PREFIX && match.priority > t.key_bits) return VL_MODEL_BAD_KEY;
    return VL_MODEL_OK;
}

// A group can hold members of several actions, of which an entry may carry any.
pipe_status check_target(const Table& table, pipe_act_hdl act_hdl, const pipe_action_record& record) {
    if (record.kind == PIPE_KIND_MEMBER) {
        const Member* member = table.data_table->members.find(record.member_hdl);
        if (member == nullptr) return VL_MODEL_NOT_FOUND;
        return member->action_hdl == act_hdl ? VL_MODEL_OK : VL_MODEL_FOREIGN_ACTION;
    }
    if (record.kind == PIPE_KIND_GROUP && table.selector->groups.find(record.group_hdl) == nullptr)
        return VL_MODEL_NOT_FOUND;
    return VL_MODEL_OK;
}

// A meter's spec comes in the slot of the entry that it is attached to.
bool has_sound_meter(const Table& table, const pipe_action_record& record) {
    return std::all_of(record.slots, record.slots + record.resource_count, [&](const pipe_resource_slot& slot) {
        return slot.resource_hdl != table.meter->description.handle || slot.tag != PIPE_SLOT_ATTACHED ||
               is_sound(meter_spec_of(slot));
    });
}

enum class Use { entry, default_entry };

pipe_status check_action(const Table& table, pipe_act_hdl act_hdl, const pipe_action_record& record, Use use) {
    const vl_model_action* action = table.find_action(act_hdl);
    if (action == nullptr || (use == Use::entry ? action->for_entries : action->for_default) == 0)
        return VL_MODEL_FOREIGN_ACTION;
    if (record.resource_count > PIPE_MAX_SLOTS || (table.meter != nullptr && !has_sound_meter(table, record)))
        return VL_MODEL_BAD_DATA;
    const pipe_action_data& data = record.action;
    bool good = false;
    switch (record.kind) {
    case PIPE_KIND_ACTION_DATA:
        good = table.is_direct() && data.data_bits == action->data_bits && data.data_len == action->data_len &&
               (data.data != nullptr || data.data_len == 0);
        break;
    case PIPE_KIND_MEMBER:
        good = table.data_table != nullptr && record.member_hdl != 0 && data.data_len == 0;
        break;
    case PIPE_KIND_GROUP:
        good = table.selector != nullptr && record.group_hdl != 0 && data.data_len == 0;
        break;
    default:
        break;
    }
    return good ? check_target(table, act_hdl, record) : pipe_status{VL_MODEL_BAD_DATA};
}

// The handle of the entry that a match record names, or a status.
pipe_status find_entry(const Table& table, const pipe_match_record& match, pipe_ent_hdl& ent_hdl) {
    if (const pipe_status status = check_key(table, match)) return status;
    ent_hdl = table.entries.find(match, table.entries.hash(match));
    return ent_hdl != 0 ? VL_MODEL_OK : VL_MODEL_NOT_FOUND;
}

// What an update callback is told; nothing if `update` stays 0.
struct EntryChange {
    pipe_ent_hdl ent_hdl = 0;
    uint32_t update = 0;
};

// Runs a change of a table, and tells of it when the mutex is free again.
template <class Body>
pipe_status change_table(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl tbl_hdl, Body&& body) {
    EntryChange change;
    Subscriber<pipe_mat_update_cb> subscriber;
    const pipe_status status = with_table(sess_hdl, dev_tgt, tbl_hdl, [&](Table& table) -> pipe_status {
        subscriber = table.updates;
        return body(table, change);
    });
    if (status == VL_MODEL_OK && change.update != 0)
        subscriber.tell(sess_hdl, dev_tgt, tbl_hdl, change.ent_hdl, change.update);
    return status;
}

uint32_t* target_uses(const Table& table, pipe_ent_hdl ent_hdl) {
    if (table.is_direct()) return nullptr;
    const EntryView entry = table.entries.view(ent_hdl);
    return table.target_uses(entry.kind, entry.member_hdl, entry.group_hdl);
}

pipe_status add_entry(Table& table, const pipe_match_record& match, pipe_act_hdl act_hdl,
                      const pipe_action_record& action, uint32_t ttl, pipe_ent_hdl& ent_hdl) {
    if (const pipe_status status = check_key(table, match)) return status;
    if (const pipe_status status = check_action(table, act_hdl, action, Use::entry)) return status;
    const uint32_t hash = table.entries.hash(match);
    if (table.entries.find(match, hash) != 0) return VL_MODEL_EXISTS;
    if (table.entries.count() >= table.description.capacity) return VL_MODEL_TABLE_FULL;
    const pipe_ent_hdl added = table.entries.add(match, hash, act_hdl, action);
    if (table.ageing != nullptr) {
        try {
            table.ageing->start(added, ttl, model().now);
        } catch (...) {
            table.entries.remove(added);
            throw;
        }
    }
    if (uint32_t* uses = target_uses(table, added)) ++*uses;
    ent_hdl = added;
    return VL_MODEL_OK;
}

pipe_status set_entry_action(Table& table, pipe_ent_hdl ent_hdl, pipe_act_hdl act_hdl,
                             const pipe_action_record& action) {
    if (!table.entries.has(ent_hdl)) return VL_MODEL_NOT_FOUND;
    if (const pipe_status status = check_action(table, act_hdl, action, Use::entry)) return status;
    uint32_t* const old_uses = target_uses(table, ent_hdl);
    table.entries.set_action(ent_hdl, act_hdl, action);
    if (old_uses != nullptr) --*old_uses;
    if (uint32_t* uses = target_uses(table, ent_hdl)) ++*uses;
    table.forget_copies(ent_hdl);
    return VL_MODEL_OK;
}

pipe_status remove_entry(Table& table, pipe_ent_hdl ent_hdl) {
    if (!table.entries.has(ent_hdl)) return VL_MODEL_NOT_FOUND;
    if (uint32_t* uses = target_uses(table, ent_hdl)) --*uses;
    table.forget_copies(ent_hdl);
    table.entries.remove(ent_hdl);
    if (table.ageing != nullptr) table.ageing->forget(ent_hdl);
    table.forget_cells(ent_hdl);
    return VL_MODEL_OK;
}

} // namespace

pipe_status pipe_mgr_mat_ent_add(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl tbl_hdl,
                                 const pipe_match_record* match, pipe_act_hdl act_hdl, const pipe_action_record* action,
                                 uint32_t ttl, uint32_t flags, pipe_ent_hdl* ent_hdl) {
    const auto body = [&]() -> pipe_status {
        if (match == nullptr || action == nullptr || ent_hdl == nullptr) return VL_MODEL_INVALID;
        return change_table(sess_hdl, dev_tgt, tbl_hdl, [&](Table& table, EntryChange& change) -> pipe_status {
            const pipe_status status = add_entry(table, *match, act_hdl, *action, ttl, *ent_hdl);
            if (status == VL_MODEL_OK) change = {*ent_hdl, PIPE_UPDATE_ADDED};
            return status;
        });
    };
    return boundary("pipe_mgr_mat_ent_add", body, sess_hdl, dev_tgt, tbl_hdl, match, act_hdl, action, ttl, flags,
                    ent_hdl);
}

pipe_status pipe_mgr_mat_ent_set_action(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_tbl_hdl tbl_hdl,
                                        pipe_ent_hdl ent_hdl, pipe_act_hdl act_hdl, const pipe_action_record* action,
                                        uint32_t flags) {
    const auto body = [&]() -> pipe_status {
        if (action == nullptr) return VL_MODEL_INVALID;
        return change_table(sess_hdl, all_pipes(dev_id), tbl_hdl, [&](Table& table, EntryChange& change) {
            change = {ent_hdl, PIPE_UPDATE_CHANGED};
            return set_entry_action(table, ent_hdl, act_hdl, *action);
        });
    };
    return boundary("pipe_mgr_mat_ent_set_action", body, sess_hdl, dev_id, tbl_hdl, ent_hdl, act_hdl, action, flags);
}

pipe_status pipe_mgr_mat_ent_set_action_by_match_spec(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt,
                                                      pipe_tbl_hdl tbl_hdl, const pipe_match_record* match,
                                                      pipe_act_hdl act_hdl, const pipe_action_record* action,
                                                      uint32_t flags) {
    const auto body = [&]() -> pipe_status {
        if (match == nullptr || action == nullptr) return VL_MODEL_INVALID;
        return change_table(sess_hdl, dev_tgt, tbl_hdl, [&](Table& table, EntryChange& change) -> pipe_status {
            pipe_ent_hdl ent_hdl = 0;
            const pipe_status status = find_entry(table, *match, ent_hdl);
            change = {ent_hdl, PIPE_UPDATE_CHANGED};
            return status != VL_MODEL_OK ? status : set_entry_action(table, ent_hdl, act_hdl, *action);
        });
    };
    return boundary("pipe_mgr_mat_ent_set_action_by_match_spec", body, sess_hdl, dev_tgt, tbl_hdl, match, act_hdl,
                    action, flags);
}

pipe_status pipe_mgr_mat_ent_del(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_tbl_hdl tbl_hdl, pipe_ent_hdl ent_hdl,
                                 uint32_t flags) {
    const auto body = [&]() -> pipe_status {
        return change_table(sess_hdl, all_pipes(dev_id), tbl_hdl, [&](Table& table, EntryChange& change) {
            change = {ent_hdl, PIPE_UPDATE_DELETED};
            return remove_entry(table, ent_hdl);
        });
    };
    return boundary("pipe_mgr_mat_ent_del", body, sess_hdl, dev_id, tbl_hdl, ent_hdl, flags);
}

pipe_status pipe_mgr_mat_ent_del_by_match_spec(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl tbl_hdl,
                                               const pipe_match_record* match, uint32_t flags) {
    const auto body = [&]() -> pipe_status {
        if (match == nullptr) return VL_MODEL_INVALID;
        return change_table(sess_hdl, dev_tgt, tbl_hdl, [&](Table& table, EntryChange& change) -> pipe_status {
            pipe_ent_hdl ent_hdl = 0;
            const pipe_status status = find_entry(table, *match, ent_hdl);
            change = {ent_hdl, PIPE_UPDATE_DELETED};
            return status != VL_MODEL_OK ? status : remove_entry(table, ent_hdl);
        });
    };
    return boundary("pipe_mgr_mat_ent_del_by_match_spec", body, sess_hdl, dev_tgt, tbl_hdl, match, flags);
}

pipe_status pipe_mgr_match_spec_to_ent_hdl(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl tbl_hdl,
                                           const pipe_match_record* match, pipe_ent_hdl* ent_hdl, uint32_t flags) {
    const auto body = [&]() -> pipe_status {
        if (match == nullptr || ent_hdl == nullptr) return VL_MODEL_INVALID;
        return with_table(sess_hdl, dev_tgt, tbl_hdl, [&](Table& table) -> pipe_status {
            pipe_ent_hdl found = 0;
            const pipe_status status = find_entry(table, *match, found);
            if (status == VL_MODEL_OK) *ent_hdl = found;
            return status;
        });
    };
    return boundary("pipe_mgr_match_spec_to_ent_hdl", body, sess_hdl, dev_tgt, tbl_hdl, match, ent_hdl, flags);
}

pipe_status pipe_mgr_mat_default_entry_set(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl tbl_hdl,
                                           pipe_act_hdl act_hdl, const pipe_action_record* action, uint32_t flags,
                                           pipe_ent_hdl* ent_hdl) {
    const auto body = [&]() -> pipe_status {
        if (action == nullptr || ent_hdl == nullptr) return VL_MODEL_INVALID;
        return change_table(sess_hdl, dev_tgt, tbl_hdl, [&](Table& table, EntryChange& change) -> pipe_status {
            if (const pipe_status status = check_action(table, act_hdl, *action, Use::default_entry)) return status;
            EntryImage image;
            image.action_hdl = act_hdl;
            image.kind = action->kind;
            image.resource_count = action->resource_count;
            image.data_bits = action->action.data_bits;
            if (action->action.data_len != 0)
                image.data.assign(action->action.data, action->action.data + action->action.data_len);
            image.member_hdl = action->member_hdl;
            image.group_hdl = action->group_hdl;
            const size_t old_count = table.default_entry ? PIPE_MAX_SLOTS : 0;
            image.slots =
                merged_slots(*action, table.default_entry ? table.default_entry->slots.data() : nullptr, old_count);
            change = {table.default_handle(), table.default_entry ? PIPE_UPDATE_CHANGED : PIPE_UPDATE_ADDED};
            table.set_default_entry(std::move(image));
            *ent_hdl = table.default_handle();
            return VL_MODEL_OK;
        });
    };
    return boundary("pipe_mgr_mat_default_entry_set", body, sess_hdl, dev_tgt, tbl_hdl, act_hdl, action, flags,
                    ent_hdl);
}

pipe_status pipe_mgr_mat_tbl_default_entry_reset(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl tbl_hdl,
                                                 uint32_t flags) {
    const auto body = [&]() -> pipe_status {
        return change_table(sess_hdl, dev_tgt, tbl_hdl, [&](Table& table, EntryChange& change) -> pipe_status {
            const bool had_one = table.default_entry.has_value();
            table.reset_default_entry();
            if (table.default_entry)
                change = {table.default_handle(), had_one ? PIPE_UPDATE_CHANGED : PIPE_UPDATE_ADDED};
            else if (had_one)
                change = {table.default_handle(), PIPE_UPDATE_DELETED};
            return VL_MODEL_OK;
        });
    };
    return boundary("pipe_mgr_mat_tbl_default_entry_reset", body, sess_hdl, dev_tgt, tbl_hdl, flags);
}

pipe_status pipe_mgr_table_get_default_entry_handle(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl tbl_hdl,
                                                    pipe_ent_hdl* ent_hdl) {
    const auto body = [&]() -> pipe_status {
        if (ent_hdl == nullptr) return VL_MODEL_INVALID;
        return with_table(sess_hdl, dev_tgt, tbl_hdl, [&](Table& table) -> pipe_status {
            if (!table.default_entry) return VL_MODEL_NOT_FOUND;
            *ent_hdl = table.default_handle();
            return VL_MODEL_OK;
        });
    };
    return boundary("pipe_mgr_table_get_default_entry_handle", body, sess_hdl, dev_tgt, tbl_hdl, ent_hdl);
}
