// Match tables at the boundary: what is refused, and how records go to and from the store.
#include <algorithm>
#include <cstring>

#include <vl_driver/tables.h>

#include "model.h"
#include "watch.h"

using namespace vl_model;

namespace {

pipe_status check_key(const Table& table, const pipe_match_record& match) {
    const vl_model_table& t = table.description;
    if (t.match == VL_MODEL_KEYLESS) {
        return VL_MODEL_NOT_SUPPORTED;
    }
    if (match.key_bits != t.key_bits || match.key_len != t.key_len || match.key_bytes == nullptr ||
        match.mask_bytes == nullptr) {
        return VL_MODEL_BAD_KEY;
    }
    // The priority of a prefix is the count of bits that it leaves out; above the key's bits it says that the caller's
    // prefix was longer than its field.
    if (t.match == VL_MODEL_PREFIX && match.priority > t.key_bits) {
        return VL_MODEL_BAD_KEY;
    }
    return VL_MODEL_OK;
}

enum class Use { entry, default_entry };

pipe_status check_action(const Table& table, pipe_act_hdl act_hdl, const pipe_action_record& record, Use use) {
    const vl_model_action* action = table.find_action(act_hdl);
    if (action == nullptr || (use == Use::entry ? action->for_entries : action->for_default) == 0) {
        return VL_MODEL_FOREIGN_ACTION;
    }
    if (record.resource_count > PIPE_MAX_SLOTS) {
        return VL_MODEL_BAD_DATA;
    }
    const pipe_action_data& data = record.action;
    bool good = false;
    switch (record.kind) {
    case PIPE_KIND_ACTION_DATA:
        good = table.is_direct() && data.data_bits == action->data_bits && data.data_len == action->data_len &&
               (data.data != nullptr || data.data_len == 0);
        break;
    case PIPE_KIND_MEMBER:
        good = table.description.data_table != 0 && record.member_hdl != 0 && data.data_len == 0;
        break;
    case PIPE_KIND_GROUP:
        good = table.description.selector != 0 && record.group_hdl != 0 && data.data_len == 0;
        break;
    default:
        break;
    }
    return good ? VL_MODEL_OK : VL_MODEL_BAD_DATA;
}

// The handle of the entry that a match record names, or a status.
pipe_status find_entry(const Table& table, const pipe_match_record& match, pipe_ent_hdl& ent_hdl) {
    if (const pipe_status status = check_key(table, match)) {
        return status;
    }
    ent_hdl = table.entries.find(match, table.entries.hash(match));
    return ent_hdl != 0 ? VL_MODEL_OK : VL_MODEL_NOT_FOUND;
}

pipe_status set_entry_action(Table& table, pipe_ent_hdl ent_hdl, pipe_act_hdl act_hdl,
                             const pipe_action_record& action) {
    if (!table.entries.has(ent_hdl)) {
        return VL_MODEL_NOT_FOUND;
    }
    if (const pipe_status status = check_action(table, act_hdl, action, Use::entry)) {
        return status;
    }
    table.entries.set_action(ent_hdl, act_hdl, action);
    table.hardware.erase(ent_hdl);
    return VL_MODEL_OK;
}

pipe_status remove_entry(Table& table, pipe_ent_hdl ent_hdl) {
    if (!table.entries.has(ent_hdl)) {
        return VL_MODEL_NOT_FOUND;
    }
    table.entries.remove(ent_hdl);
    table.hardware.erase(ent_hdl);
    return VL_MODEL_OK;
}

bool has_entry(const Table& table, pipe_ent_hdl ent_hdl) {
    return ent_hdl == table.default_handle() ? table.default_entry.has_value() : table.entries.has(ent_hdl);
}

// The entry, or default entry, as the software or the hardware has it.
pipe_status find_view(const Table& table, pipe_ent_hdl ent_hdl, bool from_hw, EntryView& view) {
    if (!has_entry(table, ent_hdl)) {
        return VL_MODEL_NOT_FOUND;
    }
    if (from_hw && !table.hardware.empty()) {
        const auto differing = table.hardware.find(ent_hdl);
        if (differing != table.hardware.end()) {
            if (!differing->second) {
                return VL_MODEL_NOT_FOUND;
            }
            view = view_of(*differing->second);
            return VL_MODEL_OK;
        }
    }
    view = ent_hdl == table.default_handle() ? view_of(*table.default_entry) : table.entries.view(ent_hdl);
    return VL_MODEL_OK;
}

pipe_status read_match(const Table& table, const EntryView& entry, pipe_match_record& match) {
    if (entry.key_len > match.key_len) {
        return VL_MODEL_BAD_KEY;
    }
    if (match.key_bytes != nullptr && entry.key_len != 0) {
        std::memcpy(match.key_bytes, entry.key, entry.key_len);
    }
    if (match.mask_bytes != nullptr && entry.key_len != 0) {
        std::memcpy(match.mask_bytes, entry.mask, entry.key_len);
    }
    match.partition_index = entry.partition_index;
    match.priority = entry.priority;
    match.key_bits = entry.key_len != 0 ? table.description.key_bits : uint16_t{0};
    match.key_len = entry.key_len;
    return VL_MODEL_OK;
}

void read_action(const EntryView& entry, pipe_action_record& action, pipe_act_hdl& act_hdl) {
    action.kind = entry.kind;
    action.resource_count = entry.resource_count;
    const uint16_t room = action.action.data != nullptr ? action.action.data_len : uint16_t{0};
    const uint16_t len = std::min(room, entry.data_len);
    if (len != 0) {
        std::memcpy(action.action.data, entry.data, len);
    }
    action.action.data_bits = entry.data_bits;
    action.action.data_len = len;
    action.member_hdl = entry.member_hdl;
    action.group_hdl = entry.group_hdl;
    for (std::size_t i = 0; i < PIPE_MAX_SLOTS; ++i) {
        action.slots[i] = i < entry.slot_count ? entry.slots[i] : pipe_resource_slot{};
    }
    act_hdl = entry.action_hdl;
}

// An entry with a match record, a default entry with or without one.
pipe_status read_entry(const Table& table, pipe_ent_hdl ent_hdl, bool from_hw, pipe_match_record* match,
                       pipe_action_record& action, pipe_act_hdl& act_hdl) {
    EntryView entry;
    if (const pipe_status status = find_view(table, ent_hdl, from_hw, entry)) {
        return status;
    }
    if (match != nullptr) {
        if (const pipe_status status = read_match(table, entry, *match)) {
            return status;
        }
    }
    read_action(entry, action, act_hdl);
    return VL_MODEL_OK;
}

template <class Body>
pipe_status with_entry(pipe_dev_id dev_id, pipe_tbl_hdl tbl_hdl, pipe_ent_hdl ent_hdl, Body&& body) {
    const std::lock_guard lock(model().mutex);
    pipe_status status = VL_MODEL_OK;
    Table* table = find_table(dev_id, tbl_hdl, status);
    if (table == nullptr) {
        return status;
    }
    return has_entry(*table, ent_hdl) ? body(*table) : pipe_status{VL_MODEL_NOT_FOUND};
}

} // namespace

pipe_status pipe_mgr_mat_ent_add(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl tbl_hdl,
                                 const pipe_match_record* match, pipe_act_hdl act_hdl, const pipe_action_record* action,
                                 uint32_t ttl, uint32_t flags, pipe_ent_hdl* ent_hdl) {
    const auto body = [&]() -> pipe_status {
        if (match == nullptr || action == nullptr || ent_hdl == nullptr) {
            return VL_MODEL_INVALID;
        }
        return with_table(sess_hdl, dev_tgt.dev_id, tbl_hdl, [&](Table& table) -> pipe_status {
            if (const pipe_status status = check_key(table, *match)) {
                return status;
            }
            if (const pipe_status status = check_action(table, act_hdl, *action, Use::entry)) {
                return status;
            }
            const uint32_t hash = table.entries.hash(*match);
            if (table.entries.find(*match, hash) != 0) {
                return VL_MODEL_EXISTS;
            }
            if (table.entries.count() >= table.description.capacity) {
                return VL_MODEL_TABLE_FULL;
            }
            *ent_hdl = table.entries.add(*match, hash, act_hdl, *action);
            return VL_MODEL_OK;
        });
    };
    return boundary("pipe_mgr_mat_ent_add", body, sess_hdl, dev_tgt, tbl_hdl, match, act_hdl, action, ttl, flags,
                    ent_hdl);
}

pipe_status pipe_mgr_mat_ent_set_action(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_tbl_hdl tbl_hdl,
                                        pipe_ent_hdl ent_hdl, pipe_act_hdl act_hdl, const pipe_action_record* action,
                                        uint32_t flags) {
    const auto body = [&]() -> pipe_status {
        if (action == nullptr) {
            return VL_MODEL_INVALID;
        }
        return with_table(sess_hdl, dev_id, tbl_hdl,
                          [&](Table& table) { return set_entry_action(table, ent_hdl, act_hdl, *action); });
    };
    return boundary("pipe_mgr_mat_ent_set_action", body, sess_hdl, dev_id, tbl_hdl, ent_hdl, act_hdl, action, flags);
}

pipe_status pipe_mgr_mat_ent_set_action_by_match_spec(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt,
                                                      pipe_tbl_hdl tbl_hdl, const pipe_match_record* match,
                                                      pipe_act_hdl act_hdl, const pipe_action_record* action,
                                                      uint32_t flags) {
    const auto body = [&]() -> pipe_status {
        if (match == nullptr || action == nullptr) {
            return VL_MODEL_INVALID;
        }
        return with_table(sess_hdl, dev_tgt.dev_id, tbl_hdl, [&](Table& table) -> pipe_status {
            pipe_ent_hdl ent_hdl = 0;
            const pipe_status status = find_entry(table, *match, ent_hdl);
            return status != VL_MODEL_OK ? status : set_entry_action(table, ent_hdl, act_hdl, *action);
        });
    };
    return boundary("pipe_mgr_mat_ent_set_action_by_match_spec", body, sess_hdl, dev_tgt, tbl_hdl, match, act_hdl,
                    action, flags);
}

pipe_status pipe_mgr_mat_ent_del(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_tbl_hdl tbl_hdl, pipe_ent_hdl ent_hdl,
                                 uint32_t flags) {
    const auto body = [&]() -> pipe_status {
        return with_table(sess_hdl, dev_id, tbl_hdl, [&](Table& table) { return remove_entry(table, ent_hdl); });
    };
    return boundary("pipe_mgr_mat_ent_del", body, sess_hdl, dev_id, tbl_hdl, ent_hdl, flags);
}

pipe_status pipe_mgr_mat_ent_del_by_match_spec(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl tbl_hdl,
                                               const pipe_match_record* match, uint32_t flags) {
    const auto body = [&]() -> pipe_status {
        if (match == nullptr) {
            return VL_MODEL_INVALID;
        }
        return with_table(sess_hdl, dev_tgt.dev_id, tbl_hdl, [&](Table& table) -> pipe_status {
            pipe_ent_hdl ent_hdl = 0;
            const pipe_status status = find_entry(table, *match, ent_hdl);
            return status != VL_MODEL_OK ? status : remove_entry(table, ent_hdl);
        });
    };
    return boundary("pipe_mgr_mat_ent_del_by_match_spec", body, sess_hdl, dev_tgt, tbl_hdl, match, flags);
}

pipe_status pipe_mgr_match_spec_to_ent_hdl(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl tbl_hdl,
                                           const pipe_match_record* match, pipe_ent_hdl* ent_hdl, uint32_t flags) {
    const auto body = [&]() -> pipe_status {
        if (match == nullptr || ent_hdl == nullptr) {
            return VL_MODEL_INVALID;
        }
        return with_table(sess_hdl, dev_tgt.dev_id, tbl_hdl, [&](Table& table) -> pipe_status {
            pipe_ent_hdl found = 0;
            const pipe_status status = find_entry(table, *match, found);
            if (status == VL_MODEL_OK) {
                *ent_hdl = found;
            }
            return status;
        });
    };
    return boundary("pipe_mgr_match_spec_to_ent_hdl", body, sess_hdl, dev_tgt, tbl_hdl, match, ent_hdl, flags);
}

pipe_status pipe_mgr_mat_default_entry_set(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl tbl_hdl,
                                           pipe_act_hdl act_hdl, const pipe_action_record* action, uint32_t flags,
                                           pipe_ent_hdl* ent_hdl) {
    const auto body = [&]() -> pipe_status {
        if (action == nullptr || ent_hdl == nullptr) {
            return VL_MODEL_INVALID;
        }
        return with_table(sess_hdl, dev_tgt.dev_id, tbl_hdl, [&](Table& table) -> pipe_status {
            if (const pipe_status status = check_action(table, act_hdl, *action, Use::default_entry)) {
                return status;
            }
            EntryImage image;
            image.action_hdl = act_hdl;
            image.kind = action->kind;
            image.resource_count = action->resource_count;
            image.data_bits = action->action.data_bits;
            if (action->action.data_len != 0) {
                image.data.assign(action->action.data, action->action.data + action->action.data_len);
            }
            image.member_hdl = action->member_hdl;
            image.group_hdl = action->group_hdl;
            const std::size_t old_count = table.default_entry ? PIPE_MAX_SLOTS : 0;
            image.slots =
                merged_slots(*action, table.default_entry ? table.default_entry->slots.data() : nullptr, old_count);
            table.default_entry = std::move(image);
            table.hardware.erase(table.default_handle());
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
        return with_table(sess_hdl, dev_tgt.dev_id, tbl_hdl, [&](Table& table) -> pipe_status {
            table.reset_default_entry();
            return VL_MODEL_OK;
        });
    };
    return boundary("pipe_mgr_mat_tbl_default_entry_reset", body, sess_hdl, dev_tgt, tbl_hdl, flags);
}

pipe_status pipe_mgr_table_get_default_entry_handle(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl tbl_hdl,
                                                    pipe_ent_hdl* ent_hdl) {
    const auto body = [&]() -> pipe_status {
        if (ent_hdl == nullptr) {
            return VL_MODEL_INVALID;
        }
        return with_table(sess_hdl, dev_tgt.dev_id, tbl_hdl, [&](Table& table) -> pipe_status {
            if (!table.default_entry) {
                return VL_MODEL_NOT_FOUND;
            }
            *ent_hdl = table.default_handle();
            return VL_MODEL_OK;
        });
    };
    return boundary("pipe_mgr_table_get_default_entry_handle", body, sess_hdl, dev_tgt, tbl_hdl, ent_hdl);
}

pipe_status pipe_mgr_table_get_default_entry(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl tbl_hdl,
                                             pipe_action_record* action, pipe_act_hdl* act_hdl, uint8_t read_from_hw,
                                             uint32_t always_1, uint32_t always_0) {
    const auto body = [&]() -> pipe_status {
        if (action == nullptr || act_hdl == nullptr) {
            return VL_MODEL_INVALID;
        }
        const pipe_status status = with_table(sess_hdl, dev_tgt.dev_id, tbl_hdl, [&](Table& table) -> pipe_status {
            return read_entry(table, table.default_handle(), read_from_hw != 0, nullptr, *action, *act_hdl);
        });
        if (status == VL_MODEL_OK && watching.load(std::memory_order_relaxed)) {
            pipe_match_record none{};
            run_answer_hook(none, *action, *act_hdl);
        }
        return status;
    };
    return boundary("pipe_mgr_table_get_default_entry", body, sess_hdl, dev_tgt, tbl_hdl, action, act_hdl, read_from_hw,
                    always_1, always_0);
}

pipe_status pipe_mgr_get_entry(pipe_sess_hdl sess_hdl, pipe_tbl_hdl tbl_hdl, pipe_dev_tgt dev_tgt, pipe_ent_hdl ent_hdl,
                               pipe_match_record* match, pipe_action_record* action, pipe_act_hdl* act_hdl,
                               uint8_t read_from_hw, uint32_t always_1, uint32_t always_0) {
    const auto body = [&]() -> pipe_status {
        if (match == nullptr || action == nullptr || act_hdl == nullptr) {
            return VL_MODEL_INVALID;
        }
        const pipe_status status = with_table(sess_hdl, dev_tgt.dev_id, tbl_hdl, [&](Table& table) -> pipe_status {
            return read_entry(table, ent_hdl, read_from_hw != 0, match, *action, *act_hdl);
        });
        if (status == VL_MODEL_OK && watching.load(std::memory_order_relaxed)) {
            run_answer_hook(*match, *action, *act_hdl);
        }
        return status;
    };
    return boundary("pipe_mgr_get_entry", body, sess_hdl, tbl_hdl, dev_tgt, ent_hdl, match, action, act_hdl,
                    read_from_hw, always_1, always_0);
}

pipe_status pipe_mgr_get_entry_count(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl tbl_hdl,
                                     uint32_t always_0, uint32_t* count) {
    const auto body = [&]() -> pipe_status {
        if (count == nullptr) {
            return VL_MODEL_INVALID;
        }
        return with_table(sess_hdl, dev_tgt.dev_id, tbl_hdl, [&](Table& table) -> pipe_status {
            *count = table.entries.count();
            return VL_MODEL_OK;
        });
    };
    return boundary("pipe_mgr_get_entry_count", body, sess_hdl, dev_tgt, tbl_hdl, always_0, count);
}

pipe_status pipe_mgr_get_first_entry_handle(pipe_sess_hdl sess_hdl, pipe_tbl_hdl tbl_hdl, pipe_dev_tgt dev_tgt,
                                            uint32_t* hdl) {
    const auto body = [&]() -> pipe_status {
        if (hdl == nullptr) {
            return VL_MODEL_INVALID;
        }
        return with_table(sess_hdl, dev_tgt.dev_id, tbl_hdl, [&](Table& table) -> pipe_status {
            const pipe_ent_hdl first = table.entries.first();
            if (first == 0) {
                return VL_MODEL_NOT_FOUND;
            }
            *hdl = first;
            return VL_MODEL_OK;
        });
    };
    return boundary("pipe_mgr_get_first_entry_handle", body, sess_hdl, tbl_hdl, dev_tgt, hdl);
}

pipe_status pipe_mgr_get_next_entry_handles(pipe_sess_hdl sess_hdl, pipe_tbl_hdl tbl_hdl, pipe_dev_tgt dev_tgt,
                                            uint32_t hdl, uint32_t n, uint32_t* hdls) {
    const auto body = [&]() -> pipe_status {
        if (hdls == nullptr && n != 0) {
            return VL_MODEL_INVALID;
        }
        return with_table(sess_hdl, dev_tgt.dev_id, tbl_hdl, [&](Table& table) -> pipe_status {
            if (!table.entries.was_given_out(hdl)) {
                return VL_MODEL_NOT_FOUND;
            }
            pipe_ent_hdl last = hdl;
            for (uint32_t i = 0; i < n; ++i) {
                last = table.entries.next(last);
                if (last == 0) {
                    hdls[i] = PIPE_HDL_END;
                    break;
                }
                hdls[i] = last;
            }
            return VL_MODEL_OK;
        });
    };
    return boundary("pipe_mgr_get_next_entry_handles", body, sess_hdl, tbl_hdl, dev_tgt, hdl, n, hdls);
}

namespace vl_model {

uint32_t edit_hardware(uint32_t dev_id, uint32_t tbl_hdl, uint32_t ent_hdl,
                       const std::function<void(EntryImage&)>& edit) {
    EntryImage image;
    const pipe_status status = with_entry(dev_id, tbl_hdl, ent_hdl, [&](Table& table) -> pipe_status {
        EntryView view;
        const pipe_status found = find_view(table, ent_hdl, true, view);
        if (found == VL_MODEL_OK) {
            image = image_of(view);
        }
        return found;
    });
    if (status != VL_MODEL_OK) {
        return status;
    }
    edit(image);
    return with_entry(dev_id, tbl_hdl, ent_hdl, [&](Table& table) -> pipe_status {
        table.hardware[ent_hdl] = std::move(image);
        return VL_MODEL_OK;
    });
}

uint32_t drop_hardware(uint32_t dev_id, uint32_t tbl_hdl, uint32_t ent_hdl) {
    return with_entry(dev_id, tbl_hdl, ent_hdl, [&](Table& table) -> pipe_status {
        table.hardware[ent_hdl].reset();
        return VL_MODEL_OK;
    });
}

} // namespace vl_model
