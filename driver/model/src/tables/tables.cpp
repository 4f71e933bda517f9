// Changes of match tables at the boundary, with their checks, counts of uses and callbacks; and properties of tables.
#include <algorithm>

#include <vl_driver/tables.h>

#include "core/model.h"

using namespace vl_model;

namespace {

void check_key(const Table& table, const pipe_match_record& match) {
    const vl_model_table& t = table.description;
    refuse_if(t.match == VL_MODEL_KEYLESS, VL_MODEL_NOT_SUPPORTED);
    refuse_if(match.key_bits != t.key_bits || match.key_len != t.key_len || match.key_bytes == nullptr ||
                  match.mask_bytes == nullptr,
              VL_MODEL_BAD_KEY);
    // The priority of a prefix is the number of unmatched bits. It exceeds the key's bits if the caller's prefix was
    // longer than its field.
    refuse_if(t.match == VL_MODEL_PREFIX && match.priority > t.key_bits, VL_MODEL_BAD_KEY);
}

// A group can hold members of several actions. An entry with a group may carry any action.
void check_target(const Table& table, pipe_act_hdl act_hdl, const pipe_action_record& record) {
    if (record.kind == PIPE_KIND_MEMBER)
        refuse_if(table.data_table->members.at(record.member_hdl).action_hdl != act_hdl, VL_MODEL_FOREIGN_ACTION);
    if (record.kind == PIPE_KIND_GROUP) table.selector->groups.at(record.group_hdl);
}

// The spec of a direct meter comes in a slot.
bool has_sound_meter(const Table& table, const pipe_action_record& record) {
    return std::all_of(record.slots, record.slots + record.resource_count, [&](const pipe_resource_slot& slot) {
        return slot.resource_hdl != table.meter->description.handle || slot.tag != PIPE_SLOT_ATTACHED ||
               is_sound(meter_spec_of(slot));
    });
}

bool has_sound_data(const Table& table, const vl_model_action& action, const pipe_action_record& record) {
    const pipe_action_data& data = record.action;
    switch (record.kind) {
    case PIPE_KIND_ACTION_DATA:
        return table.is_direct() && data.data_bits == action.data_bits && data.data_len == action.data_len &&
               (data.data != nullptr || data.data_len == 0);
    case PIPE_KIND_MEMBER:
        return table.data_table != nullptr && record.member_hdl != 0 && data.data_len == 0;
    case PIPE_KIND_GROUP:
        return table.selector != nullptr && record.group_hdl != 0 && data.data_len == 0;
    default:
        return false;
    }
}

enum class Use { entry, default_entry };

void check_action(const Table& table, pipe_act_hdl act_hdl, const pipe_action_record& record, Use use) {
    const vl_model_action* action = find_action(table.actions, act_hdl);
    refuse_if(action == nullptr || (use == Use::entry ? action->for_entries : action->for_default) == 0,
              VL_MODEL_FOREIGN_ACTION);
    refuse_if(record.resource_count > PIPE_MAX_SLOTS || (table.meter != nullptr && !has_sound_meter(table, record)) ||
                  !has_sound_data(table, *action, record),
              VL_MODEL_BAD_DATA);
    check_target(table, act_hdl, record);
}

// The handle of the entry that a match record names.
pipe_ent_hdl find_entry(const Table& table, const pipe_match_record& match) {
    check_key(table, match);
    const pipe_ent_hdl ent_hdl = table.entries.find(match, table.entries.hash(match));
    refuse_if(ent_hdl == 0, VL_MODEL_NOT_FOUND);
    return ent_hdl;
}

// What an update callback gets; it is not called if `update` is 0.
struct EntryChange {
    pipe_ent_hdl ent_hdl = 0;
    uint32_t update = 0;
};

// Runs a change of a table, which returns an EntryChange. The callback is called when the mutex is free again.
template <class Body>
void change_table(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl tbl_hdl, Body&& body) {
    EntryChange change;
    Subscriber<pipe_mat_update_cb> subscriber;
    {
        const auto device = lock_device(sess_hdl, dev_tgt);
        Table& table = device->table(tbl_hdl);
        subscriber = table.updates;
        change = body(table);
    }
    if (change.update != 0) subscriber.tell(sess_hdl, dev_tgt, tbl_hdl, change.ent_hdl, change.update);
}

uint32_t* target_uses(const Table& table, pipe_ent_hdl ent_hdl) {
    if (table.is_direct()) return nullptr;
    const EntryView entry = table.entries.view(ent_hdl);
    return table.target_uses(entry.kind, entry.member_hdl, entry.group_hdl);
}

pipe_ent_hdl add_entry(Table& table, const pipe_match_record& match, pipe_act_hdl act_hdl,
                       const pipe_action_record& action, uint32_t ttl) {
    check_key(table, match);
    check_action(table, act_hdl, action, Use::entry);
    const uint32_t hash = table.entries.hash(match);
    refuse_if(table.entries.find(match, hash) != 0, VL_MODEL_EXISTS);
    refuse_if(table.entries.count() >= table.description.capacity, VL_MODEL_TABLE_FULL);
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
    table.matches.change(added);
    return added;
}

EntryChange set_entry_action(Table& table, pipe_ent_hdl ent_hdl, pipe_act_hdl act_hdl,
                             const pipe_action_record& action) {
    refuse_if(!table.entries.has(ent_hdl), VL_MODEL_NOT_FOUND);
    check_action(table, act_hdl, action, Use::entry);
    uint32_t* const old_uses = target_uses(table, ent_hdl);
    table.entries.set_action(ent_hdl, act_hdl, action);
    if (old_uses != nullptr) --*old_uses;
    if (uint32_t* uses = target_uses(table, ent_hdl)) ++*uses;
    table.forget_copies(ent_hdl);
    return {ent_hdl, PIPE_UPDATE_CHANGED};
}

EntryChange remove_entry(Table& table, pipe_ent_hdl ent_hdl) {
    refuse_if(!table.entries.has(ent_hdl), VL_MODEL_NOT_FOUND);
    if (uint32_t* uses = target_uses(table, ent_hdl)) --*uses;
    table.matches.change(ent_hdl);
    table.forget_copies(ent_hdl);
    table.entries.remove(ent_hdl);
    if (table.ageing != nullptr) table.ageing->forget(ent_hdl);
    table.forget_cells(ent_hdl);
    return {ent_hdl, PIPE_UPDATE_DELETED};
}

EntryChange set_default_entry(Table& table, pipe_act_hdl act_hdl, const pipe_action_record& action) {
    check_action(table, act_hdl, action, Use::default_entry);
    EntryImage image{fields_of(nullptr, act_hdl, action), {}, {}, {}};
    if (action.action.data_len != 0) image.data.assign(action.action.data, action.action.data + action.action.data_len);
    const bool had_one = table.default_entry.has_value();
    image.slots = merged_slots(action, had_one ? table.default_entry->slots.data() : nullptr,
                               had_one ? size_t{PIPE_MAX_SLOTS} : size_t{0});
    table.set_default_entry(std::move(image));
    return {table.default_handle(), had_one ? PIPE_UPDATE_CHANGED : PIPE_UPDATE_ADDED};
}

// A table may lack a default entry before, after, or both.
EntryChange reset_default_entry(Table& table) {
    const bool had_one = table.default_entry.has_value();
    table.reset_default_entry();
    if (table.default_entry) return {table.default_handle(), had_one ? PIPE_UPDATE_CHANGED : PIPE_UPDATE_ADDED};
    return {table.default_handle(), had_one ? uint32_t{PIPE_UPDATE_DELETED} : 0};
}

// Refuses a property that no table has.
Property& property_of(Table& table, uint32_t property) {
    refuse_if(property < 1 || property > table.properties.size(), VL_MODEL_INVALID);
    return table.properties[property - 1];
}

} // namespace

pipe_status pipe_mgr_mat_ent_add(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl tbl_hdl,
                                 const pipe_match_record* match, pipe_act_hdl act_hdl, const pipe_action_record* action,
                                 uint32_t ttl, uint32_t flags, pipe_ent_hdl* ent_hdl) {
    return Boundary(__func__, sess_hdl, dev_tgt, tbl_hdl, match, act_hdl, action, ttl, flags, ent_hdl)([&] {
        change_table(sess_hdl, dev_tgt, tbl_hdl, [&](Table& table) -> EntryChange {
            *ent_hdl = add_entry(table, *match, act_hdl, *action, ttl);
            return {*ent_hdl, PIPE_UPDATE_ADDED};
        });
    });
}

pipe_status pipe_mgr_mat_ent_set_action(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_tbl_hdl tbl_hdl,
                                        pipe_ent_hdl ent_hdl, pipe_act_hdl act_hdl, const pipe_action_record* action,
                                        uint32_t flags) {
    return Boundary(__func__, sess_hdl, dev_id, tbl_hdl, ent_hdl, act_hdl, action, flags)([&] {
        change_table(sess_hdl, all_pipes(dev_id), tbl_hdl,
                     [&](Table& table) { return set_entry_action(table, ent_hdl, act_hdl, *action); });
    });
}

pipe_status pipe_mgr_mat_ent_set_action_by_match_spec(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt,
                                                      pipe_tbl_hdl tbl_hdl, const pipe_match_record* match,
                                                      pipe_act_hdl act_hdl, const pipe_action_record* action,
                                                      uint32_t flags) {
    return Boundary(__func__, sess_hdl, dev_tgt, tbl_hdl, match, act_hdl, action, flags)([&] {
        change_table(sess_hdl, dev_tgt, tbl_hdl, [&](Table& table) {
            return set_entry_action(table, find_entry(table, *match), act_hdl, *action);
        });
    });
}

pipe_status pipe_mgr_mat_ent_del(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_tbl_hdl tbl_hdl, pipe_ent_hdl ent_hdl,
                                 uint32_t flags) {
    return Boundary(__func__, sess_hdl, dev_id, tbl_hdl, ent_hdl, flags)([&] {
        change_table(sess_hdl, all_pipes(dev_id), tbl_hdl, [&](Table& table) { return remove_entry(table, ent_hdl); });
    });
}

pipe_status pipe_mgr_mat_ent_del_by_match_spec(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl tbl_hdl,
                                               const pipe_match_record* match, uint32_t flags) {
    return Boundary(__func__, sess_hdl, dev_tgt, tbl_hdl, match, flags)([&] {
        change_table(sess_hdl, dev_tgt, tbl_hdl,
                     [&](Table& table) { return remove_entry(table, find_entry(table, *match)); });
    });
}

pipe_status pipe_mgr_match_spec_to_ent_hdl(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl tbl_hdl,
                                           const pipe_match_record* match, pipe_ent_hdl* ent_hdl, uint32_t flags) {
    return device_call(__func__, sess_hdl, dev_tgt, tbl_hdl, match, ent_hdl,
                       flags)([&](Device& device) { *ent_hdl = find_entry(device.table(tbl_hdl), *match); });
}

pipe_status pipe_mgr_mat_default_entry_set(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl tbl_hdl,
                                           pipe_act_hdl act_hdl, const pipe_action_record* action, uint32_t flags,
                                           pipe_ent_hdl* ent_hdl) {
    return Boundary(__func__, sess_hdl, dev_tgt, tbl_hdl, act_hdl, action, flags, ent_hdl)([&] {
        change_table(sess_hdl, dev_tgt, tbl_hdl, [&](Table& table) {
            const EntryChange change = set_default_entry(table, act_hdl, *action);
            *ent_hdl = change.ent_hdl;
            return change;
        });
    });
}

pipe_status pipe_mgr_mat_tbl_default_entry_reset(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl tbl_hdl,
                                                 uint32_t flags) {
    return Boundary(__func__, sess_hdl, dev_tgt, tbl_hdl,
                    flags)([&] { change_table(sess_hdl, dev_tgt, tbl_hdl, reset_default_entry); });
}

pipe_status pipe_mgr_table_get_default_entry_handle(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl tbl_hdl,
                                                    pipe_ent_hdl* ent_hdl) {
    return device_call(__func__, sess_hdl, dev_tgt, tbl_hdl, ent_hdl)([&](Device& device) {
        const Table& table = device.table(tbl_hdl);
        table.require_row(table.default_handle());
        *ent_hdl = table.default_handle();
    });
}

pipe_status pipe_mgr_tbl_get_property(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_tbl_hdl tbl_hdl,
                                      uint32_t property, uint32_t* value, uint32_t* args) {
    return device_call(__func__, sess_hdl, dev_id, tbl_hdl, property, value, args)([&](Device& device) {
        const Property& found = property_of(device.table(tbl_hdl), property);
        *value = found.value;
        *args = found.args;
    });
}

pipe_status pipe_mgr_tbl_set_property(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_tbl_hdl tbl_hdl,
                                      uint32_t property, uint32_t value, uint32_t args) {
    return device_call(__func__, sess_hdl, dev_id, tbl_hdl, property, value, args)(
        [&](Device& device) { property_of(device.table(tbl_hdl), property) = {.value = value, .args = args}; });
}

pipe_status pipe_register_mat_update_cb(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_tbl_hdl tbl_hdl,
                                        pipe_mat_update_cb callback, void* cookie) {
    return Boundary(__func__, sess_hdl, dev_id, tbl_hdl, callback, cookie)([&] {
        const auto replaced = lock_device(sess_hdl, dev_id)->table(tbl_hdl).updates.replace(callback, cookie);
        end(replaced);
    });
}
