// Each row goes the way of the agent's own call, but without a call back to the driver. A row can't be refused: what
// fails leaves the shadow as far as it got.
#include "pd/restore.h"

#include <iterator>

#include "catalog/catalog.h"
#include "pd/lifecycle.h"
#include "vl_driver/profiles.h"

namespace vl_pd::restore {

namespace {

bool has_action(const catalog::Profile& profile, pipe_act_hdl action) {
    for (const catalog::Binding& binding : profile.actions)
        if (binding.handle == action) return true;
    return false;
}

// False if the member of a group has no action in the shadow; the membership stays recorded.
bool restore_row(p4_pd_ms_state* shadow, pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_act_hdl action,
                 pipe_grp_hdl grp_hdl, pipe_mbr_hdl mbr_hdl) {
    if (grp_hdl == 0 && mbr_hdl != 0) {
        p4_pd_ms_new_mbr(sess_hdl, shadow, dev_id, mbr_hdl);
        p4_pd_ms_set_mbr_act(shadow, dev_id, mbr_hdl, action);
    } else if (grp_hdl != 0 && mbr_hdl == 0) {
        p4_pd_ms_new_grp(sess_hdl, shadow, dev_id, grp_hdl);
    } else if (grp_hdl != 0) {
        p4_pd_ms_add_mbr_to_grp(sess_hdl, shadow, dev_id, mbr_hdl, grp_hdl);
        // The group's action is the one that the member came with, not the row's.
        pipe_act_hdl member_action = 0;
        if (p4_pd_ms_get_mbr_act(shadow, dev_id, mbr_hdl, &member_action) != PD_STATUS_OK) return false;
        p4_pd_ms_set_grp_act(shadow, dev_id, grp_hdl, member_action);
    }
    return true;
}

void ha_restore_state_from_adt_sel(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_tbl_hdl adt_hdl,
                                   pipe_act_hdl action, pipe_grp_hdl grp_hdl, pipe_mbr_hdl mbr_hdl,
                                   uint32_t resource_count) {
    for (size_t i = 0; i < std::size(catalog::profiles); ++i) {
        if (catalog::profiles[i].data_table != adt_hdl) continue;
        p4_pd_ms_state* const shadow = lifecycle::shadow_of(i);
        if (!restore_row(shadow, sess_hdl, dev_id, action, grp_hdl, mbr_hdl)) return;
        // Groups that hold the member take over its resources. The member may be 0 here.
        if (resource_count != 0 && has_action(catalog::profiles[i], action))
            p4_pd_ms_mbr_apply_to_grps(shadow, dev_id, mbr_hdl, p4_pd_ms_grp_update_res, shadow);
        return;
    }
}

} // namespace

pd_status restore_virtual_dev_state(uint64_t a1, uint64_t a2, uint64_t a3, uint64_t a4, uint64_t a5) noexcept {
    return pipe_mgr_hitless_ha_restore_virtual_dev_state(a1, a2, a3, a4, a5, ha_restore_state_from_adt_sel);
}

} // namespace vl_pd::restore
