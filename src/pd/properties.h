// What a table can be asked without its entries: handle, properties, and a callback for updates.
#pragma once

#include <cstdint>

#include "vl_driver/tables.h"
#include "vl_pd/types.h"

namespace vl_pd::properties {

// Needs no driver, and serves all kinds of tables.
inline pd_status get_handle(uint32_t handle, uint32_t* out) noexcept {
    if (out != nullptr) *out = handle;
    return PD_STATUS_OK;
}

// The caller's words never stay as they were: both are all ones after a failure.
pd_status get(pd_session sess_hdl, pd_device dev_id, uint32_t table, uint32_t property, uint32_t* value,
              uint32_t* args) noexcept;

pd_status set(pd_session sess_hdl, pd_device dev_id, uint32_t table, uint32_t property, uint32_t value,
              uint32_t args) noexcept;

pd_status register_update_callback(pd_session sess_hdl, pd_device dev_id, uint32_t table, pd_driver_callback callback,
                                   void* cookie) noexcept;

} // namespace vl_pd::properties
