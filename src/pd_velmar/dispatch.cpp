// The per-table walking functions differ in the handle that they send and in nothing else, so a known handle is sent
// on.
#include "pd_velmar/dispatch.h"

#include "pd/device.h"
#include "pd_velmar/by_handle.h"
#include "vl_driver/tables.h"

namespace vl_pd::dispatch {

namespace {

pd_status end_of_list(uint32_t* out, pd_status status) {
    *out = PD_HDL_END;
    return status;
}

} // namespace

pd_status entry_hdl_first(pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t tbl_hdl, pd_entry* entry_hdl) noexcept {
    if (by_handle::table(tbl_hdl) == nullptr) return end_of_list(entry_hdl, PD_STATUS_OK);
    return pipe_mgr_get_first_entry_handle(sess_hdl, tbl_hdl, to_driver(dev_tgt), entry_hdl);
}

pd_status entry_hdl_next(pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t tbl_hdl, pd_entry entry_hdl, uint32_t n,
                         pd_entry* next_entry_hdls) noexcept {
    if (by_handle::table(tbl_hdl) == nullptr) return end_of_list(next_entry_hdls, PD_STATUS_OK);
    return pipe_mgr_get_next_entry_handles(sess_hdl, tbl_hdl, to_driver(dev_tgt), entry_hdl, n, next_entry_hdls);
}

pd_status entry_hdl_default(pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t tbl_hdl, pd_entry* entry_hdl) noexcept {
    if (by_handle::table(tbl_hdl) == nullptr) return end_of_list(entry_hdl, PD_STATUS_OK);
    return pipe_mgr_table_get_default_entry_handle(sess_hdl, to_driver(dev_tgt), tbl_hdl, entry_hdl);
}

pd_status member_hdl_first(pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t adt_hdl, pd_member* mbr_hdl) noexcept {
    if (by_handle::profile(adt_hdl) == nullptr) return end_of_list(mbr_hdl, PD_STATUS_MISMATCH);
    return pipe_mgr_get_first_entry_handle(sess_hdl, adt_hdl, to_driver(dev_tgt), mbr_hdl);
}

pd_status member_hdl_next(pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t adt_hdl, pd_member mbr_hdl, uint32_t n,
                          pd_member* next_mbr_hdls) noexcept {
    if (by_handle::profile(adt_hdl) == nullptr) return end_of_list(next_mbr_hdls, PD_STATUS_MISMATCH);
    return pipe_mgr_get_next_entry_handles(sess_hdl, adt_hdl, to_driver(dev_tgt), mbr_hdl, n, next_mbr_hdls);
}

} // namespace vl_pd::dispatch
