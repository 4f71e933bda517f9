// The replay of action data tables and selectors: from the driver's own tables at a restore, or row by row.
#include <vl_driver/profiles.h>

#include "core/boundary.h"
#include "core/model.h"

using namespace vl_model;

namespace {

void call(pipe_adt_sel_restore_cb callback, const vl_model_row& row) {
    callback(row.sess_hdl, row.dev_id, row.data_table, row.act_hdl, row.grp_hdl, row.mbr_hdl, row.resource_count);
}

// The rows of a device: all members of a data table, then the groups of its selectors, then who is in them.
class Replay {
public:
    Replay(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id) : sess_hdl_(sess_hdl), dev_id_(dev_id) {}

    void add_data_table(const Device& device, pipe_tbl_hdl adt_hdl, const DataTable& table) {
        const RowMap<Member>& members = table.members;
        for (pipe_mbr_hdl mbr_hdl = members.first(); mbr_hdl != 0; mbr_hdl = members.next(mbr_hdl))
            add(adt_hdl, members.find(mbr_hdl)->action_hdl, 0, mbr_hdl);
        for_groups(device, table, [&](pipe_grp_hdl grp_hdl, const Group&) { add(adt_hdl, 0, grp_hdl, 0); });
        for_groups(device, table, [&](pipe_grp_hdl grp_hdl, const Group& group) {
            for (const auto& [mbr_hdl, position] : group.positions)
                add(adt_hdl, members.find(mbr_hdl)->action_hdl, grp_hdl, mbr_hdl);
        });
    }
    const std::vector<vl_model_row>& rows() const {
        return rows_;
    }

private:
    template <class Body>
    void for_groups(const Device& device, const DataTable& table, Body body) {
        for (const auto& [sel_hdl, selector] : device.selectors) {
            if (&selector.data_table == &table) {
                const RowMap<Group>& groups = selector.groups;
                for (pipe_grp_hdl grp_hdl = groups.first(); grp_hdl != 0; grp_hdl = groups.next(grp_hdl))
                    body(grp_hdl, *groups.find(grp_hdl));
            }
        }
    }
    void add(pipe_tbl_hdl adt_hdl, pipe_act_hdl act_hdl, pipe_grp_hdl grp_hdl, pipe_mbr_hdl mbr_hdl) {
        rows_.push_back({.sess_hdl = sess_hdl_,
                         .dev_id = dev_id_,
                         .data_table = adt_hdl,
                         .act_hdl = act_hdl,
                         .grp_hdl = grp_hdl,
                         .mbr_hdl = mbr_hdl,
                         .resource_count = 0});
    }

    pipe_sess_hdl sess_hdl_;
    pipe_dev_id dev_id_;
    std::vector<vl_model_row> rows_;
};

} // namespace

pipe_status pipe_mgr_hitless_ha_restore_virtual_dev_state(uint64_t a1, uint64_t a2, uint64_t a3, uint64_t a4,
                                                          uint64_t a5, pipe_adt_sel_restore_cb callback) {
    const auto body = [&]() -> pipe_status {
        if (callback == nullptr) return VL_MODEL_INVALID;
        // Words that are too large for an id must not be taken for the one in their lower half.
        if (a1 > UINT32_MAX) return VL_MODEL_UNKNOWN_DEVICE;
        if (a2 > UINT32_MAX) return VL_MODEL_UNKNOWN_SESSION;
        const auto dev_id = static_cast<pipe_dev_id>(a1);
        const auto sess_hdl = static_cast<pipe_sess_hdl>(a2);
        Replay replay(sess_hdl, dev_id);
        std::shared_ptr<Registration> replaced, own;
        const pipe_status status = with_device(sess_hdl, dev_id, [&](const Device& device) -> pipe_status {
            for (const auto& [adt_hdl, table] : device.data_tables)
                replay.add_data_table(device, adt_hdl, table);
            replaced = model().restore_callback.replace(callback);
            own = model().restore_callback.registration;
            return VL_MODEL_OK;
        });
        end(replaced);
        if (status == VL_MODEL_OK) {
            for (const vl_model_row& row : replay.rows()) {
                const RunningCall running(own);
                if (!running) break; // it was ended meanwhile
                call(callback, row);
            }
        }
        return status;
    };
    return boundary("pipe_mgr_hitless_ha_restore_virtual_dev_state", body, a1, a2, a3, a4, a5, callback);
}

uint32_t vl_model_replay_row(const vl_model_row* row) {
    if (row == nullptr) return VL_MODEL_INVALID;
    pipe_adt_sel_restore_cb callback = nullptr;
    std::optional<RunningCall> running;
    {
        Model& m = model();
        const std::lock_guard lock(m.mutex);
        if (m.restore_callback.callback == nullptr) return VL_MODEL_NOT_FOUND;
        callback = m.restore_callback.callback;
        running.emplace(m.restore_callback.registration);
    }
    call(callback, *row);
    return VL_MODEL_OK;
}
