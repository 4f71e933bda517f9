// Reading entries, default entries and members at the boundary.
#include "reads/readback.h"

#include <algorithm>
#include <cstring>

#include "core/boundary.h"

namespace vl_model {

namespace {

template <class Rows>
pipe_status find_view_in(const Rows& table, uint32_t handle, bool from_hw, EntryView& view) {
    if (!has_row(table, handle)) return VL_MODEL_NOT_FOUND;
    if (from_hw && !table.hardware.empty()) {
        const auto differing = table.hardware.find(handle);
        if (differing != table.hardware.end()) {
            if (!differing->second) return VL_MODEL_NOT_FOUND;
            view = view_of(*differing->second);
            return VL_MODEL_OK;
        }
    }
    if constexpr (std::is_same_v<Rows, DataTable>)
        view = view_of(*table.members.find(handle));
    else
        view = handle == table.default_handle() ? view_of(*table.default_entry) : table.entries.view(handle);
    return VL_MODEL_OK;
}

} // namespace

bool has_row(const Table& table, pipe_ent_hdl ent_hdl) {
    return ent_hdl == table.default_handle() ? table.default_entry.has_value() : table.entries.has(ent_hdl);
}

bool has_row(const DataTable& table, pipe_mbr_hdl mbr_hdl) {
    return table.members.find(mbr_hdl) != nullptr;
}

pipe_status find_view(const Table& table, pipe_ent_hdl ent_hdl, bool from_hw, EntryView& view) {
    return find_view_in(table, ent_hdl, from_hw, view);
}

pipe_status find_view(const DataTable& table, pipe_mbr_hdl mbr_hdl, bool from_hw, EntryView& view) {
    return find_view_in(table, mbr_hdl, from_hw, view);
}

void read_match(const Table& table, const EntryView& entry, pipe_match_record& match) {
    if (match.key_bytes != nullptr && entry.key_len != 0) std::memcpy(match.key_bytes, entry.key, entry.key_len);
    if (match.mask_bytes != nullptr && entry.key_len != 0) std::memcpy(match.mask_bytes, entry.mask, entry.key_len);
    match.partition_index = entry.partition_index;
    match.priority = entry.priority;
    match.key_bits = entry.key_len != 0 ? table.description.key_bits : uint16_t{0};
    match.key_len = entry.key_len;
}

void read_action(const EntryView& entry, uint16_t room, pipe_action_record& action, pipe_act_hdl& act_hdl) {
    action.kind = entry.kind;
    action.resource_count = entry.resource_count;
    read_data(entry, room, action.action);
    action.member_hdl = entry.member_hdl;
    action.group_hdl = entry.group_hdl;
    for (size_t i = 0; i < PIPE_MAX_SLOTS; ++i)
        action.slots[i] = i < entry.slot_count ? entry.slots[i] : pipe_resource_slot{};
    act_hdl = entry.action_hdl;
}

void read_data(const EntryView& row, uint16_t room, pipe_action_data& data) {
    const uint16_t len = data.data != nullptr ? std::min(room, row.data_len) : uint16_t{0};
    if (len != 0) std::memcpy(data.data, row.data, len);
    data.data_bits = row.data_bits;
    data.data_len = len;
}

} // namespace vl_model

using namespace vl_model;

namespace {

// An entry with a match record, a default entry with or without one.
pipe_status read_entry(const Table& table, pipe_ent_hdl ent_hdl, bool from_hw, pipe_match_record* match,
                       pipe_action_record& action, pipe_act_hdl& act_hdl) {
    EntryView entry;
    if (const pipe_status status = find_view(table, ent_hdl, from_hw, entry)) return status;
    if (match != nullptr) {
        if (entry.key_len > match->key_len) return VL_MODEL_BAD_KEY;
        read_match(table, entry, *match);
    }
    read_action(entry, action.action.data_len, action, act_hdl);
    return VL_MODEL_OK;
}

} // namespace

pipe_status pipe_mgr_get_entry(pipe_sess_hdl sess_hdl, pipe_tbl_hdl tbl_hdl, pipe_dev_tgt dev_tgt, pipe_ent_hdl ent_hdl,
                               pipe_match_record* match, pipe_action_record* action, pipe_act_hdl* act_hdl,
                               uint8_t read_from_hw, uint32_t always_1, uint32_t always_0) {
    const auto body = [&]() -> pipe_status {
        if (match == nullptr || action == nullptr || act_hdl == nullptr) return VL_MODEL_INVALID;
        return with_table(sess_hdl, dev_tgt, tbl_hdl, [&](Table& table) -> pipe_status {
            return read_entry(table, ent_hdl, read_from_hw != 0, match, *action, *act_hdl);
        });
    };
    return boundary("pipe_mgr_get_entry", body, sess_hdl, tbl_hdl, dev_tgt, ent_hdl, match, action, act_hdl,
                    read_from_hw, always_1, always_0);
}

pipe_status pipe_mgr_table_get_default_entry(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl tbl_hdl,
                                             pipe_action_record* action, pipe_act_hdl* act_hdl, uint8_t read_from_hw,
                                             uint32_t always_1, uint32_t always_0) {
    const auto body = [&]() -> pipe_status {
        if (action == nullptr || act_hdl == nullptr) return VL_MODEL_INVALID;
        return with_table(sess_hdl, dev_tgt, tbl_hdl, [&](Table& table) -> pipe_status {
            return read_entry(table, table.default_handle(), read_from_hw != 0, nullptr, *action, *act_hdl);
        });
    };
    return boundary("pipe_mgr_table_get_default_entry", body, sess_hdl, dev_tgt, tbl_hdl, action, act_hdl, read_from_hw,
                    always_1, always_0);
}

// Takes no session, and so asks for none.
pipe_status pipe_mgr_get_action_data_entry(pipe_tbl_hdl adt_hdl, pipe_dev_tgt dev_tgt, pipe_mbr_hdl mbr_hdl,
                                           pipe_action_data* data, pipe_act_hdl* act_hdl, uint8_t read_from_hw) {
    const auto read = [&]() -> pipe_status {
        const std::lock_guard lock(model().mutex);
        pipe_status status = VL_MODEL_OK;
        const Device* device = find_device(dev_tgt, status);
        if (device == nullptr) return status;
        const auto table = device->data_tables.find(adt_hdl);
        if (table == device->data_tables.end()) return VL_MODEL_UNKNOWN_TABLE;
        EntryView member;
        status = find_view(table->second, mbr_hdl, read_from_hw != 0, member);
        if (status == VL_MODEL_OK) {
            read_data(member, data->data_len, *data);
            *act_hdl = member.action_hdl;
        }
        return status;
    };
    const auto body = [&]() -> pipe_status {
        if (data == nullptr || act_hdl == nullptr) return VL_MODEL_INVALID;
        return read();
    };
    return boundary("pipe_mgr_get_action_data_entry", body, adt_hdl, dev_tgt, mbr_hdl, data, act_hdl, read_from_hw);
}
