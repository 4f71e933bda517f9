// Idle time of the tables that age their entries. All timing is the driver's; the library reshapes one record.
#pragma once

#include <cstdint>

#include "vl_pd/types.h"

namespace vl_pd::idle {

// Sets the parameters, then switches ageing on. If the second fails the parameters stay set.
pd_status enable(pd_session sess_hdl, pd_device dev_id, uint32_t table, const pd_idle_params& params) noexcept;
pd_status disable(pd_session sess_hdl, pd_device dev_id, uint32_t table) noexcept;

// Writes the mode, and the other fields only in the mode that has parameters. A failure writes nothing.
pd_status get_params(pd_session sess_hdl, pd_device dev_id, uint32_t table, pd_idle_params* params) noexcept;

pd_status register_timeout_callback(pd_session sess_hdl, pd_device dev_id, uint32_t table, pd_driver_callback callback,
                                    void* cookie) noexcept;
pd_status set_ttl(pd_session sess_hdl, pd_device dev_id, uint32_t table, pd_entry entry_hdl, uint32_t ttl) noexcept;
pd_status get_ttl(pd_session sess_hdl, pd_device dev_id, uint32_t table, pd_entry entry_hdl, uint32_t* ttl) noexcept;
pd_status reset_ttl(pd_session sess_hdl, pd_device dev_id, uint32_t table, pd_entry entry_hdl) noexcept;
pd_status update_hit_state(pd_session sess_hdl, pd_device dev_id, uint32_t table, pd_driver_callback callback,
                           void* cookie) noexcept;
// Writes a word whatever the status; it means something on success alone.
pd_status get_hit_state(pd_session sess_hdl, pd_device dev_id, uint32_t table, pd_entry entry_hdl,
                        uint32_t* hit_state) noexcept;

} // namespace vl_pd::idle
