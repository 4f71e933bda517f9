// Reading entries, default entries and members at the boundary.
#include "core/model.h"

#include <algorithm>
#include <cstring>

namespace vl_model {

namespace {

// The hardware's row if it differs from the software's, else null.
template <class Rows>
const EntryImage* differing_row(const Rows& table, uint32_t handle, bool from_hw) {
    table.require_row(handle);
    if (!from_hw || table.hardware.empty()) return nullptr;
    const auto differing = table.hardware.find(handle);
    if (differing == table.hardware.end()) return nullptr;
    refuse_if(!differing->second, VL_MODEL_NOT_FOUND);
    return &*differing->second;
}

} // namespace

EntryView view_of_row(const Table& table, pipe_ent_hdl ent_hdl, bool from_hw) {
    if (const EntryImage* image = differing_row(table, ent_hdl, from_hw)) return view_of(*image);
    return ent_hdl == table.default_handle() ? view_of(*table.default_entry) : table.entries.view(ent_hdl);
}

EntryView view_of_row(const DataTable& table, pipe_mbr_hdl mbr_hdl, bool from_hw) {
    const EntryImage* image = differing_row(table, mbr_hdl, from_hw);
    return image != nullptr ? view_of(*image) : view_of(*table.members.find(mbr_hdl));
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

pipe_status pipe_mgr_get_entry(pipe_sess_hdl sess_hdl, pipe_tbl_hdl tbl_hdl, pipe_dev_tgt dev_tgt, pipe_ent_hdl ent_hdl,
                               pipe_match_record* match, pipe_action_record* action, pipe_act_hdl* act_hdl,
                               uint8_t read_from_hw, uint32_t always_1, uint32_t always_0) {
    return Boundary(__func__, sess_hdl, tbl_hdl, dev_tgt, ent_hdl, match, action, act_hdl, read_from_hw, always_1,
                    always_0)([&] {
        const auto device = lock_device(sess_hdl, dev_tgt);
        const Table& table = device->table(tbl_hdl);
        const EntryView entry = view_of_row(table, ent_hdl, read_from_hw != 0);
        refuse_if(entry.key_len > match->key_len, VL_MODEL_BAD_KEY);
        read_match(table, entry, *match);
        read_action(entry, action->action.data_len, *action, *act_hdl);
    });
}

pipe_status pipe_mgr_table_get_default_entry(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl tbl_hdl,
                                             pipe_action_record* action, pipe_act_hdl* act_hdl, uint8_t read_from_hw,
                                             uint32_t always_1, uint32_t always_0) {
    return device_call(__func__, sess_hdl, dev_tgt, tbl_hdl, action, act_hdl, read_from_hw, always_1,
                       always_0)([&](Device& device) {
        const Table& table = device.table(tbl_hdl);
        const EntryView entry = view_of_row(table, table.default_handle(), read_from_hw != 0);
        read_action(entry, action->action.data_len, *action, *act_hdl);
    });
}

pipe_status pipe_mgr_get_action_data_entry(pipe_tbl_hdl adt_hdl, pipe_dev_tgt dev_tgt, pipe_mbr_hdl mbr_hdl,
                                           pipe_action_data* data, pipe_act_hdl* act_hdl, uint8_t read_from_hw) {
    return Boundary(__func__, adt_hdl, dev_tgt, mbr_hdl, data, act_hdl, read_from_hw)([&] {
        const auto device = lock_device(dev_tgt);
        const EntryView member = view_of_row(device->data_table(adt_hdl), mbr_hdl, read_from_hw != 0);
        read_data(member, data->data_len, *data);
        *act_hdl = member.action_hdl;
    });
}
