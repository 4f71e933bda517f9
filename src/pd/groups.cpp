// Deleting a group: the one operation on groups that allocates, and the one that returns the shadow's status.
#include "pd/groups.h"

#include "pd/driver_array.h"

namespace vl_pd::groups {

pd_status remove_from(uint32_t selector, p4_pd_ms_state* shadow, pd_session sess_hdl, pd_device dev_id,
                      pd_group grp_hdl) noexcept {
    uint32_t count = 0;
    pd_status refused = pipe_mgr_get_sel_grp_mbr_count(sess_hdl, on_device(dev_id), selector, grp_hdl, &count);
    if (refused != PD_STATUS_OK) return refused;
    if (count == 0) {
        refused = pipe_mgr_sel_grp_del(sess_hdl, dev_id, selector, grp_hdl, no_flags);
        if (refused != PD_STATUS_OK) return refused;
        return p4_pd_ms_del_grp(sess_hdl, shadow, dev_id, grp_hdl, 0, nullptr);
    }

    const DriverArray<pd_member> members(count);
    const DriverArray<uint8_t> states(count); // the driver fills it, nobody reads it
    if (members.get() == nullptr || states.get() == nullptr) return PD_STATUS_NO_MEMORY;
    uint32_t returned = 0;
    refused = pipe_mgr_sel_grp_mbrs_get(sess_hdl, dev_id, selector, grp_hdl, count, members.get(), states.get(),
                                        &returned, no_flags);
    if (refused != PD_STATUS_OK) return refused;
    refused = pipe_mgr_sel_grp_del(sess_hdl, dev_id, selector, grp_hdl, no_flags);
    if (refused != PD_STATUS_OK) return refused;
    return p4_pd_ms_del_grp(sess_hdl, shadow, dev_id, grp_hdl, returned, members.get());
}

pd_status refuse_member_state() noexcept {
    bf_sys_log_and_trace(BF_SYS_MODULE_NONE, BF_SYS_LEVEL_ERROR, "%s",
                         "mbr_state == P4_PD_GRP_MBR_STATE_INACTIVE doesn't hold: no state of a group's member");
    return PD_STATUS_INVALID;
}

} // namespace vl_pd::groups
