// Placement data at the boundary: giving it out for a row, and decoding it from the row's software side.
#include <vl_driver/placement.h>

#include "core/boundary.h"
#include "reads/readback.h"

using namespace vl_model;

namespace {

// `placement` is the row's number of it, 0 while it has none.
const void* blob_of(uint32_t& placement, pipe_dev_id dev_id, pipe_tbl_hdl tbl_hdl, uint32_t handle) {
    PlacementStore& placements = model().placements;
    if (placement == 0) placement = placements.add(dev_id, tbl_hdl, handle);
    return placements.blob(placement);
}

// Runs `body` on the row that a blob stands for, with its table among those that `tables` gives of the device.
template <class Tables, class Body>
pipe_status with_placement(const void* plcmt_data, Tables&& tables, Body&& body) {
    Model& m = model();
    const std::lock_guard lock(m.mutex);
    const Placement* placement = m.placements.find(plcmt_data);
    if (placement == nullptr) return VL_MODEL_NOT_FOUND;
    pipe_status status = VL_MODEL_OK;
    const Device* device = find_device(placement->dev_id, status);
    if (device == nullptr) return status;
    const auto table = tables(*device).find(placement->tbl_hdl);
    return table == tables(*device).end() ? pipe_status{VL_MODEL_NOT_FOUND} : body(table->second, placement->handle);
}

constexpr uint16_t any_room = UINT16_MAX; // the caller's buffers have it

} // namespace

pipe_status pipe_mgr_plcmt_mat_data_get(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl tbl_hdl,
                                        pipe_ent_hdl ent_hdl, const void** plcmt_data) {
    const auto body = [&]() -> pipe_status {
        if (plcmt_data == nullptr) return VL_MODEL_INVALID;
        return with_table(sess_hdl, dev_tgt, tbl_hdl, [&](Table& table) -> pipe_status {
            if (!has_row(table, ent_hdl)) return VL_MODEL_NOT_FOUND;
            *plcmt_data = blob_of(table.placement(ent_hdl), dev_tgt.dev_id, tbl_hdl, ent_hdl);
            return VL_MODEL_OK;
        });
    };
    return boundary("pipe_mgr_plcmt_mat_data_get", body, sess_hdl, dev_tgt, tbl_hdl, ent_hdl, plcmt_data);
}

pipe_status pipe_mgr_plcmt_adt_data_get(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl adt_hdl,
                                        pipe_mbr_hdl mbr_hdl, const void** plcmt_data) {
    const auto body = [&]() -> pipe_status {
        if (plcmt_data == nullptr) return VL_MODEL_INVALID;
        return with_data_table(sess_hdl, dev_tgt, adt_hdl, [&](DataTable& table) -> pipe_status {
            Member* member = table.members.find(mbr_hdl);
            if (member == nullptr) return VL_MODEL_NOT_FOUND;
            *plcmt_data = blob_of(member->placement, dev_tgt.dev_id, adt_hdl, mbr_hdl);
            return VL_MODEL_OK;
        });
    };
    return boundary("pipe_mgr_plcmt_adt_data_get", body, sess_hdl, dev_tgt, adt_hdl, mbr_hdl, plcmt_data);
}

pipe_status pipe_mgr_plcmt_sel_data_get(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl sel_hdl,
                                        pipe_grp_hdl grp_hdl, const void** plcmt_data) {
    const auto body = [&]() -> pipe_status {
        if (plcmt_data == nullptr) return VL_MODEL_INVALID;
        return with_group(sess_hdl, dev_tgt, sel_hdl, grp_hdl, [&](Selector&, Group& group) -> pipe_status {
            *plcmt_data = blob_of(group.placement, dev_tgt.dev_id, sel_hdl, grp_hdl);
            return VL_MODEL_OK;
        });
    };
    return boundary("pipe_mgr_plcmt_sel_data_get", body, sess_hdl, dev_tgt, sel_hdl, grp_hdl, plcmt_data);
}

pipe_status pipe_mgr_plcmt_mat_data_get_entry(const void* plcmt_data, pipe_match_record* match,
                                              pipe_action_record* action, pipe_act_hdl* act_hdl) {
    const auto tables = [](const Device& device) -> const auto& {
        return device.tables;
    };
    const auto decode = [&](const std::unique_ptr<Table>& table, pipe_ent_hdl ent_hdl) -> pipe_status {
        EntryView entry;
        const pipe_status status = find_view(*table, ent_hdl, false, entry);
        if (status == VL_MODEL_OK) {
            read_match(*table, entry, *match);
            read_action(entry, any_room, *action, *act_hdl);
        }
        return status;
    };
    const auto body = [&]() -> pipe_status {
        if (plcmt_data == nullptr || match == nullptr || action == nullptr || act_hdl == nullptr)
            return VL_MODEL_INVALID;
        return with_placement(plcmt_data, tables, decode);
    };
    return boundary("pipe_mgr_plcmt_mat_data_get_entry", body, plcmt_data, match, action, act_hdl);
}

pipe_status pipe_mgr_plcmt_adt_data_get_entry(const void* plcmt_data, pipe_action_data* data, pipe_act_hdl* act_hdl) {
    const auto tables = [](const Device& device) -> const auto& {
        return device.data_tables;
    };
    const auto decode = [&](const DataTable& table, pipe_mbr_hdl mbr_hdl) -> pipe_status {
        EntryView member;
        const pipe_status status = find_view(table, mbr_hdl, false, member);
        if (status == VL_MODEL_OK) {
            read_data(member, any_room, *data);
            *act_hdl = member.action_hdl;
        }
        return status;
    };
    const auto body = [&]() -> pipe_status {
        if (plcmt_data == nullptr || data == nullptr || act_hdl == nullptr) return VL_MODEL_INVALID;
        return with_placement(plcmt_data, tables, decode);
    };
    return boundary("pipe_mgr_plcmt_adt_data_get_entry", body, plcmt_data, data, act_hdl);
}
