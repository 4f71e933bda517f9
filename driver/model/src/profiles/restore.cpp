// The replay of action data tables and selectors: from the driver's own tables at a restore, or row by row.
#include <vl_driver/profiles.h>

#include "core/model.h"

using namespace vl_model;

namespace {

void call(pipe_adt_sel_restore_cb callback, const vl_model_row& row) {
    callback(row.sess_hdl, row.dev_id, row.data_table, row.act_hdl, row.grp_hdl, row.mbr_hdl, row.resource_count);
}

// The rows of a data table: all members, then the groups of its selectors, then the members of the groups.
void add_rows(std::vector<vl_model_row>& rows, pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, const Device& device,
              pipe_tbl_hdl adt_hdl, const DataTable& table) {
    const RowMap<Member>& members = table.members;
    const auto add = [&](pipe_act_hdl act_hdl, pipe_grp_hdl grp_hdl, pipe_mbr_hdl mbr_hdl) {
        rows.push_back({sess_hdl, dev_id, adt_hdl, act_hdl, grp_hdl, mbr_hdl, 0});
    };
    const auto for_groups = [&](auto&& body) {
        for (const auto& [sel_hdl, selector] : device.selectors)
            if (&selector.data_table == &table) selector.groups.for_each(body);
    };
    members.for_each([&](pipe_mbr_hdl mbr_hdl, const Member& member) { add(member.action_hdl, 0, mbr_hdl); });
    for_groups([&](pipe_grp_hdl grp_hdl, const Group&) { add(0, grp_hdl, 0); });
    for_groups([&](pipe_grp_hdl grp_hdl, const Group& group) {
        for (const auto& [mbr_hdl, position] : group.positions)
            add(members.find(mbr_hdl)->action_hdl, grp_hdl, mbr_hdl);
    });
}

} // namespace

pipe_status pipe_mgr_hitless_ha_restore_virtual_dev_state(uint64_t a1, uint64_t a2, uint64_t a3, uint64_t a4,
                                                          uint64_t a5, pipe_adt_sel_restore_cb callback) {
    return Boundary(__func__, a1, a2, a3, a4, a5, callback)([&] {
        refuse_if(callback == nullptr, VL_MODEL_INVALID);
        // A word that is too large for an id must not be taken for the id in its lower half.
        refuse_if(a1 > UINT32_MAX, VL_MODEL_UNKNOWN_DEVICE);
        refuse_if(a2 > UINT32_MAX, VL_MODEL_UNKNOWN_SESSION);
        const auto dev_id = static_cast<pipe_dev_id>(a1);
        const auto sess_hdl = static_cast<pipe_sess_hdl>(a2);
        std::vector<vl_model_row> rows;
        std::shared_ptr<Registration> replaced, own;
        {
            const auto device = lock_device(sess_hdl, dev_id);
            for (const auto& [adt_hdl, table] : device->data_tables)
                add_rows(rows, sess_hdl, dev_id, *device, adt_hdl, table);
            replaced = model().restore_callback.replace(callback);
            own = model().restore_callback.registration;
        }
        end(replaced);
        for (const vl_model_row& row : rows) {
            const RunningCall running(own);
            if (!running) break; // it has ended meanwhile
            call(callback, row);
        }
    });
}

uint32_t vl_model_replay_row(const vl_model_row* row) {
    if (row == nullptr) return VL_MODEL_INVALID;
    pipe_adt_sel_restore_cb callback = nullptr;
    std::optional<RunningCall> running;
    {
        const auto m = lock_model();
        if (m->restore_callback.callback == nullptr) return VL_MODEL_NOT_FOUND;
        callback = m->restore_callback.callback;
        running.emplace(m->restore_callback.registration);
    }
    call(callback, *row);
    return VL_MODEL_OK;
}
