// Walking by handle, for callers that hold a table's or a profile's handle as data.
//
// A handle that is no table's ends the walk with the end mark and status 0; one that is no profile's gives the same
// mark and PD_STATUS_MISMATCH. All else is what the table's or profile's own function gives.
#pragma once

#include <cstdint>

#include "vl_pd/types.h"

namespace vl_pd::dispatch {

pd_status entry_hdl_first(pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t tbl_hdl, pd_entry* entry_hdl) noexcept;
pd_status entry_hdl_next(pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t tbl_hdl, pd_entry entry_hdl, uint32_t n,
                         pd_entry* next_entry_hdls) noexcept;
pd_status entry_hdl_default(pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t tbl_hdl, pd_entry* entry_hdl) noexcept;
pd_status member_hdl_first(pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t adt_hdl, pd_member* mbr_hdl) noexcept;
pd_status member_hdl_next(pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t adt_hdl, pd_member mbr_hdl, uint32_t n,
                          pd_member* next_mbr_hdls) noexcept;

} // namespace vl_pd::dispatch
