// Placement data at the boundary: handed out for a row, and decoded from the software's row.
#include <vl_driver/placement.h>

#include "core/model.h"

using namespace vl_model;

namespace {

// `placement` is the row's number in the store, 0 while it has none.
const void* blob_of(uint32_t& placement, pipe_dev_id dev_id, pipe_tbl_hdl tbl_hdl, uint32_t handle) {
    PlacementStore& placements = model().placements;
    if (placement == 0) placement = placements.add(dev_id, tbl_hdl, handle);
    return placements.blob(placement);
}

// The table among a device's `tables`, and the handle, that a blob leads to. The mutex must be held.
template <class Tables>
std::pair<const typename Tables::mapped_type&, uint32_t> row_of(const void* plcmt_data, Tables Device::*tables) {
    refuse_if(plcmt_data == nullptr, VL_MODEL_INVALID);
    const Placement* placement = model().placements.find(plcmt_data);
    refuse_if(placement == nullptr, VL_MODEL_NOT_FOUND);
    const Device& device = *found_in(model().devices, placement->dev_id, VL_MODEL_UNKNOWN_DEVICE);
    return {found_in(device.*tables, placement->tbl_hdl, VL_MODEL_NOT_FOUND), placement->handle};
}

constexpr uint16_t any_room = UINT16_MAX; // the caller's buffers are large enough

} // namespace

pipe_status pipe_mgr_plcmt_mat_data_get(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl tbl_hdl,
                                        pipe_ent_hdl ent_hdl, const void** plcmt_data) {
    return device_call(__func__, sess_hdl, dev_tgt, tbl_hdl, ent_hdl, plcmt_data)([&](Device& device) {
        Table& table = device.table(tbl_hdl);
        table.require_row(ent_hdl);
        *plcmt_data = blob_of(table.placement(ent_hdl), dev_tgt.dev_id, tbl_hdl, ent_hdl);
    });
}

pipe_status pipe_mgr_plcmt_adt_data_get(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl adt_hdl,
                                        pipe_mbr_hdl mbr_hdl, const void** plcmt_data) {
    return device_call(__func__, sess_hdl, dev_tgt, adt_hdl, mbr_hdl, plcmt_data)([&](Device& device) {
        Member& member = device.data_table(adt_hdl).members.at(mbr_hdl);
        *plcmt_data = blob_of(member.placement, dev_tgt.dev_id, adt_hdl, mbr_hdl);
    });
}

pipe_status pipe_mgr_plcmt_sel_data_get(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl sel_hdl,
                                        pipe_grp_hdl grp_hdl, const void** plcmt_data) {
    return device_call(__func__, sess_hdl, dev_tgt, sel_hdl, grp_hdl, plcmt_data)([&](Device& device) {
        Group& group = device.group(sel_hdl, grp_hdl);
        *plcmt_data = blob_of(group.placement, dev_tgt.dev_id, sel_hdl, grp_hdl);
    });
}

pipe_status pipe_mgr_plcmt_mat_data_get_entry(const void* plcmt_data, pipe_match_record* match,
                                              pipe_action_record* action, pipe_act_hdl* act_hdl) {
    return Boundary(__func__, plcmt_data, match, action, act_hdl)([&] {
        const std::lock_guard lock(model().mutex);
        const auto& [table, ent_hdl] = row_of(plcmt_data, &Device::tables);
        const EntryView entry = view_of_row(*table, ent_hdl, false);
        read_match(*table, entry, *match);
        read_action(entry, any_room, *action, *act_hdl);
    });
}

pipe_status pipe_mgr_plcmt_adt_data_get_entry(const void* plcmt_data, pipe_action_data* data, pipe_act_hdl* act_hdl) {
    return Boundary(__func__, plcmt_data, data, act_hdl)([&] {
        const std::lock_guard lock(model().mutex);
        const auto& [table, mbr_hdl] = row_of(plcmt_data, &Device::data_tables);
        const EntryView member = view_of_row(table, mbr_hdl, false);
        read_data(member, any_room, *data);
        *act_hdl = member.action_hdl;
    });
}
